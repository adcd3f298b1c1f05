#pragma once

// Runs a piece of a test with the C library's numbers in a locale that writes a decimal comma, as
// the application's toolkit sets up for many users. The locale is compiled into a temporary folder
// with localedef; a machine without the locale sources cannot make one, and the caller skips.

#include "tests/support/TemporaryFolder.hpp"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace brindtest {

class DecimalCommaLocale {
  public:
    DecimalCommaLocale() {
        const std::filesystem::path& folder = folder_.path();
        const std::string command =
            "localedef -i de_DE -f UTF-8 '" + (folder / "de_DE.UTF-8").string() + "' >/dev/null 2>&1";
        // localedef exits with 1 when it only warns; the locale is there all the same.
        if (folder.empty() || std::system(command.c_str()) == -1 ||
            !std::filesystem::exists(folder / "de_DE.UTF-8" / "LC_NUMERIC"))
            return;
        ::setenv("LOCPATH", folder.c_str(), 1);
        active_ =
            std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr && *std::localeconv()->decimal_point == ',';
    }
    ~DecimalCommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        ::unsetenv("LOCPATH");
    }
    DecimalCommaLocale(const DecimalCommaLocale&) = delete;
    DecimalCommaLocale& operator=(const DecimalCommaLocale&) = delete;

    /// Whether numbers are now written with a comma.
    bool active() const { return active_; }

  private:
    TemporaryFolder folder_{"brind-locale"};
    bool active_ = false;
};

} // namespace brindtest
