#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/sdk/SDKScope.hpp"
#include "vantaquill/Scheduler.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vq {

/// The SDK clients waiting for the user to let them connect, as the island shows them. The SDK
/// service hands each registration here on the main thread; the island's prompt answers it, or the
/// time-out does. Every question is answered exactly once, whichever comes first.
class ConsentQueue {
public:
    using Answer = std::function<void(bool allowed)>;

    /// One question as the prompt shows it.
    struct Request {
        /// Tells requests apart for the view, even two from the same app one after the other.
        std::uint64_t serial = 0;
        std::string appID;
        std::string name;
        std::vector<brind::SDKScope> scopes;
        /// When it is answered "deny" if the user has not answered.
        brind::Date deadline;

        friend bool operator==(const Request&, const Request&) = default;
    };

    /// How the question was settled, for the display.
    enum class Outcome { allowed, deniedByUser, timedOut, replaced };

    /// `timeout` gives the seconds a question waits, read at each question so that a changed
    /// preference applies to the next one.
    ConsentQueue(Scheduler& scheduler, std::function<double()> timeout);
    ~ConsentQueue();
    ConsentQueue(const ConsentQueue&) = delete;
    ConsentQueue& operator=(const ConsentQueue&) = delete;

    /// Adds a question; `answer` receives the choice, on the main thread. A question from an app
    /// that already waits replaces the earlier one, which is denied: only the newest request of an
    /// app can still receive its token.
    void ask(std::string appID, std::string name, std::vector<brind::SDKScope> scopes, Answer answer);

    /// Answers the question with this serial; false when it was already settled.
    bool answer(std::uint64_t serial, bool allowed);

    /// Answers every waiting question "deny" without telling anyone: the island is quitting, and
    /// the server should still answer the held registrations before it stops.
    void denyAll();

    /// The waiting questions, oldest first.
    std::vector<Request> pending() const;
    bool empty() const { return entries.empty(); }

    /// Told after a question was added or settled.
    std::function<void()> onChange;
    /// Told how each question was settled.
    std::function<void(const Request&, Outcome)> onSettled;

private:
    struct Entry {
        Request request;
        Answer answer;
        std::unique_ptr<Scheduler::Timer> timer;
    };

    void settle(std::uint64_t serial, Outcome outcome);

    Scheduler& scheduler;
    std::function<double()> timeout;
    std::vector<Entry> entries;
    std::uint64_t nextSerial = 1;
};

} // namespace vq
