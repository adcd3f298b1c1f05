#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace vq::ProcessTable {

/// One process as /proc/N/stat describes it.
struct Entry {
    std::string name; ///< the command name (at most 15 characters)
    pid_t parent = 0;
};

/// Nothing when the process is gone or its entry cannot be read.
std::optional<Entry> entry(pid_t pid);

} // namespace vq::ProcessTable
