#pragma once

#include "tests/support/TemporaryFolder.hpp"

#include <string>
#include <vector>

namespace vq::attack {

/// Debian's chromium, headless, in a fresh profile, showing one page until destroyed. It runs in a
/// process group of its own, so that ending it ends its helper processes too.
class HeadlessBrowser {
public:
    static constexpr const char* program = "/usr/bin/chromium";

    HeadlessBrowser(const std::string& url, const std::vector<std::string>& extraArguments);
    ~HeadlessBrowser();
    HeadlessBrowser(const HeadlessBrowser&) = delete;
    HeadlessBrowser& operator=(const HeadlessBrowser&) = delete;

    bool started() const { return group > 0; }

    /// What the browser wrote on its standard error so far (for a failing test's message).
    std::string diagnostics() const;

private:
    brindtest::TemporaryFolder profile{"vantaquill-chromium"};
    int group = -1;
};

} // namespace vq::attack
