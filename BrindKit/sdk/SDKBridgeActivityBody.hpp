#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/island/LiveActivity.hpp"

#include <cstddef>
#include <expected>
#include <optional>
#include <string_view>

/// The body of POST /v1/activities read into the client's live activity. The body speaks the
/// client's shorthand ("symbol" for a leading symbol, "expiresIn" seconds from now, an id of the
/// client's own); the activity is written from it with the id "sdk.<app>.<id>" and the source
/// "sdk.<app>".
///
/// Two readers give the same answer. The tree reader (nlohmann) takes every body and decides every
/// odd case and every refusal. The common-shape reader (simdjson, without building a tree) takes only
/// the bodies clients send day to day and hands anything else to the tree reader: a key it does not
/// know or that comes twice, a value of another type or of a form it leaves to the tree (a leading or
/// trailing glyph, actions, a tint object, an ISO 8601 expiry), anything the tree would refuse, any
/// text simdjson refuses.
namespace brind::SDKBridgeActivityBody {

/// Why a body was refused; the bridge answers each with its own fixed reply.
enum class Refusal {
    notAnObject,   ///< empty, not JSON, or JSON but not an object
    titleRequired, ///< "title" missing, empty or not a string
    badID,         ///< "id" missing, not a string, or not 1–64 letters, digits, - _ .
    unreadable,    ///< the activity's decoder refused it (a bad colour, glyph or action)
};

using Result = std::expected<LiveActivity, Refusal>;

/// Bodies longer than this go to the tree reader; the common shape is a few hundred bytes, and the
/// common-shape reader's buffers never grow past it.
inline constexpr std::size_t commonShapeMaxBytes = 16 * 1024;

/// 1 to 64 letters, digits, "-", "_" and ".": the client's own part of an activity's id.
bool isValidLocalID(std::string_view id);

/// The activity of any body, or why it was refused: the common-shape reader first, then the tree.
Result read(std::string_view body, std::string_view appID, Date now);

/// The activity of a body of the common shape; nothing for any other body.
std::optional<LiveActivity> readCommonShape(std::string_view body, std::string_view appID, Date now);

/// The activity of any body, or why it was refused, through nlohmann's tree.
Result readThroughTree(std::string_view body, std::string_view appID, Date now);

} // namespace brind::SDKBridgeActivityBody
