#include "vantaquill/clipboard/ClipboardStore.hpp"

#include "BrindKit/clipboard/ClipClassifier.hpp"
#include "BrindKit/clipboard/ClipPrivacy.hpp"
#include "vantaquill/clipboard/ClipFlavourMapping.hpp"
#include "vantaquill/clipboard/LinuxPasswordManagers.hpp"

namespace vq {

namespace {

// The core's rules know the other platforms' password managers; a Linux one is known by the window
// class or application id the desktop reports, and is skipped for the same reason.
brind::ClipPrivacyVerdict verdict(const brind::ClipSnapshot& snapshot, const brind::ClipSettings& settings,
                                  brind::Date now) {
    brind::ClipPrivacyVerdict result =
        brind::ClipPrivacy::evaluate(snapshot.allTypes, snapshot.sourceBundleID, settings, now);
    if (result.isRecord() && snapshot.sourceBundleID && LinuxPasswordManagers::matches(*snapshot.sourceBundleID))
        return brind::ClipPrivacyVerdict::skip(brind::ClipSkipReason::passwordManager);
    return result;
}

} // namespace

ClipboardStore::ClipboardStore(brind::ClipArchive archive, Scheduler& scheduler, brind::ClipSettings settings)
    : archive_(std::move(archive)), scheduler(scheduler), settings_(std::move(settings)), history_(archive_.load()) {
    archive_.removeOrphans(history_);
    const auto removed = history_.applyRetention(settings_, scheduler.now());
    if (!removed.empty())
        changed(removed);
}

ClipboardStore::~ClipboardStore() {
    flush();
}

std::optional<brind::ClipItem> ClipboardStore::capture(const brind::ClipSnapshot& snapshot) {
    const brind::Date now = scheduler.now();
    if (const auto skip = verdict(snapshot, settings_, now).skipReason()) {
        lastSkip_ = skip;
        if (onSkip)
            onSkip(*skip);
        tellListeners();
        return std::nullopt;
    }
    auto candidate = brind::ClipClassifier::classify(snapshot, settings_);
    if (!candidate)
        return std::nullopt;

    brind::ClipItem item;
    item.id = brind::UUID::random();
    item.kind = candidate->kind;
    item.text = candidate->text;
    item.fileURLs = candidate->fileURLs;
    item.imageWidth = candidate->imageWidth;
    item.imageHeight = candidate->imageHeight;
    item.colour = candidate->colour;
    item.sourceBundleID = snapshot.sourceBundleID;
    item.sourceAppName = snapshot.sourceAppName;
    item.created = now;
    item.lastUsed = now;
    item.contentHash = candidate->contentHash;
    item.byteSize = candidate->byteSize();
    // A copy of something already kept refreshes that item, which keeps its own side files.
    if (!history_.contains(item.contentHash)) {
        item.rtfFile = writeSideFile(candidate->rtf, item.id, "rtf");
        item.imageFile =
            writeSideFile(candidate->image, item.id, brind::ClipArchive::imageExtension(candidate->imageType));
        if ((candidate->rtf && !item.rtfFile) || (candidate->image && !item.imageFile))
            return std::nullopt;
    }
    auto inserted = history_.insert(std::move(item), settings_, now);
    changed(inserted.removed);
    if (onCapture)
        onCapture(inserted.item);
    return std::move(inserted.item);
}

std::optional<std::string> ClipboardStore::writeSideFile(const std::optional<std::string>& data, const brind::UUID& id,
                                                         std::string_view extension) {
    if (!data)
        return std::nullopt;
    auto written = archive_.writeSideFile(*data, id, extension);
    if (!written) {
        lastError_ = written.error();
        return std::nullopt;
    }
    return std::move(*written);
}

void ClipboardStore::setSettings(brind::ClipSettings settings) {
    settings.pausedUntil = settings_.pausedUntil;
    // Every change of the preferences file lands here, most of them not the clipboard's.
    if (settings == settings_)
        return;
    settings_ = std::move(settings);
    changed(history_.applyRetention(settings_, scheduler.now()));
}

void ClipboardStore::pause(double hours) {
    settings_.pausedUntil = brind::ClipPrivacy::pauseEnd(scheduler.now(), hours);
    followPause();
    tellListeners();
}

void ClipboardStore::resume() {
    settings_.pausedUntil.reset();
    followPause();
    tellListeners();
}

std::optional<brind::Date> ClipboardStore::pausedUntil() const {
    if (!settings_.isPaused(scheduler.now()))
        return std::nullopt;
    return settings_.pausedUntil;
}

bool ClipboardStore::isConcealed(const brind::ClipItem& item) const {
    if (!item.sourceBundleID)
        return false;
    const std::string& source = *item.sourceBundleID;
    return brind::ClipPrivacy::isPasswordManager(source) || LinuxPasswordManagers::matches(source) ||
           brind::ClipPrivacy::matches(source, settings_.excludedBundleIDs);
}

std::optional<ClipFlavours> ClipboardStore::copyBack(const brind::UUID& id) {
    const brind::ClipItem* item = history_.item(id);
    if (!item)
        return std::nullopt;
    auto flavours = ClipFlavourMapping::flavours(*item, archive_);
    if (!flavours)
        return std::nullopt;
    history_.touch(id, scheduler.now());
    changed({});
    return flavours;
}

bool ClipboardStore::setPinned(const brind::UUID& id, bool pinned) {
    if (!history_.setPinned(id, pinned))
        return false;
    changed({});
    return true;
}

bool ClipboardStore::remove(const brind::UUID& id) {
    auto removed = history_.remove(id);
    if (!removed)
        return false;
    changed({*removed});
    return true;
}

void ClipboardStore::clear(brind::ClipHistory::PinnedItems pinned) {
    changed(history_.clear(pinned));
}

void ClipboardStore::changed(const std::vector<brind::ClipItem>& removed) {
    archive_.deleteSideFiles(removed);
    pendingSave = scheduler.schedule(saveDelay, [this] { save(); });
    if (onChange)
        onChange();
    tellListeners();
}

std::unique_ptr<ClipboardStore::Listening> ClipboardStore::listen(std::function<void()> listener) {
    const int id = nextListener++;
    listeners.emplace(id, std::move(listener));
    followPause();
    return std::make_unique<Listening>(*this, id);
}

ClipboardStore::Listening::~Listening() {
    store.listeners.erase(id);
    store.followPause();
}

void ClipboardStore::tellListeners() {
    // A listener may stop listening from its call.
    for (auto each = listeners.begin(); each != listeners.end();) {
        const int id = each->first;
        const auto listener = each->second;
        listener();
        each = listeners.upper_bound(id);
    }
}

void ClipboardStore::followPause() {
    const auto until = pausedUntil();
    if (listeners.empty() || !until) {
        pauseEnd.reset();
        return;
    }
    pauseEnd = scheduler.schedule(until->secondsSince1970 - scheduler.now().secondsSince1970, [this] {
        // Released after the calls: the timer is the one running this.
        auto timer = std::move(pauseEnd);
        tellListeners();
    });
}

void ClipboardStore::flush() {
    if (pendingSave)
        save();
}

void ClipboardStore::save() {
    // Released after the write: the timer may be the one running this.
    auto timer = std::move(pendingSave);
    if (auto saved = archive_.save(history_); !saved)
        lastError_ = saved.error();
    else
        lastError_.clear();
    // What the history takes on disk has changed only now.
    tellListeners();
}

} // namespace vq
