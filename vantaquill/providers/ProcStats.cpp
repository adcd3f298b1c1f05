#include "vantaquill/providers/ProcStats.hpp"

#include <charconv>
#include <vector>

namespace vq {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

/// The blank-separated words of one line.
std::vector<std::string_view> words(std::string_view line) {
    std::vector<std::string_view> result;
    std::size_t at = 0;
    while (at < line.size()) {
        while (at < line.size() && isBlank(line[at]))
            ++at;
        const std::size_t start = at;
        while (at < line.size() && !isBlank(line[at]))
            ++at;
        if (at > start)
            result.push_back(line.substr(start, at - start));
    }
    return result;
}

std::optional<std::uint64_t> number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

/// Calls `each` with every line of `text`.
template <typename Each> void forEachLine(std::string_view text, Each each) {
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        each(text.substr(0, end));
        if (end == std::string_view::npos)
            return;
        text.remove_prefix(end + 1);
    }
}

} // namespace

std::optional<brind::WidgetCPUTicks> ProcStats::cpu(std::string_view stat) {
    std::optional<brind::WidgetCPUTicks> result;
    forEachLine(stat, [&result](std::string_view line) {
        const auto fields = words(line);
        if (result || fields.size() < 5 || fields[0] != "cpu")
            return;
        // user nice system idle iowait irq softirq steal …; kernels before 2.6 stop after idle.
        std::uint64_t values[8] = {};
        for (std::size_t index = 0; index < 8 && index + 1 < fields.size(); ++index) {
            const auto value = number(fields[index + 1]);
            if (!value)
                return;
            values[index] = *value;
        }
        result = brind::WidgetCPUTicks{.user = values[0],
                                       .system = values[2] + values[5] + values[6] + values[7],
                                       .idle = values[3] + values[4],
                                       .nice = values[1]};
    });
    return result;
}

std::optional<ProcStats::Memory> ProcStats::memory(std::string_view meminfo) {
    std::optional<std::uint64_t> total, available;
    forEachLine(meminfo, [&](std::string_view line) {
        const auto fields = words(line);
        if (fields.size() < 2)
            return;
        // Sizes are in kibibytes, whatever the unit column says ("kB").
        const auto kibibytes = number(fields[1]);
        if (!kibibytes)
            return;
        if (fields[0] == "MemTotal:")
            total = *kibibytes * 1024;
        else if (fields[0] == "MemAvailable:")
            available = *kibibytes * 1024;
    });
    if (!total || !available)
        return std::nullopt;
    return Memory{*total, *available};
}

std::map<std::string, ProcStats::Traffic> ProcStats::network(std::string_view netDev) {
    std::map<std::string, Traffic> result;
    forEachLine(netDev, [&result](std::string_view line) {
        // "  eth0: 1234 5 0 0 0 0 0 0 5678 …": received bytes first, sent bytes ninth. The two
        // header lines have no colon before their first bar.
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos)
            return;
        const auto name = words(line.substr(0, colon));
        const auto fields = words(line.substr(colon + 1));
        if (name.size() != 1 || name[0] == "lo" || fields.size() < 9)
            return;
        const auto received = number(fields[0]);
        const auto sent = number(fields[8]);
        if (!received || !sent)
            return;
        result.insert_or_assign(std::string(name[0]), Traffic{*received, *sent});
    });
    return result;
}

} // namespace vq
