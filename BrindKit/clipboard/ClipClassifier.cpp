#include "BrindKit/clipboard/ClipClassifier.hpp"

#include "BrindKit/clipboard/ClipColourParser.hpp"
#include "BrindKit/clipboard/ClipLinkDetector.hpp"
#include "BrindKit/clipboard/ClipPlainText.hpp"
#include "BrindKit/foundation/SHA256.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/URL.hpp"


#include <memory>

namespace brind::ClipClassifier {

namespace {

std::string joined(const std::vector<std::string>& parts) {
    std::string result;
    for (std::size_t index = 0; index < parts.size(); ++index) {
        if (index > 0)
            result += '\n';
        result += parts[index];
    }
    return result;
}

std::optional<ClipCandidate> fileCandidate(const ClipSnapshot& snapshot, const ClipSettings& settings) {
    if (!settings.captureFiles)
        return std::nullopt;
    std::vector<std::string> paths;
    for (const std::string& text : snapshot.fileURLs) {
        if (const auto url = URL::parse(text))
            paths.push_back(url->decodedPath());
    }
    ClipCandidate candidate;
    candidate.kind = ClipKind::file;
    candidate.text = joined(paths);
    candidate.fileURLs = snapshot.fileURLs;
    candidate.contentHash = hash("file", joined(snapshot.fileURLs));
    return candidate;
}

std::optional<ClipCandidate> imageCandidate(const ClipSnapshot& snapshot, const ClipSettings& settings) {
    if (!settings.captureImages)
        return std::nullopt;
    if (static_cast<std::int64_t>(snapshot.image->size()) > settings.maxImageBytes)
        return std::nullopt;
    ClipCandidate candidate;
    candidate.kind = ClipKind::image;
    candidate.image = snapshot.image;
    candidate.imageType = snapshot.imageType;
    candidate.imageWidth = snapshot.imageWidth;
    candidate.imageHeight = snapshot.imageHeight;
    candidate.contentHash = hash("image", *snapshot.image);
    return candidate;
}

ClipCandidate textCandidate(const ClipSnapshot& snapshot, const std::string& string, const ClipSettings& settings) {
    const std::string trimmed = Text::trimmed(string);
    ClipCandidate candidate;
    if (const auto colour = ClipColourParser::parse(trimmed)) {
        candidate.kind = ClipKind::colour;
        candidate.text = trimmed;
        candidate.colour = *colour;
        candidate.contentHash = hash("colour", colour->hex());
        return candidate;
    }
    if (auto link = ClipLinkDetector::link(trimmed)) {
        candidate.kind = ClipKind::link;
        candidate.contentHash = hash("link", *link);
        candidate.text = std::move(*link);
        return candidate;
    }
    if (settings.captureRichText && snapshot.rtf) {
        candidate.kind = ClipKind::richText;
        candidate.rtf = snapshot.rtf;
    } else {
        candidate.kind = ClipKind::text;
    }
    candidate.text = string;
    candidate.contentHash = hash("text", string);
    return candidate;
}

std::optional<ClipCandidate> richTextCandidate(const ClipSnapshot& snapshot) {
    std::string text = ClipPlainText::stripRTF(*snapshot.rtf);
    if (text.empty())
        return std::nullopt;
    ClipCandidate candidate;
    candidate.kind = ClipKind::richText;
    candidate.rtf = snapshot.rtf;
    candidate.contentHash = hash("text", text);
    candidate.text = std::move(text);
    return candidate;
}

} // namespace

const std::set<std::string, std::less<>>& imageTypes() {
    static const std::set<std::string, std::less<>> types{
        "public.png",         "public.tiff",
        "public.jpeg",        "public.heic",
        "com.compuserve.gif", "NeXT TIFF v4.0 pasteboard type",
        "Apple PNG pasteboard type",
    };
    return types;
}

std::optional<ClipCandidate> classify(const ClipSnapshot& snapshot, const ClipSettings& settings) {
    const std::string_view preferred = snapshot.types.empty() ? std::string_view() : snapshot.types.front();
    // An empty plain-text flavour is no text at all.
    const std::string* string = snapshot.string && !snapshot.string->empty() ? &*snapshot.string : nullptr;

    if (!snapshot.fileURLs.empty())
        return fileCandidate(snapshot, settings);
    if (snapshot.image && (imageTypes().contains(preferred) || !string))
        return imageCandidate(snapshot, settings);
    if (string)
        return textCandidate(snapshot, *string, settings);
    if (snapshot.rtf && settings.captureRichText)
        return richTextCandidate(snapshot);
    return std::nullopt;
}

std::string hash(std::string_view kind, std::string_view payload) {
    // Streamed so a large image is read once and never copied to join it with its kind.
    SHA256::Hasher hasher;
    hasher.update(kind);
    hasher.update(std::string_view("\0", 1));
    hasher.update(payload);
    return SHA256::hex(hasher.finish());
}

} // namespace brind::ClipClassifier
