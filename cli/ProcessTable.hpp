#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace vq::ProcessTable {

/// One process as /proc/N/stat describes it.
struct Entry {
    std::string name; ///< the command name (at most 15 characters)
    pid_t parent = 0;
    unsigned long long terminal = 0; ///< the controlling terminal's device number; 0 for none
};

/// Nothing when the process is gone or its entry cannot be read.
std::optional<Entry> entry(pid_t pid);

/// This process's own entry.
std::optional<Entry> self();

} // namespace vq::ProcessTable
