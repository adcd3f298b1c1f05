#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/island/LiveActivity.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/InotifyWatch.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>


namespace vq {

/// Downloads in the user's download folder: a browser writes into a partial file (".part" for
/// Firefox, ".crdownload" for Chromium, ".download" for others) and renames it when it is done. Each
/// partial file is a progress activity while it grows, and its rename a short "done" activity with
/// Open, Show in Folder and Add to Shelf. The folder is watched with inotify, so nothing is polled.
class DownloadsProvider final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = "downloads";
    /// How long the "done" activity stays, long enough to reach its buttons.
    static constexpr double doneDuration = 8;
    /// Writes arrive in bursts of thousands; the activity is brought up to date at most this often.
    static constexpr double settleDelay = 0.25;
    /// A partial file whose length is this much beyond what is written to it was given its final
    /// length up front (a preallocating downloader), so its progress is known.
    static constexpr std::uint64_t preallocatedSlack = 1024 * 1024;

    using Log = std::function<void(const std::string&)>;
    /// Puts a finished file on the shelf (the shelf store the island already has).
    using AddToShelf = std::function<void(const std::string& path)>;

    DownloadsProvider(Scheduler& scheduler, std::filesystem::path folder, Log log, AddToShelf addToShelf);
    ~DownloadsProvider() override;
    DownloadsProvider(const DownloadsProvider&) = delete;
    DownloadsProvider& operator=(const DownloadsProvider&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

    /// The user's download folder as `xdg-user-dir DOWNLOAD` names it: XDG_DOWNLOAD_DIR in
    /// `configHome`/user-dirs.dirs, else ~/Downloads.
    static std::filesystem::path downloadFolder(const std::filesystem::path& home,
                                                const std::filesystem::path& configHome);
    /// The same from HOME and XDG_CONFIG_HOME.
    static std::filesystem::path downloadFolder();
    /// The folder one line of user-dirs.dirs names for `key` (XDG_DOWNLOAD_DIR="$HOME/Downloads"), or
    /// nothing when the text has no such line or it is not of that form.
    static std::optional<std::filesystem::path> userDirsEntry(std::string_view text, std::string_view key,
                                                              const std::filesystem::path& home);

    /// What a file name says about a download: whether it is a browser's partial file and, when it
    /// is, the name the finished file will have (empty while the browser has not chosen one, as
    /// Chromium's "Unconfirmed 1234.crdownload").
    static std::optional<std::string> finalName(std::string_view fileName);

    /// The share of a partial file written so far, when its length was set up front; nothing when
    /// the file simply grows and its final length is unknown.
    static std::optional<double> knownProgress(std::uint64_t length, std::uint64_t allocated);

    /// The activity of a download in progress; `number` makes its id.
    static brind::LiveActivity progressActivity(std::uint64_t number, const std::string& name,
                                                std::uint64_t length, std::optional<double> progress);
    /// The short activity of a finished download, ending at `now` + `doneDuration`.
    static brind::LiveActivity doneActivity(std::uint64_t number, const std::string& name,
                                            std::uint64_t length, brind::Date now);

  private:
    struct Download {
        std::uint64_t number = 0;
        std::string name;
        std::optional<brind::LiveActivity> posted;
    };

    void handle(const std::vector<InotifyWatch::Event>& events);
    void scan();
    void track(const std::string& partial);
    void markChanged();
    void refresh();
    void finished(const std::string& partial, const std::string& done);
    void forget(const std::string& partial);
    void perform(const std::string& activityID, const std::string& action);
    void showInFolder(const std::string& path);

    Scheduler& scheduler_;
    std::filesystem::path folder_;
    Log log_;
    AddToShelf addToShelf_;
    LiveActivityCenter* center_ = nullptr;
    std::unique_ptr<InotifyWatch> watch_;
    std::unique_ptr<Scheduler::Timer> refreshTimer_;
    /// Partial file name to its download.
    std::map<std::string, Download> downloads_;
    /// Partial files renamed away, by the rename's cookie, until the other half of the rename is read.
    std::map<std::uint32_t, std::string> movedAway_;
    /// Activity id of a finished download to its file, for the buttons.
    std::map<std::string, std::filesystem::path, std::less<>> done_;
    std::uint64_t nextNumber_ = 1;
    bool toldMissing_ = false;
};

} // namespace vq
