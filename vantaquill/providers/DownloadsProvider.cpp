#include "vantaquill/providers/DownloadsProvider.hpp"

#include "BrindKit/foundation/Paths.hpp"
#include "BrindKit/widgets/WidgetStatsMath.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QStringList>
#include <QUrl>
#include <array>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vq {

namespace {

constexpr std::array<std::string_view, 3> partialSuffixes{".part", ".crdownload", ".download"};
// Chromium's name for a download whose name the user has not confirmed yet.
constexpr std::string_view unconfirmed = "Unconfirmed ";
constexpr std::string_view idPrefix = "downloads.";

constexpr std::uint32_t watchedEvents = IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO |
                                        IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF;

std::string activityID(std::uint64_t number) {
    return std::string(idPrefix) + std::to_string(number);
}

void startProgram(const QString& program, const QStringList& arguments) {
    QProcess::startDetached(program, arguments);
}

} // namespace

DownloadsProvider::DownloadsProvider(Scheduler& scheduler, std::filesystem::path folder, Log log,
                                     AddToShelf addToShelf)
    : scheduler_(scheduler), folder_(std::move(folder)), log_(std::move(log)),
      addToShelf_(std::move(addToShelf)) {}

DownloadsProvider::~DownloadsProvider() {
    stop();
}

std::optional<std::filesystem::path> DownloadsProvider::userDirsEntry(std::string_view text,
                                                                      std::string_view key,
                                                                      const std::filesystem::path& home) {
    std::istringstream lines{std::string(text)};
    std::string line;
    std::optional<std::filesystem::path> found;
    while (std::getline(lines, line)) {
        const auto start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line[start] == '#')
            continue;
        std::string_view rest = std::string_view(line).substr(start);
        if (!rest.starts_with(key) || rest.substr(key.size()).substr(0, 1) != "=")
            continue;
        rest.remove_prefix(key.size() + 1);
        while (!rest.empty() && (rest.back() == ' ' || rest.back() == '\t' || rest.back() == '\r'))
            rest.remove_suffix(1);
        // The file's own form: a quoted path, absolute or starting with $HOME.
        if (rest.size() < 2 || rest.front() != '"' || rest.back() != '"')
            continue;
        rest = rest.substr(1, rest.size() - 2);
        std::string value;
        for (std::size_t i = 0; i < rest.size(); ++i) {
            if (rest[i] == '\\' && i + 1 < rest.size())
                ++i;
            value.push_back(rest[i]);
        }
        if (value == "$HOME" || value.starts_with("$HOME/")) {
            const std::string below = value.substr(std::string_view("$HOME").size());
            found = below.find_first_not_of('/') == std::string::npos ? home : home / below.substr(1);
        } else if (value.starts_with('/')) {
            found = std::filesystem::path(value);
        }
        // The last line for a key wins, as the shell that reads the file would have it.
    }
    return found;
}

std::filesystem::path DownloadsProvider::downloadFolder(const std::filesystem::path& home,
                                                        const std::filesystem::path& configHome) {
    std::ifstream file(configHome / "user-dirs.dirs");
    std::stringstream text;
    text << file.rdbuf();
    if (auto named = userDirsEntry(text.str(), "XDG_DOWNLOAD_DIR", home))
        return *named;
    return home / "Downloads";
}

std::filesystem::path DownloadsProvider::downloadFolder() {
    return downloadFolder(brind::Paths::home(), brind::Paths::userConfig());
}

std::optional<std::string> DownloadsProvider::finalName(std::string_view fileName) {
    for (const auto suffix : partialSuffixes) {
        if (fileName.size() <= suffix.size() || !fileName.ends_with(suffix))
            continue;
        const std::string_view stem = fileName.substr(0, fileName.size() - suffix.size());
        if (stem.starts_with(unconfirmed) &&
            stem.substr(unconfirmed.size()).find_first_not_of("0123456789") == std::string_view::npos)
            return std::string();
        return std::string(stem);
    }
    return std::nullopt;
}

std::optional<double> DownloadsProvider::knownProgress(std::uint64_t length, std::uint64_t allocated) {
    if (length == 0 || allocated + preallocatedSlack >= length)
        return std::nullopt;
    return static_cast<double>(allocated) / static_cast<double>(length);
}

