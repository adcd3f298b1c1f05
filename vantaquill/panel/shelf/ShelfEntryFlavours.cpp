#include "vantaquill/panel/shelf/ShelfEntryFlavours.hpp"

#include <utility>

namespace vq::ShelfEntryFlavours {

namespace {

void addText(ClipFlavours& flavours, const std::string& text) {
    flavours.push_back({"text/plain;charset=utf-8", text});
    flavours.push_back({"text/plain", text});
}

} // namespace

ClipFlavours of(const brind::ShelfEntry& entry) {
    ClipFlavours flavours;
    switch (entry.kind) {
    case brind::ShelfEntry::Kind::file:
        if (const auto url = entry.fileURL()) {
            flavours.push_back({"text/uri-list", *url + "\r\n"});
            flavours.push_back({"x-special/gnome-copied-files", "copy\n" + *url});
        }
        if (entry.path)
            addText(flavours, *entry.path);
        return flavours;
    case brind::ShelfEntry::Kind::link:
        if (entry.text) {
            flavours.push_back({"text/uri-list", *entry.text + "\r\n"});
            addText(flavours, *entry.text);
        }
        return flavours;
    case brind::ShelfEntry::Kind::text:
        addText(flavours, entry.text.value_or(""));
        return flavours;
    }
    std::unreachable();
}

} // namespace vq::ShelfEntryFlavours
