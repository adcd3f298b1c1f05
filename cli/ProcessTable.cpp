#include "cli/ProcessTable.hpp"

#include "cli/ReadToEnd.hpp"

#include <charconv>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace vq::ProcessTable {

namespace {

// Read with plain descriptors: `vantaquill hook` reads two of these files on every tool use of an
// agent, and a file stream and a string stream (with their locales) cost more than the rest of it.
std::string contents(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return {};
    std::string text = readToEnd(descriptor);
    ::close(descriptor);
    return text;
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// The next field separated by white space, from `at` on; empty at the end.
std::string_view nextField(std::string_view text, std::size_t& at) {
    while (at < text.size() && isSpace(text[at]))
        ++at;
    const std::size_t start = at;
    while (at < text.size() && !isSpace(text[at]))
        ++at;
    return text.substr(start, at - start);
}

template <typename Number>
bool readNumber(std::string_view field, Number& number) {
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number);
    return error == std::errc() && end == field.data() + field.size();
}

std::optional<Entry> parse(std::string_view stat) {
    // The name (field 2) may hold spaces and parentheses; the fields resume after the last ")":
    // state, parent, process group, session, terminal.
    const std::size_t open = stat.find('(');
    const std::size_t close = stat.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open)
        return std::nullopt;
    Entry result{std::string(stat.substr(open + 1, close - open - 1))};
    std::size_t at = close + 1;
    if (nextField(stat, at).empty() || !readNumber(nextField(stat, at), result.parent))
        return std::nullopt;
    nextField(stat, at);
    nextField(stat, at);
    if (!readNumber(nextField(stat, at), result.terminal))
        result.terminal = 0;
    return result;
}

} // namespace

std::optional<Entry> entry(pid_t pid) {
    return parse(contents("/proc/" + std::to_string(pid) + "/stat"));
}

std::optional<Entry> self() {
    return parse(contents("/proc/self/stat"));
}

} // namespace vq::ProcessTable
