#include "BrindKit/clipboard/ClipIndex.hpp"

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/SimdJSONRead.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <array>
#include <bitset>
#include <charconv>
#include <cmath>
#include <iterator>
#include <simdjson.h>
#include <utility>

namespace brind {

namespace {

// ---- Writing -------------------------------------------------------------------------------------
// The records are the same as `ClipItem::toJSON` writes (keys sorted, absent optionals left out),
// written straight into one string rather than through a tree that would copy every text twice.

// Ill-formed UTF-8 (a clip read from a careless program) is repaired, as the JSON library would.
void appendString(std::string& out, std::string_view text) {
    if (simdjson::validate_utf8(text.data(), text.size()))
        JSONText::appendQuoted(out, text);
    else
        JSONText::appendQuoted(out, Text::repairedUTF8(text));
}

void appendNumber(std::string& out, double value) {
    // JSON has no infinities or NaN; null makes only this record unreadable, not the index.
    if (!std::isfinite(value)) {
        out += "null";
        return;
    }
    // The shortest text that reads back as the same double, with a decimal point whatever the
    // process's locale says (the C library's formatting would write a comma in many of them).
    char buffer[32];
    const auto written = std::to_chars(std::begin(buffer), std::end(buffer), value);
    out.append(buffer, written.ptr);
}

void appendInteger(std::string& out, std::int64_t value) {
    out += std::to_string(value);
}

void appendKey(std::string& out, std::string_view key, bool& first) {
    if (!first)
        out.push_back(',');
    first = false;
    out.push_back('"');
    out += key;
    out += "\":";
}

// Absent optionals are left out, as `ClipItem::toJSON` leaves them out.
template <typename Value, typename Writer>
void appendOptional(std::string& out, std::string_view key, const std::optional<Value>& value, bool& first,
                    Writer write) {
    if (!value)
        return;
    appendKey(out, key, first);
    write(out, *value);
}

// Keys in sorted order, as the JSON library writes them.
void appendItem(std::string& out, const ClipItem& item) {
    bool first = true;
    out.push_back('{');
    appendKey(out, "byteSize", first);
    appendInteger(out, item.byteSize);
    if (item.colour) {
        appendKey(out, "colour", first);
        appendString(out, item.colour->hex());
    }
    appendKey(out, "contentHash", first);
    appendString(out, item.contentHash);
    appendKey(out, "created", first);
    appendNumber(out, item.created.secondsSince1970);
    appendKey(out, "fileURLs", first);
    out.push_back('[');
    for (std::size_t index = 0; index < item.fileURLs.size(); ++index) {
        if (index > 0)
            out.push_back(',');
        appendString(out, item.fileURLs[index]);
    }
    out.push_back(']');
    appendKey(out, "id", first);
    appendString(out, item.id.string());
    appendOptional(out, "imageFile", item.imageFile, first, appendString);
    appendOptional(out, "imageHeight", item.imageHeight, first, appendInteger);
    appendOptional(out, "imageWidth", item.imageWidth, first, appendInteger);
    appendKey(out, "kind", first);
    appendString(out, name(item.kind));
    appendKey(out, "lastUsed", first);
    appendNumber(out, item.lastUsed.secondsSince1970);
    appendKey(out, "pinned", first);
    out += item.pinned ? "true" : "false";
    appendOptional(out, "rtfFile", item.rtfFile, first, appendString);
    appendOptional(out, "sourceAppName", item.sourceAppName, first, appendString);
    appendOptional(out, "sourceBundleID", item.sourceBundleID, first, appendString);
    appendOptional(out, "text", item.text, first, appendString);
    appendKey(out, "useCount", first);
    appendInteger(out, item.useCount);
    out.push_back('}');
}

// ---- Reading -------------------------------------------------------------------------------------
// simdjson reads the text an order of magnitude faster than building the tree. The fast path takes
// only records in the shape this archive writes: every key known and present once, with the type
// the writer gives it. Anything else goes to `ClipItem::fromJSON`, so the rules for odd records live
// in one place.

using simdjson::dom::element;
using SimdJSONRead::assign;
using simdjson::dom::element_type;

enum class Field : std::size_t {
    byteSize,
    colour,
    contentHash,
    created,
    fileURLs,
    id,
    imageFile,
    imageHeight,
    imageWidth,
    kind,
    lastUsed,
    pinned,
    rtfFile,
    sourceAppName,
    sourceBundleID,
    text,
    useCount,
    count
};

constexpr std::array<std::string_view, static_cast<std::size_t>(Field::count)> fieldNames{
    "byteSize",  "colour",        "contentHash",    "created", "fileURLs", "id",
    "imageFile", "imageHeight",   "imageWidth",     "kind",    "lastUsed", "pinned",
    "rtfFile",   "sourceAppName", "sourceBundleID", "text",    "useCount",
};

using FieldSet = std::bitset<static_cast<std::size_t>(Field::count)>;

FieldSet requiredFields() {
    FieldSet required;
    for (const Field field : {Field::byteSize, Field::contentHash, Field::created, Field::fileURLs, Field::id,
                              Field::kind, Field::lastUsed, Field::pinned, Field::useCount})
        required.set(static_cast<std::size_t>(field));
    return required;
}

std::optional<std::string> stringValue(element value) {
    const auto text = SimdJSONRead::text(value);
    return text ? std::optional(std::string(*text)) : std::nullopt;
}

std::optional<std::int64_t> integerValue(element value) {
    if (value.type() != element_type::INT64)
        return std::nullopt;
    return value.get_int64().value_unsafe();
}

std::optional<double> numberValue(element value) {
    if (value.type() != element_type::INT64 && value.type() != element_type::DOUBLE)
        return std::nullopt;
    return value.get_double().value_unsafe();
}

bool assignFileURLs(std::vector<std::string>& target, element value) {
    simdjson::dom::array urls;
    if (value.get_array().get(urls))
        return false;
    for (const element url : urls) {
        if (!assign(target.emplace_back(), stringValue(url)))
            return false;
    }
    return true;
}

std::optional<UUID> uuidValue(element value) {
    const auto text = stringValue(value);
    return text ? UUID::parse(*text) : std::nullopt;
}

std::optional<ClipKind> kindValue(element value) {
    const auto text = stringValue(value);
    return text ? clipKindNamed(*text) : std::nullopt;
}

std::optional<RGBA> colourValue(element value) {
    const auto text = stringValue(value);
    return text ? RGBA::fromHex(*text) : std::nullopt;
}

std::optional<Date> dateValue(element value) {
    const auto seconds = numberValue(value);
    return seconds ? std::optional(Date{*seconds}) : std::nullopt;
}

bool take(ClipItem& item, Field field, element value) {
    switch (field) {
    case Field::byteSize:
        return assign(item.byteSize, integerValue(value));
    case Field::colour:
        return assign(item.colour, colourValue(value));
    case Field::contentHash:
        return assign(item.contentHash, stringValue(value));
    case Field::created:
        return assign(item.created, dateValue(value));
    case Field::fileURLs:
        return assignFileURLs(item.fileURLs, value);
    case Field::id:
        return assign(item.id, uuidValue(value));
    case Field::imageFile:
        return assign(item.imageFile, stringValue(value));
    case Field::imageHeight:
        return assign(item.imageHeight, integerValue(value));
    case Field::imageWidth:
        return assign(item.imageWidth, integerValue(value));
    case Field::kind:
        return assign(item.kind, kindValue(value));
    case Field::lastUsed:
        return assign(item.lastUsed, dateValue(value));
    case Field::pinned:
        return assign(item.pinned, SimdJSONRead::boolean(value));
    case Field::rtfFile:
        return assign(item.rtfFile, stringValue(value));
    case Field::sourceAppName:
        return assign(item.sourceAppName, stringValue(value));
    case Field::sourceBundleID:
        return assign(item.sourceBundleID, stringValue(value));
    case Field::text:
        return assign(item.text, stringValue(value));
    case Field::useCount:
        return assign(item.useCount, integerValue(value));
    case Field::count:
        break;
    }
    std::unreachable();
}

// A record in the writer's shape, or nothing when it has any other.
std::optional<ClipItem> decodeWrittenShape(element record) {
    static const auto required = requiredFields();
    simdjson::dom::object object;
    if (record.get_object().get(object))
        return std::nullopt;
    ClipItem item;
    FieldSet seen;
    for (const simdjson::dom::key_value_pair member : object) {
        const auto field = SimdJSONRead::fieldNamed<Field>(fieldNames, member.key);
        if (!field || seen.test(static_cast<std::size_t>(*field)) || !take(item, *field, member.value))
            return std::nullopt;
        seen.set(static_cast<std::size_t>(*field));
    }
    if ((seen & required) != required)
        return std::nullopt;
    return item;
}

std::optional<ClipItem> decodeAnyShape(element record) {
    const auto tree = JSONText::parse(simdjson::minify(record));
    if (!tree)
        return std::nullopt;
    auto item = ClipItem::fromJSON(*tree);
    if (!item)
        return std::nullopt;
    return std::move(*item);
}

} // namespace

std::string ClipIndex::encode(const ClipHistory& history) {
    std::string out = "{\"items\":[";
    // Texts are most of the index; the rest of a record is a few hundred bytes.
    std::size_t estimate = 0;
    for (const ClipItem& item : history.items())
        estimate += 400 + (item.text ? item.text->size() : 0);
    out.reserve(estimate);
    bool first = true;
    for (const ClipItem& item : history.items()) {
        if (!first)
            out.push_back(',');
        first = false;
        appendItem(out, item);
    }
    out += "],\"version\":";
    out += std::to_string(version);
    out.push_back('}');
    return out;
}

std::optional<std::vector<ClipItem>> ClipIndex::decode(std::string_view text) {
    simdjson::dom::parser parser;
    element document;
    // Text simdjson refuses (numbers past 64 bits, very deep nesting, ...) may still be JSON the
    // plain reader accepts; it has the last word.
    if (parser.parse(text.data(), text.size()).get(document))
        return decodeThroughTree(text);
    simdjson::dom::object root;
    if (document.get_object().get(root))
        return std::nullopt;
    // The last of repeated keys counts, as in the tree.
    std::optional<element> versionValue;
    std::optional<element> itemsValue;
    for (const simdjson::dom::key_value_pair member : root) {
        if (member.key == "version")
            versionValue = member.value;
        else if (member.key == "items")
            itemsValue = member.value;
    }
    // Only the format this reader knows is read; another version is treated like damage.
    double versionNumber = 0;
    if (!versionValue || versionValue->get_double().get(versionNumber) || versionNumber != version)
        return std::nullopt;
    simdjson::dom::array records;
    if (!itemsValue || itemsValue->get_array().get(records))
        return std::nullopt;
    std::vector<ClipItem> items;
    items.reserve(records.size());
    for (const element record : records) {
        // A record that does not decode is dropped alone; its neighbours are still good.
        auto item = decodeWrittenShape(record);
        if (!item)
            item = decodeAnyShape(record);
        if (item)
            items.push_back(std::move(*item));
    }
    return items;
}

std::optional<std::vector<ClipItem>> ClipIndex::decodeThroughTree(std::string_view text) {
    const auto parsed = JSONText::parse(text);
    if (!parsed || !parsed->is_object())
        return std::nullopt;
    const auto versionNumber = JSONRead::number(*parsed, "version");
    if (!versionNumber || *versionNumber != version)
        return std::nullopt;
    const JSON* records = JSONRead::member(*parsed, "items");
    if (!records || !records->is_array())
        return std::nullopt;
    std::vector<ClipItem> items;
    items.reserve(records->size());
    for (const JSON& record : *records) {
        if (auto item = ClipItem::fromJSON(record))
            items.push_back(std::move(*item));
    }
    return items;
}

} // namespace brind
