#pragma once

#include "BrindKit/clipboard/ClipCandidate.hpp"
#include "BrindKit/clipboard/ClipSettings.hpp"
#include "BrindKit/clipboard/ClipSnapshot.hpp"

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace brind::ClipClassifier {

/// Clipboard types whose data is an image.
const std::set<std::string, std::less<>>& imageTypes();

/// What kind of clip a copy is, or nothing when it must not or cannot be recorded (kind turned
/// off, image over the size limit, rich text without visible text, nothing usable). Files win over
/// images, images over text, and within text a colour literal over a link over plain text.
std::optional<ClipCandidate> classify(const ClipSnapshot& snapshot, const ClipSettings& settings);

/// The de-duplication key: lower-case hex SHA-256 of the kind word, a zero byte and the payload.
std::string hash(std::string_view kind, std::string_view payload);

} // namespace brind::ClipClassifier
