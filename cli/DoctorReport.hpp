#pragma once

#include "cli/DoctorFacts.hpp"

#include <string>
#include <vector>

namespace vq {

/// The verdict of `vantaquill doctor`, feature by feature, made from `DoctorFacts` alone so that any
/// desktop can be described without having it.
struct DoctorReport {
    enum class Status {
        works,
        partly,  ///< works with a limit the user should know about
        missing,
    };

    struct Check {
        std::string feature; ///< "session", "placement", "clipboard", ...
        Status status = Status::missing;
        std::string summary;            ///< one line: what works, or why not
        std::vector<std::string> lines; ///< extra lines to read or paste (key bindings, hints)
        bool essential = false;         ///< the island is of no use without it
        friend bool operator==(const Check&, const Check&) = default;
    };

    std::vector<Check> checks;

    /// The essentials: a display to put the island on and the session bus that keeps one island
    /// per session and carries vantaquill:// URLs.
    bool essentialsWork() const;

    /// The report as printed: one aligned line per feature, extra lines indented below it.
    std::string text() const;

    static DoctorReport from(const DoctorFacts& facts);

    friend bool operator==(const DoctorReport&, const DoctorReport&) = default;
};

} // namespace vq
