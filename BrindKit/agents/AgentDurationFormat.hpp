#pragma once

#include <cstdint>
#include <string>

namespace brind {

/// The elapsed times and token counts shown beside a session.
namespace AgentDurationFormat {

/// "42s", "3m 07s", "2h 05m". Negative values count as zero; fractions are dropped.
std::string shortText(double seconds);

/// "999", "1.5k", "12k", "2.5M".
std::string tokens(std::int64_t count);

} // namespace AgentDurationFormat

} // namespace brind
