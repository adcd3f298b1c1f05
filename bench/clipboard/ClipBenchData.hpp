#pragma once

// Realistic clipboard histories for the benchmarks: mostly short texts, some long ones up to
// 20 KB, links, file lists, colours and a few images, with a fixed seed so runs compare.

#include "BrindKit/clipboard/ClipClassifier.hpp"
#include "BrindKit/clipboard/ClipItem.hpp"

#include <random>
#include <string>
#include <vector>

namespace clipbench {

inline const std::vector<std::string>& words() {
    static const std::vector<std::string> list{
        "the",     "report",  "meeting", "invoice", "deploy",  "server",   "kernel",  "coffee",   "budget",
        "review",  "draft",   "release", "notes",   "function", "return",  "const",   "customer", "order",
        "address", "phone",   "garden",  "holiday", "project", "quarterly", "launch", "design",   "token",
        "büro",    "straße",  "café",    "naïve",   "résumé",  "über",     "commit",  "branch",   "merge",
    };
    return list;
}

inline std::string sentence(std::mt19937& random, std::size_t bytes) {
    std::uniform_int_distribution<std::size_t> pick(0, words().size() - 1);
    std::string text;
    while (text.size() < bytes) {
        if (!text.empty())
            text += (random() % 12 == 0) ? "\n" : " ";
        text += words()[pick(random)];
    }
    return text;
}

inline brind::ClipItem makeItem(std::mt19937& random, int index) {
    brind::ClipItem item;
    item.id = brind::UUID::random();
    item.created = brind::Date{1.7e9 + index};
    item.lastUsed = item.created;
    const int roll = static_cast<int>(random() % 100);
    const std::string unique = " #" + std::to_string(index);
    if (roll < 60) {
        item.kind = brind::ClipKind::text;
        item.text = sentence(random, 20 + random() % 300) + unique;
    } else if (roll < 70) {
        item.kind = brind::ClipKind::text;
        item.text = sentence(random, 1000 + random() % 19000) + unique;
    } else if (roll < 82) {
        item.kind = brind::ClipKind::link;
        item.text = "https://example.org/" + words()[random() % words().size()] + "/" + std::to_string(index);
    } else if (roll < 90) {
        item.kind = brind::ClipKind::file;
        item.fileURLs = {"file:///home/me/Documents/" + words()[random() % words().size()] + "-" +
                         std::to_string(index) + ".pdf"};
        item.text = "/home/me/Documents/" + words()[random() % words().size()] + ".pdf";
    } else if (roll < 96) {
        item.kind = brind::ClipKind::colour;
        item.colour = brind::RGBA{(random() % 256) / 255.0, (random() % 256) / 255.0, (random() % 256) / 255.0, 1};
        item.text = item.colour->hex();
    } else {
        item.kind = brind::ClipKind::image;
        item.imageWidth = 1280;
        item.imageHeight = 720;
        item.imageFile = item.id.string() + ".png";
    }
    item.sourceAppName = (random() % 2) ? "Editor" : "Terminal";
    item.contentHash = brind::ClipClassifier::hash(brind::name(item.kind), item.text.value_or(item.id.string()));
    item.byteSize = static_cast<std::int64_t>(item.text.value_or("").size());
    return item;
}

inline std::vector<brind::ClipItem> makeItems(int count, unsigned seed = 42) {
    std::mt19937 random(seed);
    std::vector<brind::ClipItem> items;
    items.reserve(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index)
        items.push_back(makeItem(random, index));
    return items;
}

} // namespace clipbench