brind::LiveActivity DownloadsProvider::progressActivity(std::uint64_t number, const std::string& name,
                                                        std::uint64_t length,
                                                        std::optional<double> progress) {
    brind::LiveActivity activity;
    activity.id = activityID(number);
    activity.source = std::string(providerID);
    activity.leading = brind::ActivityGlyph::symbol("arrow.down");
    activity.trailing = progress ? brind::ActivityGlyph::ring(*progress) : brind::ActivityGlyph::spinner();
    activity.title = name.empty() ? "Downloading" : name;
    const std::string size = brind::WidgetStatsMath::formatBytes(static_cast<double>(length));
    // A preallocated file's length is the final size, and what is written is the progress's share of it.
    activity.subtitle =
        progress
            ? brind::WidgetStatsMath::formatBytes(*progress * static_cast<double>(length)) + " of " + size
            : size;
    activity.progress = progress;
    return activity.clamped();
}

brind::LiveActivity DownloadsProvider::doneActivity(std::uint64_t number, const std::string& name,
                                                    std::uint64_t length, brind::Date now) {
    brind::LiveActivity activity;
    // An id of its own: a new activity pops the island open, an update of the progress would not.
    activity.id = std::string(idPrefix) + "done." + std::to_string(number);
    activity.source = std::string(providerID);
    activity.leading = brind::ActivityGlyph::symbol("arrow.down");
    activity.trailing = brind::ActivityGlyph::symbol("checkmark");
    activity.title = name;
    activity.subtitle = "Downloaded, " + brind::WidgetStatsMath::formatBytes(static_cast<double>(length));
    activity.progress = 1;
    activity.expiresAt = now + doneDuration;
    activity.actions = {{"open", "Open", brind::ActivityAction::Role::primary, "doc"},
                        {"show", "Show in Folder", brind::ActivityAction::Role::normal, "folder"},
                        {"shelf", "Add to Shelf", brind::ActivityAction::Role::normal, "tray"}};
    activity.tapAction = "open";
    // Popping open is what puts the buttons in reach; the download itself did not.
    activity.alert = true;
    return activity;
}

void DownloadsProvider::start(LiveActivityCenter& center) {
    center_ = &center;
    center.handleActions(
        std::string(idPrefix),
        [this](const std::string& activityID, const std::string& action) { perform(activityID, action); });
    auto watch = InotifyWatch::open([this](const std::vector<InotifyWatch::Event>& events) { handle(events); });
    if (!watch) {
        log_("vantaquill: downloads are not followed: inotify is not available (" + watch.error() + ")");
        return;
    }
    if (const auto added = (*watch)->add(folder_, watchedEvents); !added) {
        if (!toldMissing_)
            log_("vantaquill: no download folder at " + folder_.string() + " (" + added.error() +
                 "), so downloads are not followed; XDG_DOWNLOAD_DIR in user-dirs.dirs names it");
        toldMissing_ = true;
        return;
    }
    watch_ = std::move(*watch);
    scan();
}

void DownloadsProvider::stop() {
    refreshTimer_.reset();
    watch_.reset();
    downloads_.clear();
    movedAway_.clear();
    // The press handler stays registered with the center that owns this provider; with nothing
    // finished it does nothing.
    done_.clear();
    center_ = nullptr;
}

void DownloadsProvider::scan() {
    // Stepped with an error code: the standard iterator's own step throws when a read fails.
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder_, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::error_code unreadable;
        if (entry->is_regular_file(unreadable) && finalName(name))
            track(name);
    }
    markChanged();
}

