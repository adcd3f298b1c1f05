#include "vantaquill/clipboard/ClipFlavourMapping.hpp"

#include "BrindKit/clipboard/ClipPrivacy.hpp"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageReader>
#include <QString>
#include <QTextDocumentFragment>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace vq::ClipFlavourMapping {

namespace {

// The UTF-8 text types, best first; "STRING" is Latin-1 and read last.
constexpr std::array<std::string_view, 5> utf8TextTypes{"text/plain;charset=utf-8", "text/plain;charset=UTF-8",
                                                         "UTF8_STRING", "text/plain", "TEXT"};
constexpr std::string_view latin1TextType = "STRING";
constexpr std::string_view htmlType = "text/html";
constexpr std::array<std::string_view, 3> rtfTypes{"text/rtf", "application/rtf", "text/richtext"};
constexpr std::string_view gnomeFilesType = "x-special/gnome-copied-files";
constexpr std::string_view uriListType = "text/uri-list";
constexpr std::string_view colourType = "application/x-color";

struct ImageRow {
    std::string_view mimeType;
    std::string_view coreType;
    std::string_view extension; ///< the archive's side-file extension for it
};
// Images kept as they come; every other image type is converted to PNG.
constexpr std::array<ImageRow, 5> imageRows{{
    {"image/png", "public.png", "png"},
    {"image/jpeg", "public.jpeg", "jpg"},
    {"image/gif", "com.compuserve.gif", "gif"},
    {"image/tiff", "public.tiff", "tiff"},
    {"image/heic", "public.heic", "heic"},
}};

const ClipFlavour* find(const ClipFlavours& flavours, std::string_view mimeType) {
    const auto found = std::ranges::find_if(flavours, [&](const ClipFlavour& f) { return f.mimeType == mimeType; });
    return found == flavours.end() ? nullptr : &*found;
}

template <std::size_t N>
const ClipFlavour* findAny(const ClipFlavours& flavours, const std::array<std::string_view, N>& types) {
    for (const std::string_view type : types) {
        if (const ClipFlavour* flavour = find(flavours, type))
            return flavour;
    }
    return nullptr;
}

std::optional<std::string> plainText(const ClipFlavours& flavours) {
    if (const ClipFlavour* text = findAny(flavours, utf8TextTypes))
        return text->data;
    if (const ClipFlavour* text = find(flavours, latin1TextType))
        return QString::fromLatin1(text->data.data(), static_cast<qsizetype>(text->data.size())).toStdString();
    // A browser's selection may come as HTML alone; its visible text stands for it.
    if (const ClipFlavour* html = find(flavours, htmlType))
        return QTextDocumentFragment::fromHtml(QString::fromUtf8(html->data.data(), static_cast<qsizetype>(html->data.size())))
            .toPlainText()
            .toStdString();
    return std::nullopt;
}

std::vector<std::string> lines(std::string_view text) {
    std::vector<std::string> result;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        result.emplace_back(line);
        if (end == std::string_view::npos)
            break;
        text.remove_prefix(end + 1);
    }
    return result;
}

// "copy" or "cut" on the first line, then one URI per line. A cut is recorded like a copy: the
// history keeps what was on the clipboard, and copying it back always offers a copy.
std::vector<std::string> gnomeCopiedFiles(std::string_view data) {
    std::vector<std::string> all = lines(data);
    if (all.empty() || (all.front() != "copy" && all.front() != "cut"))
        return {};
    std::vector<std::string> urls;
    for (std::size_t index = 1; index < all.size(); ++index) {
        if (all[index].starts_with("file:/"))
            urls.push_back(all[index]);
    }
    return urls;
}

// RFC 2483: one URI per line, lines starting with "#" are comments.
std::vector<std::string> uriListFiles(std::string_view data) {
    std::vector<std::string> urls;
    for (std::string& line : lines(data)) {
        if (line.starts_with("file:/"))
            urls.push_back(std::move(line));
    }
    return urls;
}

// Qt's colour flavour: four unsigned 16-bit channels (red, green, blue, alpha) in host order.
std::optional<std::string> colourText(std::string_view data) {
    if (data.size() < 8)
        return std::nullopt;
    std::array<std::uint16_t, 4> channels{};
    std::memcpy(channels.data(), data.data(), sizeof channels);
    char text[8];
    std::snprintf(text, sizeof text, "#%02X%02X%02X", channels[0] >> 8, channels[1] >> 8, channels[2] >> 8);
    return std::string(text);
}

void readImage(const ClipFlavours& flavours, brind::ClipSnapshot& snapshot) {
    QByteArray bytes;
    for (const ImageRow& row : imageRows) {
        if (const ClipFlavour* image = find(flavours, row.mimeType)) {
            snapshot.image = image->data;
            snapshot.imageType = std::string(row.coreType);
            bytes = QByteArray::fromRawData(image->data.data(), static_cast<qsizetype>(image->data.size()));
            break;
        }
    }
    if (!snapshot.image) {
        const auto other = std::ranges::find_if(flavours, [](const ClipFlavour& f) { return f.mimeType.starts_with("image/"); });
        if (other == flavours.end())
            return;
        const QImage image = QImage::fromData(
            QByteArray::fromRawData(other->data.data(), static_cast<qsizetype>(other->data.size())));
        if (image.isNull())
            return;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        snapshot.image = bytes.toStdString();
        snapshot.imageType = "public.png";
    }
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const QSize size = QImageReader(&buffer).size();
    if (size.isValid()) {
        snapshot.imageWidth = size.width();
        snapshot.imageHeight = size.height();
    }
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
    std::string result;
    for (std::size_t index = 0; index < parts.size(); ++index) {
        if (index > 0)
            result += separator;
        result += parts[index];
    }
    return result;
}

