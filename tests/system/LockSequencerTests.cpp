#include "BrindKit/system/LockSequencer.hpp"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brind {
namespace {

using Effect = LockSequencer::Effect;
using Step = LockSequencer::Step;

// One call on the sequencer, with the effect, phase and generation it must leave.
struct Call {
    std::function<Effect(LockSequencer&)> run;
    Effect effect;
    LockPhase phase;
    std::uint64_t generation;
};

Call lock(Effect effect, LockPhase phase, std::uint64_t generation) {
    return {&LockSequencer::lock, effect, phase, generation};
}
Call unlock(Effect effect, LockPhase phase, std::uint64_t generation) {
    return {&LockSequencer::unlock, effect, phase, generation};
}
Call reset(Effect effect, LockPhase phase, std::uint64_t generation) {
    return {&LockSequencer::reset, effect, phase, generation};
}
Call fire(Step step, std::uint64_t with, Effect effect, LockPhase phase, std::uint64_t generation) {
    return {[step, with](LockSequencer& s) { return s.fire(step, with); }, effect, phase, generation};
}

void play(const std::vector<Call>& calls, LockTiming timing = LockTiming::standard()) {
    LockSequencer sequencer(timing);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE("call " + std::to_string(i));
        EXPECT_EQ(calls[i].run(sequencer), calls[i].effect);
        EXPECT_EQ(sequencer.phase(), calls[i].phase);
        EXPECT_EQ(sequencer.generation(), calls[i].generation);
    }
}

using S = LockSequencer::Schedule;
constexpr LockSequencer::None none{};
constexpr LockSequencer::Show show{};
constexpr LockSequencer::Relock relock{};
constexpr LockSequencer::Teardown teardown{};

TEST(LockSequencer, RelockMakesEarlierTimersHarmless) {
    // With reduce motion on, the hold and the collapse are shorter.
    play({lock(show, LockPhase::locked, 1), unlock(S{Step::collapse, 0.5, 2}, LockPhase::unlocking, 2),
          lock(relock, LockPhase::locked, 3), unlock(S{Step::collapse, 0.5, 4}, LockPhase::unlocking, 4),
          // The collapse armed before the relock fires during the new unlock: it must not cut the new
          // hold short.
          fire(Step::collapse, 2, none, LockPhase::unlocking, 4),
          fire(Step::collapse, 4, S{Step::teardown, 0.25, 4}, LockPhase::collapsing, 4),
          lock(relock, LockPhase::locked, 5), unlock(S{Step::collapse, 0.5, 6}, LockPhase::unlocking, 6),
          fire(Step::collapse, 6, S{Step::teardown, 0.25, 6}, LockPhase::collapsing, 6),
          // Likewise the old teardown must not remove the windows mid-collapse.
          fire(Step::teardown, 4, none, LockPhase::collapsing, 6),
          fire(Step::teardown, 6, teardown, LockPhase::hidden, 6)},
         LockTiming::forReduceMotion(true));
}

TEST(LockSequencer, FullCycleWhereCallsThatDoNotFitThePhaseDoNothing) {
    play({unlock(none, LockPhase::hidden, 0), lock(show, LockPhase::locked, 1), lock(none, LockPhase::locked, 1),
          fire(Step::collapse, 1, none, LockPhase::locked, 1),
          unlock(S{Step::collapse, 0.85, 2}, LockPhase::unlocking, 2), unlock(none, LockPhase::unlocking, 2),
          fire(Step::teardown, 2, none, LockPhase::unlocking, 2),
          fire(Step::collapse, 3, none, LockPhase::unlocking, 2),
          fire(Step::collapse, 2, S{Step::teardown, 0.5, 2}, LockPhase::collapsing, 2),
          fire(Step::collapse, 2, none, LockPhase::collapsing, 2), unlock(none, LockPhase::collapsing, 2),
          fire(Step::teardown, 2, teardown, LockPhase::hidden, 2),
          // A second session starts over from hidden.
          lock(show, LockPhase::locked, 3)});
}

TEST(LockSequencer, ResetTearsDownAndInvalidatesTimers) {
    play({reset(none, LockPhase::hidden, 1), lock(show, LockPhase::locked, 2),
          reset(teardown, LockPhase::hidden, 3), lock(show, LockPhase::locked, 4),
          unlock(S{Step::collapse, 0.85, 5}, LockPhase::unlocking, 5), reset(teardown, LockPhase::hidden, 6),
          fire(Step::collapse, 5, none, LockPhase::hidden, 6)});
}

TEST(LockSequencer, PhasesTellHowTheNotchIsDrawn) {
    struct Case {
        LockPhase phase;
        bool expanded;
        bool open;
    };
    const std::vector<Case> cases = {{LockPhase::hidden, false, false},
                                     {LockPhase::locked, true, false},
                                     {LockPhase::unlocking, true, true},
                                     {LockPhase::collapsing, false, true}};
    for (const Case& c : cases) {
        EXPECT_EQ(expanded(c.phase), c.expanded) << name(c.phase);
        EXPECT_EQ(open(c.phase), c.open) << name(c.phase);
    }
}

} // namespace
} // namespace brind
