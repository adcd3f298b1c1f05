#pragma once

// A private folder of its own under the system's temporary folder, removed with its contents when
// the test is done, so tests never share or leave behind files.

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace brindtest {

class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::string& prefix = "brind-test") {
        std::string pattern = (std::filesystem::temp_directory_path() / (prefix + "-XXXXXX")).string();
        if (::mkdtemp(pattern.data()))
            path_ = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        if (!path_.empty())
            std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Empty when the folder could not be made.
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

} // namespace brindtest
