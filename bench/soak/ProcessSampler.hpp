#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <thread>

namespace vq::soak {

/// What /proc says about a process at one moment.
struct ProcessSample {
    std::size_t descriptors = 0; ///< open file descriptors
    std::size_t sockets = 0;     ///< of which sockets
    std::size_t residentKiB = 0; ///< VmRSS
};

/// Reads a process's /proc entries now, and every `interval` on a thread of its own, keeping the
/// largest values seen.
class ProcessSampler {
public:
    static ProcessSample sample(int processID);

    ProcessSampler(int processID, std::chrono::milliseconds interval);
    ~ProcessSampler();
    ProcessSampler(const ProcessSampler&) = delete;
    ProcessSampler& operator=(const ProcessSampler&) = delete;

    /// Ends sampling; the largest value of each figure over the run.
    ProcessSample stop();

private:
    int processID;
    ProcessSample largest;
    std::atomic<bool> stopping{false};
    std::thread worker;
};

} // namespace vq::soak
