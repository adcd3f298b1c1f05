#pragma once

#include <string>

namespace brind::LockFormat {

/// The time to the next meeting: "Now" once it starts, else whole minutes rounded up ("1 min",
/// "1 h 5 min").
std::string meeting(double seconds);

} // namespace brind::LockFormat