void DownloadsProvider::handle(const std::vector<InotifyWatch::Event>& events) {
    // A rename is two events with one cookie, queued together by the kernel; a read may still end
    // between them, so the first half waits for the next read. One still alone at the next refresh
    // was a move out of the folder, and its file is gone from it.
    bool rescan = false;
    for (const InotifyWatch::Event& event : events) {
        if (event.mask & IN_Q_OVERFLOW) {
            rescan = true;
            continue;
        }
        if (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) {
            log_("vantaquill: the download folder " + folder_.string() +
                 " was removed or moved; downloads are followed again when the island restarts");
            watch_->pause();
            return;
        }
        if (event.name.empty() || (event.mask & IN_ISDIR))
            continue;
        const std::string name = event.name;
        const bool partial = finalName(name).has_value();
        if (event.mask & IN_MOVED_FROM) {
            if (downloads_.contains(name))
                movedAway_[event.cookie] = name;
        } else if (event.mask & IN_MOVED_TO) {
            const auto from = movedAway_.find(event.cookie);
            if (from == movedAway_.end()) {
                if (partial)
                    track(name);
                continue;
            }
            const std::string old = from->second;
            movedAway_.erase(from);
            if (partial) {
                // Chromium names the file once the user confirmed it: the same download goes on,
                // over whatever partial file had that name before.
                if (name != old)
                    forget(name);
                auto download = downloads_.extract(old);
                download.key() = name;
                download.mapped().name = *finalName(name);
                downloads_.insert(std::move(download));
            } else {
                finished(old, name);
            }
        } else if (event.mask & IN_DELETE) {
            // Cancelled or failed: the browser removes what it had.
            forget(name);
        } else if (partial) {
            track(name);
        }
    }
    if (rescan)
        scan();
    else
        markChanged();
}

void DownloadsProvider::track(const std::string& partial) {
    if (downloads_.contains(partial))
        return;
    downloads_.emplace(partial, Download{nextNumber_++, *finalName(partial), std::nullopt});
}

void DownloadsProvider::markChanged() {
    if (refreshTimer_ || downloads_.empty())
        return;
    refreshTimer_ = scheduler_.schedule(settleDelay, [this] {
        refreshTimer_.reset();
        refresh();
    });
}

void DownloadsProvider::refresh() {
    if (!center_)
        return;
    movedAway_.clear();
    std::vector<std::string> gone;
    for (auto& [partial, download] : downloads_) {
        struct stat status {};
        if (::stat((folder_ / partial).c_str(), &status) != 0) {
            gone.push_back(partial);
            continue;
        }
        const auto length = static_cast<std::uint64_t>(status.st_size);
        const auto allocated = static_cast<std::uint64_t>(status.st_blocks) * 512;
        auto activity =
            progressActivity(download.number, download.name, length, knownProgress(length, allocated));
        if (download.posted && download.posted->sameContent(activity))
            continue;
        center_->post(activity);
        download.posted = std::move(activity);
    }
    for (const auto& partial : gone)
        forget(partial);
}

void DownloadsProvider::finished(const std::string& partial, const std::string& done) {
    const auto found = downloads_.find(partial);
    if (found == downloads_.end() || !center_)
        return;
    const std::uint64_t number = found->second.number;
    downloads_.erase(found);
    const auto path = folder_ / done;
    std::error_code error;
    const auto length = std::filesystem::file_size(path, error);
    const auto activity = doneActivity(number, done, error ? 0 : length, scheduler_.now());
    // A finished file keeps its buttons as long as its activity shows.
    std::erase_if(done_,
                  [this](const auto& entry) { return center_->queue().activity(entry.first) == nullptr; });
    done_[activity.id] = path;
    center_->end(activityID(number));
    center_->post(activity);
}

void DownloadsProvider::forget(const std::string& partial) {
    const auto found = downloads_.find(partial);
    if (found == downloads_.end())
        return;
    if (center_)
        center_->end(activityID(found->second.number));
    downloads_.erase(found);
}

void DownloadsProvider::perform(const std::string& activityID, const std::string& action) {
    const auto found = done_.find(activityID);
    if (found == done_.end())
        return;
    const std::string path = found->second.string();
    if (action == "open") {
        startProgram(QStringLiteral("xdg-open"), {QString::fromStdString(path)});
    } else if (action == "show") {
        showInFolder(path);
    } else if (action == "shelf") {
        if (addToShelf_)
            addToShelf_(path);
    } else {
        return;
    }
    if (center_)
        center_->end(activityID);
}

void DownloadsProvider::showInFolder(const std::string& path) {
    // The file manager selects the file in its folder; without one on the bus, the folder opens.
    auto call =
        QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                       "org.freedesktop.FileManager1", "ShowItems");
    call << QStringList{QUrl::fromLocalFile(QString::fromStdString(path)).toString()} << QString();
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call));
    const QString folder = QString::fromStdString(std::filesystem::path(path).parent_path().string());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [folder](QDBusPendingCallWatcher* done) {
        if (done->isError())
            startProgram(QStringLiteral("xdg-open"), {folder});
        done->deleteLater();
    });
}

} // namespace vq
