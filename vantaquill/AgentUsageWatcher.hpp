#pragma once

#include "BrindKit/agents/AgentUsage.hpp"
#include "BrindKit/agents/AgentUsageReader.hpp"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>

namespace vq {

/// Follows the agents' transcripts for their token usage. A hook event for a session whose
/// transcript is known asks for a read of what was appended since the last one; the read runs on a
/// worker thread of its own (a transcript can be tens of megabytes) and its result comes back on the
/// main thread. Events that arrive while a session's read runs are folded into one more read.
///
/// The path comes from a hook payload, so it is trusted no further than that: it is opened without
/// following a symbolic link and without blocking, and only a regular file owned by the user is read.
class AgentUsageWatcher {
  public:
    using MainThread = std::function<void(std::function<void()>)>;

    /// At most this much is read at a time; a longer backlog is read in turns with the other
    /// sessions' reads, its usage shown after each turn.
    static constexpr std::size_t maxReadPerEvent = 32 * 1024 * 1024;
    static constexpr std::size_t readSlice = 1024 * 1024;
    /// Gemini CLI's conversation files are read whole; larger ones are not read at all.
    static constexpr std::size_t maxConversation = 16 * 1024 * 1024;

    explicit AgentUsageWatcher(MainThread mainThread);
    ~AgentUsageWatcher();

    AgentUsageWatcher(const AgentUsageWatcher&) = delete;
    AgentUsageWatcher& operator=(const AgentUsageWatcher&) = delete;

    /// A hook event of session `key` arrived; its transcript is at `path` (main thread), JSON Lines
    /// read as they are appended, or with `conversation` one JSON document read whole when it changed.
    void touched(const std::string& key, const std::string& path, bool conversation = false);
    /// Drops everything kept for `key` (main thread).
    void forget(const std::string& key);

    /// Told on the main thread when a session's usage changed.
    std::function<void(const std::string& key, const brind::AgentUsage& usage)> onUsage;

    /// Where a transcript was read up to; kept between reads and carried by the worker during one.
    struct Progress {
        bool conversation = false;
        brind::AgentUsageReader reader;
        std::uint64_t offset = 0;
        /// The last read stopped at `maxReadPerEvent` with more of the file left to read.
        bool behind = false;
        dev_t device = 0;
        ino_t inode = 0;
        /// A conversation file: its size and time of change when it was last read, and its usage.
        std::uint64_t size = 0;
        std::int64_t changedAt = -1;
        std::optional<brind::AgentUsage> conversationUsage;

        const std::optional<brind::AgentUsage>& usage() const {
            return conversation ? conversationUsage : reader.usage();
        }
    };

    /// Reads what was appended to `path` since `progress`, at most `maxReadPerEvent` bytes, starting
    /// over when the file shrank or was replaced; a conversation file is read whole when its size or
    /// time of change moved. Refuses (and leaves `progress`) anything but a
    /// regular file of the user's reached without a symbolic link at its end.
    static void readAppended(const std::string& path, Progress& progress);

  private:
    struct Session {
        std::uint64_t serial = 0;
        std::string path;
        std::unique_ptr<Progress> progress = std::make_unique<Progress>();
        bool conversation = false;
        bool reading = false;
        bool again = false;
        std::optional<brind::AgentUsage> shown;
    };
    struct Job {
        std::string key;
        std::uint64_t serial = 0;
        std::string path;
        std::unique_ptr<Progress> progress;
    };

    void start(const std::string& key, Session& session);
    void finished(Job job);
    void work();

    MainThread onMain;
    std::map<std::string, Session> sessions;
    std::uint64_t nextSerial = 1;

    std::mutex lock;
    std::condition_variable wake;
    std::deque<Job> jobs;
    bool stopping = false;
    std::thread worker;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

} // namespace vq
