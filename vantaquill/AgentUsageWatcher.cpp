#include "vantaquill/AgentUsageWatcher.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vq {

AgentUsageWatcher::AgentUsageWatcher(MainThread mainThread) : onMain(std::move(mainThread)) {}

AgentUsageWatcher::~AgentUsageWatcher() {
    *alive = false;
    {
        std::lock_guard guard(lock);
        stopping = true;
        jobs.clear();
    }
    wake.notify_all();
    if (worker.joinable())
        worker.join();
}

void AgentUsageWatcher::touched(const std::string& key, const std::string& path, bool conversation) {
    // Only absolute paths: a relative one would be read against the island's own folder.
    if (path.empty() || path.front() != '/')
        return;
    auto [found, added] = sessions.try_emplace(key);
    Session& session = found->second;
    if (added)
        session.serial = nextSerial++;
    if (session.path != path) {
        // Another transcript (the agent started a new one): its counts start from nothing.
        session.path = path;
        if (!session.reading)
            session.progress = std::make_unique<Progress>();
    }
    session.conversation = conversation;
    if (session.reading) {
        session.again = true;
        return;
    }
    start(key, session);
}

void AgentUsageWatcher::forget(const std::string& key) {
    sessions.erase(key);
}

void AgentUsageWatcher::start(const std::string& key, Session& session) {
    session.reading = true;
    session.again = false;
    {
        std::lock_guard guard(lock);
        session.progress->conversation = session.conversation;
        jobs.push_back(Job{key, session.serial, session.path, std::move(session.progress)});
        if (!worker.joinable())
            worker = std::thread([this] { work(); });
    }
    wake.notify_one();
}

void AgentUsageWatcher::work() {
    std::unique_lock guard(lock);
    for (;;) {
        wake.wait(guard, [this] { return stopping || !jobs.empty(); });
        if (stopping)
            return;
        Job job = std::move(jobs.front());
        jobs.pop_front();
        guard.unlock();
        readAppended(job.path, *job.progress);
        std::weak_ptr<bool> watching = alive;
        auto done = std::make_shared<Job>(std::move(job));
        onMain([this, watching, done] {
            if (watching.lock())
                finished(std::move(*done));
        });
        guard.lock();
    }
}

void AgentUsageWatcher::finished(Job job) {
    const auto found = sessions.find(job.key);
    // A session forgotten during the read, or forgotten and begun again, has no use for it.
    if (found == sessions.end() || found->second.serial != job.serial)
        return;
    Session& session = found->second;
    session.reading = false;
    session.progress = session.path == job.path ? std::move(job.progress) : std::make_unique<Progress>();
    const auto& usage = session.progress->usage();
    if (session.path == job.path && usage && usage != session.shown) {
        session.shown = usage;
        if (onUsage)
            onUsage(job.key, *usage);
    }
    if (session.again || session.progress->behind)
        start(job.key, session);
}

namespace {

// A conversation file is rewritten whole: it is read again only when its size or time of change
// moved, and not at all past `maxConversation`.
void readConversation(int descriptor, const struct stat& status, AgentUsageWatcher::Progress& progress) {
    const auto size = static_cast<std::uint64_t>(status.st_size);
    const std::int64_t changedAt =
        static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 + status.st_mtim.tv_nsec;
    if (status.st_dev == progress.device && status.st_ino == progress.inode && size == progress.size &&
        changedAt == progress.changedAt)
        return;
    progress.device = status.st_dev;
    progress.inode = status.st_ino;
    progress.size = size;
    progress.changedAt = changedAt;
    if (size > AgentUsageWatcher::maxConversation)
        return;
    std::string document(size, '\0');
    std::size_t read = 0;
    while (read < document.size()) {
        const ssize_t count =
            ::pread(descriptor, document.data() + read, document.size() - read, static_cast<off_t>(read));
        if (count <= 0)
            break;
        read += static_cast<std::size_t>(count);
    }
    document.resize(read);
    // A document caught half-written is not JSON: the usage read before stands until the next change.
    if (auto usage = brind::AgentUsageReader::readConversation(document))
        progress.conversationUsage = std::move(usage);
}

} // namespace

void AgentUsageWatcher::readAppended(const std::string& path, Progress& progress) {
    // Without O_NONBLOCK, opening a FIFO would wait for a writer; O_NOFOLLOW refuses a link put in
    // the transcript's place.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return;
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) {
        ::close(descriptor);
        return;
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (progress.conversation) {
        readConversation(descriptor, status, progress);
        ::close(descriptor);
        return;
    }
    if (status.st_dev != progress.device || status.st_ino != progress.inode || size < progress.offset) {
        // A new file, or the same one rewritten shorter: read it from the start.
        progress = Progress{};
        progress.device = status.st_dev;
        progress.inode = status.st_ino;
    }
    std::vector<char> buffer(readSlice);
    std::size_t total = 0;
    while (total < maxReadPerEvent) {
        const ssize_t count =
            ::pread(descriptor, buffer.data(), buffer.size(), static_cast<off_t>(progress.offset));
        if (count <= 0)
            break;
        progress.reader.feed(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
        progress.offset += static_cast<std::uint64_t>(count);
        total += static_cast<std::size_t>(count);
    }
    progress.behind = total >= maxReadPerEvent && progress.offset < size;
    ::close(descriptor);
}

} // namespace vq
