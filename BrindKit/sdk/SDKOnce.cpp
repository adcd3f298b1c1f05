#include "BrindKit/sdk/SDKOnce.hpp"

namespace brind {

bool SDKOnce::run(const std::function<void()>& body) {
    if (done_.exchange(true))
        return false;
    body();
    return true;
}

} // namespace brind
