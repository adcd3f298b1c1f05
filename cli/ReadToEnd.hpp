#pragma once

#include <string>

namespace vq {

/// Everything `descriptor` gives until its end or an error, read straight from it: `vantaquill hook`
/// reads its payload and two /proc files on every tool use of an agent, and streams (with their
/// locales) would cost more than the rest of its work.
std::string readToEnd(int descriptor);

} // namespace vq
