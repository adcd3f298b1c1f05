#pragma once

#include <span>
#include <string_view>
#include <vector>

namespace vq {

/// Every preference the application reads: its key, its group in the settings window, its type,
/// default and range. The store checks values against it and the settings window is built from it,
/// so a key cannot be read with one default and shown with another.
struct PreferenceKey {
    enum class Section { island, hud, activities, clipboard, shelf, widgets, agents, sdk };
    enum class Kind {
        flag,    ///< true or false
        number,  ///< a decimal number within [minimum, maximum]
        integer, ///< a whole number within [minimum, maximum], or one of `choices` when it has any
        choice,  ///< one of `choices`
        text,    ///< free text
    };

    std::string_view key;
    Section section;
    Kind kind;
    std::string_view label;
    /// The default: "true"/"false" for flags, the number or the text otherwise.
    std::string_view fallback;
    double minimum = 0;
    double maximum = 0;
    std::vector<std::string_view> choices = {};
    /// Shown after a number ("s", "min", "px"), or a sentence of help for other kinds.
    std::string_view note = {};

    static std::string_view sectionName(Section section);
    static constexpr Section sections[] = {Section::island,    Section::hud,   Section::activities,
                                           Section::clipboard, Section::shelf, Section::widgets,
                                           Section::agents,    Section::sdk};
};

namespace PreferenceCatalog {

/// All keys, in the order the settings window shows them.
std::span<const PreferenceKey> all();

/// The entry for `key`, or null for a key the application does not know.
const PreferenceKey* find(std::string_view key);

} // namespace PreferenceCatalog

} // namespace vq
