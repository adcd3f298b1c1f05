#include "cli/ReadToEnd.hpp"

#include <cerrno>
#include <unistd.h>

namespace vq {

std::string readToEnd(int descriptor) {
    std::string text;
    // A payload may carry a whole tool output; the pages of the buffer are touched only as far as
    // a read fills them.
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
        if (count > 0)
            text.append(buffer, static_cast<std::size_t>(count));
        else if (count < 0 && errno == EINTR)
            continue;
        else
            return text;
    }
}

} // namespace vq
