#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace brind {

/// What a clip holds. The declaration order is the order lists and filters show the kinds in.
enum class ClipKind { text, richText, link, image, file, colour };

inline constexpr std::array<ClipKind, 6> allClipKinds{ClipKind::text,  ClipKind::richText, ClipKind::link,
                                                      ClipKind::image, ClipKind::file,     ClipKind::colour};

/// The stable name written to JSON ("richText").
std::string_view name(ClipKind kind);

/// The kind for a stored name; unknown names are nothing.
std::optional<ClipKind> clipKindNamed(std::string_view name);

/// The label shown in filters ("Rich text").
std::string_view title(ClipKind kind);

/// The symbol image drawn beside items of this kind.
std::string_view symbol(ClipKind kind);

} // namespace brind
