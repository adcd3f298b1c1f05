#include "BrindKit/sdk/SDKHTTPParseError.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

constexpr auto parseErrorRows = std::to_array<EnumTable::NameRow<SDKHTTPParseError>>({
    {SDKHTTPParseError::malformed, "malformed"},
    {SDKHTTPParseError::headersTooLarge, "headersTooLarge"},
    {SDKHTTPParseError::bodyTooLarge, "bodyTooLarge"},
    {SDKHTTPParseError::unsupportedTransferEncoding, "unsupportedTransferEncoding"},
});
static_assert(EnumTable::coversEveryCase(parseErrorRows));

} // namespace

std::string_view name(SDKHTTPParseError error) {
    return EnumTable::row(parseErrorRows, error).name;
}

} // namespace brind
