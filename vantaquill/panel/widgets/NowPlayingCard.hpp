#pragma once

#include "vantaquill/panel/widgets/WidgetCard.hpp"

class QPushButton;

namespace vq {

class ElidedLabel;
class MediaController;

/// The playing track, its current lyric line, and previous / play or pause / next for its player.
class NowPlayingCard : public WidgetCard {
public:
    /// `media` is null while now playing is switched off; the card then says nothing plays.
    explicit NowPlayingCard(MediaController* media, QWidget* parent = nullptr);

    /// Reads the controller again.
    void refresh();

private:
    MediaController* media_;
    ElidedLabel* title_;
    ElidedLabel* artists_;
    ElidedLabel* lyric_;
    QPushButton* previous_;
    QPushButton* playPause_;
    QPushButton* next_;
};

} // namespace vq
