#include "vantaquill/panel/widgets/NowPlayingCard.hpp"

#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/providers/MediaActivity.hpp"
#include "vantaquill/providers/MediaController.hpp"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace vq {

NowPlayingCard::NowPlayingCard(MediaController* media, QWidget* parent)
    : WidgetCard("Now playing", parent), media_(media) {
    title_ = new ElidedLabel({}, this);
    artists_ = new ElidedLabel({}, this);
    artists_->setProperty("secondary", true);
    lyric_ = new ElidedLabel({}, this);
    body()->addWidget(title_);
    body()->addWidget(artists_);
    body()->addWidget(lyric_);
    auto* row = addRow();
    previous_ = new QPushButton("Previous", this);
    playPause_ = new QPushButton("Play", this);
    next_ = new QPushButton("Next", this);
    row->addWidget(previous_);
    row->addWidget(playPause_);
    row->addWidget(next_);
    row->addStretch();
    const auto send = [this](std::string_view action) {
        if (media_)
            media_->perform(action);
    };
    connect(previous_, &QPushButton::clicked, this, [send] { send(MediaActivity::previousAction); });
    connect(next_, &QPushButton::clicked, this, [send] { send(MediaActivity::nextAction); });
    connect(playPause_, &QPushButton::clicked, this, [this, send] {
        const bool playing = media_ && media_->nowPlaying() &&
                             media_->nowPlaying()->playback.status == MediaPlayback::Status::playing;
        send(playing ? MediaActivity::pauseAction : MediaActivity::playAction);
    });
    refresh();
}

void NowPlayingCard::refresh() {
    const auto* now = media_ && media_->nowPlaying() ? &*media_->nowPlaying() : nullptr;
    for (auto* button : {previous_, playPause_, next_})
        button->setVisible(now != nullptr);
    lyric_->setVisible(now && now->lyricLine);
    if (!now) {
        setStatus({});
        title_->setText("Nothing is playing");
        artists_->setText(media_ && media_->started()
                              ? "A track playing in any media player shows here, with its lyrics when they are found."
                              : "Now playing is switched off in the settings (\"media.enabled\").");
        return;
    }
    const MediaPlayback& playback = now->playback;
    const bool playing = playback.status == MediaPlayback::Status::playing;
    setStatus(QString::fromStdString(playback.identity));
    title_->setText(QString::fromStdString(playback.title.empty() ? playback.identity : playback.title));
    artists_->setText(QString::fromStdString(playback.artistLine()));
    lyric_->setText(QString::fromStdString(now->lyricLine.value_or("")));
    previous_->setEnabled(playback.canGoPrevious);
    next_->setEnabled(playback.canGoNext);
    playPause_->setText(playing ? "Pause" : "Play");
    playPause_->setEnabled(playing ? playback.canPause : playback.canPlay);
}

} // namespace vq
