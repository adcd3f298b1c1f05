// `make soak`: the island under slow and flooding clients, and killed while it writes. Prints its figures and exits non-zero
// when a limit does not hold. `sdkSoak slowloris`, `flood`, `crash` or `rules` runs one scenario.

#include "bench/soak/SoakSupport.hpp"

#include <cstdio>
#include <string_view>
#include <sys/resource.h>

int main(int argc, char** argv) {
    // A thousand sockets of our own, and the good clients' besides.
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);

    const std::string_view only = argc > 1 ? argv[1] : "";
    bool holds = true;
    if (only.empty() || only == "slowloris")
        holds &= vq::soak::slowlorisSoak();
    if (only.empty() || only == "flood")
        holds &= vq::soak::floodSoak();
    if (only.empty() || only == "crash")
        holds &= vq::soak::crashSoak();
    if (only.empty() || only == "rules")
        holds &= vq::soak::ruleBookSoak();
    return holds ? 0 : 1;
}
