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

struct Call {
    std::string label;
    std::function<Effect(LockSequencer&)> run;
    Effect effect;
    LockPhase phase;
    std::uint64_t generation;
};

Call lock(Effect effect, LockPhase phase, std::uint64_t generation) {
    return {"lock", [](LockSequencer& s) { return s.lock(); }, effect, phase, generation};
}
Call unlock(Effect effect, LockPhase phase, std::uint64_t generation) {
    return {"unlock", [](LockSequencer& s) { return s.unlock(); }, effect, phase, generation};
}
Call fire(Step step, std::uint64_t with, Effect effect, LockPhase phase, std::uint64_t generation) {
    return {"fire " + std::string(name(step)) + " g" + std::to_string(with),
            [step, with](LockSequencer& s) { return s.fire(step, with); }, effect, phase, generation};
}
Call reset(Effect effect, LockPhase phase, std::uint64_t generation) {
    return {"reset", [](LockSequencer& s) { return s.reset(); }, effect, phase, generation};
}

void play(const std::string& story, const std::vector<Call>& calls,
          LockTiming timing = LockTiming::standard()) {
    LockSequencer sequencer(timing);
    EXPECT_EQ(sequencer.phase(), LockPhase::hidden);
    EXPECT_EQ(sequencer.generation(), 0u);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const Call& call = calls[i];
        const Effect effect = call.run(sequencer);
        EXPECT_EQ(effect, call.effect) << story << ", call " << i << " (" << call.label << ")";
        EXPECT_EQ(sequencer.phase(), call.phase) << story << ", call " << i << " (" << call.label << ")";
        EXPECT_EQ(sequencer.generation(), call.generation)
            << story << ", call " << i << " (" << call.label << ")";
    }
}

using S = LockSequencer::Schedule;
constexpr LockSequencer::None none{};
constexpr LockSequencer::Show show{};
constexpr LockSequencer::Relock relock{};
constexpr LockSequencer::Teardown teardown{};

TEST(LockSequencer, FullLockAndUnlockCycle) {
    play("cycle", {
                      lock(show, LockPhase::locked, 1),
                      lock(none, LockPhase::locked, 1),
                      unlock(S{Step::collapse, 0.85, 2}, LockPhase::unlocking, 2),
                      unlock(none, LockPhase::unlocking, 2),
                      fire(Step::collapse, 2, S{Step::teardown, 0.5, 2}, LockPhase::collapsing, 2),
                      fire(Step::teardown, 2, teardown, LockPhase::hidden, 2),
                      // A second session starts over from hidden.
                      lock(show, LockPhase::locked, 3),
                  });
    play("reduced motion",
         {
             lock(show, LockPhase::locked, 1),
             unlock(S{Step::collapse, 0.5, 2}, LockPhase::unlocking, 2),
             fire(Step::collapse, 2, S{Step::teardown, 0.25, 2}, LockPhase::collapsing, 2),
         },
         LockTiming::forReduceMotion(true));
}

TEST(LockSequencer, RelockMakesEarlierTimersHarmless) {
    play("relock while the lock is open", {
                                              lock(show, LockPhase::locked, 1),
                                              unlock(S{Step::collapse, 0.85, 2}, LockPhase::unlocking, 2),
                                              lock(relock, LockPhase::locked, 3),
                                              // The collapse timer armed at generation 2 fires late.
                                              fire(Step::collapse, 2, none, LockPhase::locked, 3),
                                              fire(Step::teardown, 2, none, LockPhase::locked, 3),
                                          });
    play("relock while collapsing",
         {
             lock(show, LockPhase::locked, 1),
             unlock(S{Step::collapse, 0.85, 2}, LockPhase::unlocking, 2),
             fire(Step::collapse, 2, S{Step::teardown, 0.5, 2}, LockPhase::collapsing, 2),
             lock(relock, LockPhase::locked, 3),
             fire(Step::teardown, 2, none, LockPhase::locked, 3),
             // The next unlock runs on the new generation.
             unlock(S{Step::collapse, 0.85, 4}, LockPhase::unlocking, 4),
             fire(Step::collapse, 4, S{Step::teardown, 0.5, 4}, LockPhase::collapsing, 4),
         });
}

TEST(LockSequencer, CallsThatDoNotFitThePhaseDoNothing) {
    play("out of order", {
                             unlock(none, LockPhase::hidden, 0),
                             fire(Step::collapse, 0, none, LockPhase::hidden, 0),
                             fire(Step::teardown, 0, none, LockPhase::hidden, 0),
                             lock(show, LockPhase::locked, 1),
                             fire(Step::collapse, 1, none, LockPhase::locked, 1),
                             fire(Step::teardown, 1, none, LockPhase::locked, 1),
                             unlock(S{Step::collapse, 0.85, 2}, LockPhase::unlocking, 2),
                             fire(Step::teardown, 2, none, LockPhase::unlocking, 2),
                             fire(Step::collapse, 1, none, LockPhase::unlocking, 2),
                             fire(Step::collapse, 3, none, LockPhase::unlocking, 2),
                             fire(Step::collapse, 2, S{Step::teardown, 0.5, 2}, LockPhase::collapsing, 2),
                             fire(Step::collapse, 2, none, LockPhase::collapsing, 2),
                             unlock(none, LockPhase::collapsing, 2),
                         });
}

TEST(LockSequencer, ResetTearsDownAndInvalidatesTimers) {
    play("reset", {
                      reset(none, LockPhase::hidden, 1),
                      lock(show, LockPhase::locked, 2),
                      reset(teardown, LockPhase::hidden, 3),
                      lock(show, LockPhase::locked, 4),
                      unlock(S{Step::collapse, 0.85, 5}, LockPhase::unlocking, 5),
                      reset(teardown, LockPhase::hidden, 6),
                      fire(Step::collapse, 5, none, LockPhase::hidden, 6),
                  });
}

TEST(LockSequencer, PhasesTellHowTheNotchIsDrawn) {
    struct Case {
        LockPhase phase;
        bool expanded;
        bool open;
        std::string name;
    };
    const std::vector<Case> cases = {
        {LockPhase::hidden, false, false, "hidden"},
        {LockPhase::locked, true, false, "locked"},
        {LockPhase::unlocking, true, true, "unlocking"},
        {LockPhase::collapsing, false, true, "collapsing"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(expanded(c.phase), c.expanded) << c.name;
        EXPECT_EQ(open(c.phase), c.open) << c.name;
    }
    EXPECT_EQ(LockTiming::forReduceMotion(false), (LockTiming{0.85, 0.5}));
    EXPECT_EQ(LockTiming::forReduceMotion(true), (LockTiming{0.5, 0.25}));
}

} // namespace
} // namespace brind
