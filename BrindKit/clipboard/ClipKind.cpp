#include "BrindKit/clipboard/ClipKind.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

struct ClipKindRow {
    ClipKind value;
    std::string_view name;
    std::string_view title;
    std::string_view symbol;
};

constexpr auto clipKindRows = std::to_array<ClipKindRow>({
    {ClipKind::text, "text", "Text", "text.alignleft"},
    {ClipKind::richText, "richText", "Rich text", "textformat"},
    {ClipKind::link, "link", "Link", "link"},
    {ClipKind::image, "image", "Image", "photo"},
    {ClipKind::file, "file", "File", "doc"},
    {ClipKind::colour, "colour", "Colour", "paintpalette"},
});
static_assert(EnumTable::coversEveryCase(clipKindRows));
static_assert(EnumTable::coversEveryCase(allClipKinds));

} // namespace

std::string_view name(ClipKind kind) {
    return EnumTable::row(clipKindRows, kind).name;
}

std::optional<ClipKind> clipKindNamed(std::string_view text) {
    return EnumTable::named(clipKindRows, text);
}

std::string_view title(ClipKind kind) {
    return EnumTable::row(clipKindRows, kind).title;
}

std::string_view symbol(ClipKind kind) {
    return EnumTable::row(clipKindRows, kind).symbol;
}

} // namespace brind
