#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace brind::ClipLinkDetector {

/// The URL schemes a copied text may use to count as a link.
const std::set<std::string, std::less<>>& schemes();

/// The copied text as a link, trimmed, when the whole of it is one: a URL with an accepted scheme
/// (and a host where the scheme needs one), or a bare "www." address. Text around a URL, white
/// space inside it, or more than 4096 characters make it plain text.
std::optional<std::string> link(std::string_view text);

} // namespace brind::ClipLinkDetector
