#pragma once

#include "tests/desktop/VirtualDisplay.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace vq::clipboardtest {

/// The suite's one X server, started on first use; null when Xvfb or xclip is missing.
const std::unique_ptr<desktop::VirtualDisplay>& display();

/// Runs the Qt event loop until `condition` holds or `timeout` passes; whether it held.
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout = std::chrono::seconds(15));

/// A plain `width` x `height` picture encoded in `format` ("PNG", "BMP"...), as an application would copy it.
std::string encodedImage(const char* format, int width, int height);

} // namespace vq::clipboardtest
