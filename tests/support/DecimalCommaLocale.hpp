#pragma once

// Runs a piece of a test with the C library's numbers in a locale that writes a decimal comma, as
// the application's toolkit sets up for many users. The locale is compiled into a temporary folder
// with localedef; a machine without the locale sources cannot make one, and the caller skips.

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace brindtest {

class DecimalCommaLocale {
  public:
    DecimalCommaLocale() {
        folder_ = std::filesystem::temp_directory_path() / ("brind-locale-" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder_);
        const std::string command =
            "localedef -i de_DE -f UTF-8 '" + (folder_ / "de_DE.UTF-8").string() + "' >/dev/null 2>&1";
        // localedef exits with 1 when it only warns; the locale is there all the same.
        if (std::system(command.c_str()) == -1 ||
            !std::filesystem::exists(folder_ / "de_DE.UTF-8" / "LC_NUMERIC"))
            return;
        ::setenv("LOCPATH", folder_.c_str(), 1);
        active_ =
            std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr && *std::localeconv()->decimal_point == ',';
    }
    ~DecimalCommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        ::unsetenv("LOCPATH");
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    DecimalCommaLocale(const DecimalCommaLocale&) = delete;
    DecimalCommaLocale& operator=(const DecimalCommaLocale&) = delete;

    /// Whether numbers are now written with a comma.
    bool active() const { return active_; }

  private:
    std::filesystem::path folder_;
    bool active_ = false;
};

} // namespace brindtest