std::string_view imageMimeType(std::string_view sideFile) {
    const std::string_view extension = sideFile.substr(sideFile.rfind('.') + 1);
    for (const ImageRow& row : imageRows) {
        if (row.extension == extension)
            return row.mimeType;
    }
    return "image/tiff";
}

} // namespace

bool isRead(std::string_view mimeType) {
    return std::ranges::find(utf8TextTypes, mimeType) != utf8TextTypes.end() || mimeType == latin1TextType ||
           mimeType == htmlType || std::ranges::find(rtfTypes, mimeType) != rtfTypes.end() ||
           mimeType == gnomeFilesType || mimeType == uriListType || mimeType == colourType ||
           mimeType.starts_with("image/");
}

std::string coreType(std::string_view mimeType) {
    if (mimeType == ownMarkerMimeType)
        return std::string(brind::ClipPrivacy::ownMarkerType);
    if (mimeType == passwordManagerHintType)
        return std::string(brind::ClipPrivacy::concealedTypes.front());
    if (std::ranges::find(utf8TextTypes, mimeType) != utf8TextTypes.end() || mimeType == latin1TextType)
        return "public.utf8-plain-text";
    if (mimeType == htmlType)
        return "public.html";
    if (std::ranges::find(rtfTypes, mimeType) != rtfTypes.end())
        return "public.rtf";
    if (mimeType == gnomeFilesType)
        return "public.file-url";
    if (mimeType == uriListType)
        return "public.url";
    for (const ImageRow& row : imageRows) {
        if (row.mimeType == mimeType)
            return std::string(row.coreType);
    }
    return std::string(mimeType);
}

brind::ClipSnapshot snapshot(const ClipFlavours& flavours, const std::vector<std::string>& offered) {
    brind::ClipSnapshot result;
    for (const ClipFlavour& flavour : flavours) {
        std::string type = coreType(flavour.mimeType);
        if (std::ranges::find(result.types, type) == result.types.end())
            result.types.push_back(std::move(type));
    }
    result.allTypes = result.types;
    for (const std::string& mimeType : offered) {
        std::string type = coreType(mimeType);
        if (std::ranges::find(result.allTypes, type) == result.allTypes.end())
            result.allTypes.push_back(std::move(type));
    }
    result.string = plainText(flavours);
    if (const ClipFlavour* rtf = findAny(flavours, rtfTypes))
        result.rtf = rtf->data;
    if (const ClipFlavour* files = find(flavours, gnomeFilesType))
        result.fileURLs = gnomeCopiedFiles(files->data);
    if (const ClipFlavour* uris = find(flavours, uriListType); uris && result.fileURLs.empty())
        result.fileURLs = uriListFiles(uris->data);
    if (const ClipFlavour* colour = find(flavours, colourType); colour && !result.string)
        result.string = colourText(colour->data);
    readImage(flavours, result);
    return result;
}

std::optional<brind::ClipSnapshot> markedSnapshot(const std::vector<std::string>& offered) {
    for (const std::string& type : offered) {
        if (type == ownMarkerMimeType || type == passwordManagerHintType) {
            brind::ClipSnapshot marked;
            marked.types = marked.allTypes = {coreType(type)};
            return marked;
        }
    }
    return std::nullopt;
}

std::optional<ClipFlavours> flavours(const brind::ClipItem& item, const brind::ClipArchive& archive) {
    ClipFlavours result;
    switch (item.kind) {
    case brind::ClipKind::file: {
        result.push_back({std::string(gnomeFilesType), "copy\n" + joined(item.fileURLs, "\n")});
        result.push_back({std::string(uriListType), joined(item.fileURLs, "\r\n") + "\r\n"});
        break;
    }
    case brind::ClipKind::image: {
        if (!item.imageFile)
            return std::nullopt;
        auto bytes = archive.readSideFile(*item.imageFile);
        if (!bytes)
            return std::nullopt;
        result.push_back({std::string(imageMimeType(*item.imageFile)), std::move(*bytes)});
        break;
    }
    case brind::ClipKind::richText:
        if (item.rtfFile) {
            auto rtf = archive.readSideFile(*item.rtfFile);
            if (!rtf)
                return std::nullopt;
            result.push_back({"text/rtf", *rtf});
            result.push_back({"application/rtf", std::move(*rtf)});
        }
        break;
    case brind::ClipKind::text:
    case brind::ClipKind::link:
    case brind::ClipKind::colour:
        break;
    }
    if (const auto text = item.plainText()) {
        result.push_back({"text/plain;charset=utf-8", *text});
        result.push_back({"text/plain", *text});
    }
    result.push_back({std::string(ownMarkerMimeType), item.id.string()});
    return result;
}

} // namespace vq::ClipFlavourMapping
