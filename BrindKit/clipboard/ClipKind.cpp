#include "BrindKit/clipboard/ClipKind.hpp"

#include <utility>

namespace brind {

std::string_view rawValue(ClipKind kind) {
    switch (kind) {
    case ClipKind::text:
        return "text";
    case ClipKind::richText:
        return "richText";
    case ClipKind::link:
        return "link";
    case ClipKind::image:
        return "image";
    case ClipKind::file:
        return "file";
    case ClipKind::colour:
        return "colour";
    }
    std::unreachable();
}

std::optional<ClipKind> clipKindFromRawValue(std::string_view name) {
    for (const ClipKind kind : allClipKinds) {
        if (rawValue(kind) == name)
            return kind;
    }
    return std::nullopt;
}

std::string_view title(ClipKind kind) {
    switch (kind) {
    case ClipKind::text:
        return "Text";
    case ClipKind::richText:
        return "Rich text";
    case ClipKind::link:
        return "Link";
    case ClipKind::image:
        return "Image";
    case ClipKind::file:
        return "File";
    case ClipKind::colour:
        return "Colour";
    }
    std::unreachable();
}

std::string_view symbol(ClipKind kind) {
    switch (kind) {
    case ClipKind::text:
        return "text.alignleft";
    case ClipKind::richText:
        return "textformat";
    case ClipKind::link:
        return "link";
    case ClipKind::image:
        return "photo";
    case ClipKind::file:
        return "doc";
    case ClipKind::colour:
        return "paintpalette";
    }
    std::unreachable();
}

} // namespace brind
