#pragma once

#include "BrindKit/clipboard/ClipSkipReason.hpp"

#include <optional>
#include <variant>

namespace brind {

/// Whether a copy may enter the history, and why not when it may not.
struct ClipPrivacyVerdict {
    struct Record {
        friend bool operator==(Record, Record) = default;
    };
    struct Skip {
        ClipSkipReason reason = ClipSkipReason::empty;
        friend bool operator==(Skip, Skip) = default;
    };

    std::variant<Record, Skip> value;

    static ClipPrivacyVerdict record() { return {Record{}}; }
    static ClipPrivacyVerdict skip(ClipSkipReason reason) { return {Skip{reason}}; }

    bool isRecord() const { return std::holds_alternative<Record>(value); }

    /// The reason when the copy is skipped.
    std::optional<ClipSkipReason> skipReason() const {
        if (const auto* skipped = std::get_if<Skip>(&value))
            return skipped->reason;
        return std::nullopt;
    }

    friend bool operator==(const ClipPrivacyVerdict&, const ClipPrivacyVerdict&) = default;
};

} // namespace brind
