#include "bench/soak/ProcessSampler.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

namespace vq::soak {

ProcessSample ProcessSampler::sample(int processID) {
    ProcessSample result;
    const std::filesystem::path process = "/proc/" + std::to_string(processID);
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(process / "fd", error)) {
        ++result.descriptors;
        if (std::filesystem::read_symlink(entry.path(), error).string().starts_with("socket:"))
            ++result.sockets;
    }
    std::ifstream status(process / "status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:"))
            result.residentKiB = std::stoul(line.substr(6));
    }
    return result;
}

ProcessSampler::ProcessSampler(int processID, std::chrono::milliseconds interval)
    : processID(processID), largest(sample(processID)) {
    worker = std::thread([this, interval] {
        while (!stopping.load()) {
            const auto now = sample(this->processID);
            largest.descriptors = std::max(largest.descriptors, now.descriptors);
            largest.sockets = std::max(largest.sockets, now.sockets);
            largest.residentKiB = std::max(largest.residentKiB, now.residentKiB);
            std::this_thread::sleep_for(interval);
        }
    });
}

ProcessSampler::~ProcessSampler() { stop(); }

ProcessSample ProcessSampler::stop() {
    stopping.store(true);
    if (worker.joinable())
        worker.join();
    return largest;
}

} // namespace vq::soak
