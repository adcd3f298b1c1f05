#include "BrindKit/foundation/SecureRandom.hpp"

#include <openssl/rand.h>

#include <climits>
#include <cstdio>
#include <cstdlib>

namespace brind::SecureRandom {

void fill(std::uint8_t* buffer, std::size_t count) {
    while (count > 0) {
        const int chunk = count > INT_MAX ? INT_MAX : static_cast<int>(count);
        if (RAND_bytes(buffer, chunk) != 1) {
            std::fputs("brind: the secure random generator failed\n", stderr);
            std::abort();
        }
        buffer += chunk;
        count -= static_cast<std::size_t>(chunk);
    }
}

std::vector<std::uint8_t> bytes(std::size_t count) {
    std::vector<std::uint8_t> result(count);
    fill(result.data(), result.size());
    return result;
}

} // namespace brind::SecureRandom
