#include "BrindKit/foundation/SecureRandom.hpp"

#include <sys/random.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace brind::SecureRandom {

// The kernel's generator (getrandom(2)) rather than a library's: it is the source any library would
// seed from, and it keeps libcrypto out of the `vantaquill` command, whose start-up time agents pay
// on every tool use.
void fill(std::uint8_t* buffer, std::size_t count) {
    while (count > 0) {
        const ssize_t got = ::getrandom(buffer, count, 0);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            std::fputs("brind: the secure random generator failed\n", stderr);
            std::abort();
        }
        buffer += got;
        count -= static_cast<std::size_t>(got);
    }
}

std::vector<std::uint8_t> bytes(std::size_t count) {
    std::vector<std::uint8_t> result(count);
    fill(result.data(), result.size());
    return result;
}

} // namespace brind::SecureRandom
