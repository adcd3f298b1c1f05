#include "BrindKit/system/LockSequencer.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

#include <utility>

namespace brind {

LockSequencer::Effect LockSequencer::lock() {
    switch (phase_) {
    case LockPhase::locked:
        return None{};
    case LockPhase::hidden:
        phase_ = LockPhase::locked;
        ++generation_;
        return Show{};
    case LockPhase::unlocking:
    case LockPhase::collapsing:
        phase_ = LockPhase::locked;
        ++generation_;
        return Relock{};
    }
    std::unreachable();
}

LockSequencer::Effect LockSequencer::unlock() {
    if (phase_ != LockPhase::locked)
        return None{};
    phase_ = LockPhase::unlocking;
    ++generation_;
    return Schedule{Step::collapse, timing_.unlockHold, generation_};
}

LockSequencer::Effect LockSequencer::fire(Step step, std::uint64_t generation) {
    if (generation != generation_)
        return None{};
    switch (step) {
    case Step::collapse:
        if (phase_ != LockPhase::unlocking)
            return None{};
        phase_ = LockPhase::collapsing;
        return Schedule{Step::teardown, timing_.collapse, generation};
    case Step::teardown:
        if (phase_ != LockPhase::collapsing)
            return None{};
        phase_ = LockPhase::hidden;
        return Teardown{};
    }
    std::unreachable();
}

LockSequencer::Effect LockSequencer::reset() {
    const bool wasShown = phase_ != LockPhase::hidden;
    phase_ = LockPhase::hidden;
    ++generation_;
    if (wasShown)
        return Teardown{};
    return None{};
}

namespace {

constexpr auto stepRows = std::to_array<EnumTable::NameRow<LockSequencer::Step>>({
    {LockSequencer::Step::collapse, "collapse"},
    {LockSequencer::Step::teardown, "teardown"},
});
static_assert(EnumTable::coversEveryCase(stepRows));

} // namespace

std::string_view name(LockSequencer::Step step) {
    return EnumTable::row(stepRows, step).name;
}

} // namespace brind
