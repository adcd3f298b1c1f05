#pragma once

#include "BrindKit/clipboard/ClipArchive.hpp"
#include "BrindKit/clipboard/ClipHistory.hpp"
#include "BrindKit/clipboard/ClipSettings.hpp"
#include "BrindKit/clipboard/ClipSkipReason.hpp"
#include "BrindKit/clipboard/ClipSnapshot.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/clipboard/ClipFlavour.hpp"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace vq {

/// The clipboard history of the running island, owned by the main thread. Each clipboard change
/// arrives as a snapshot: the privacy rules decide whether it may be kept, the classifier what it is,
/// and the history where it goes; RTF and image payloads go to side files at once, and the index is
/// saved 0.8 seconds after the last change, so a burst of copies is written once. Concealed copies
/// never reach the history, and so never the disk.
class ClipboardStore {
public:
    /// Loads the archive and removes side files no item refers to.
    ClipboardStore(brind::ClipArchive archive, Scheduler& scheduler, brind::ClipSettings settings);
    ~ClipboardStore();
    ClipboardStore(const ClipboardStore&) = delete;
    ClipboardStore& operator=(const ClipboardStore&) = delete;

    static constexpr double saveDelay = 0.8;

    /// Records one clipboard change; the item as stored, or nothing when it was skipped (see
    /// `lastSkip`) or is nothing the history keeps.
    std::optional<brind::ClipItem> capture(const brind::ClipSnapshot& snapshot);

    const brind::ClipHistory& history() const { return history_; }
    const brind::ClipSettings& settings() const { return settings_; }
    const brind::ClipArchive& archive() const { return archive_; }

    /// Whether the item must be shown masked: it came from a password manager or from an
    /// application the user has since excluded. Such copies are refused when they are made, so they
    /// are only in a history recorded before the rule applied to them.
    bool isConcealed(const brind::ClipItem& item) const;

    /// Why the last copy was not recorded.
    std::optional<brind::ClipSkipReason> lastSkip() const { return lastSkip_; }

    /// Applies retention at once, so lowering a limit removes items and their side files now. A
    /// pause is the store's own and outlives a change of the settings.
    void setSettings(brind::ClipSettings settings);
    /// No copy is recorded for `hours` from now; `resume` ends the pause early.
    void pause(double hours);
    void resume();
    /// When the pause ends, while recording is paused.
    std::optional<brind::Date> pausedUntil() const;

    /// The item's flavours to put on the clipboard, marked as the island's own write; the item
    /// moves to the front. Nothing when no item has that id or its side file has gone.
    std::optional<ClipFlavours> copyBack(const brind::UUID& id);

    bool setPinned(const brind::UUID& id, bool pinned);
    bool remove(const brind::UUID& id);
    void clear(brind::ClipHistory::PinnedItems pinned);

    /// Writes a pending save now (before quitting).
    void flush();

    /// The last archive failure, for the log; empty after a success.
    const std::string& lastError() const { return lastError_; }

    /// Called after every change of the history.
    std::function<void()> onChange;
    /// Called for each copy recorded (after `onChange`), and for each copy skipped.
    std::function<void(const brind::ClipItem&)> onCapture;
    std::function<void(brind::ClipSkipReason)> onSkip;

    /// A listener's hold on the store; dropping it stops the calls. The store must outlive it.
    class Listening {
    public:
        Listening(ClipboardStore& store, int id) : store(store), id(id) {}
        ~Listening();
        Listening(const Listening&) = delete;
        Listening& operator=(const Listening&) = delete;

    private:
        ClipboardStore& store;
        int id;
    };
    /// Calls `listener` after everything someone watching the history would see change: the
    /// history itself, a copy skipped, recording paused or resumed, and a pause ending by itself.
    /// For the last, one timer waits for the pause's end, and only while somebody listens.
    [[nodiscard]] std::unique_ptr<Listening> listen(std::function<void()> listener);

private:
    void changed(const std::vector<brind::ClipItem>& removed);
    void save();
    void tellListeners();
    void followPause();
    std::optional<std::string> writeSideFile(const std::optional<std::string>& data, const brind::UUID& id,
                                             std::string_view extension);

    brind::ClipArchive archive_;
    Scheduler& scheduler;
    brind::ClipSettings settings_;
    brind::ClipHistory history_;
    std::optional<brind::ClipSkipReason> lastSkip_;
    std::unique_ptr<Scheduler::Timer> pendingSave;
    std::string lastError_;
    std::map<int, std::function<void()>> listeners;
    int nextListener = 0;
    std::unique_ptr<Scheduler::Timer> pauseEnd;
};

} // namespace vq
