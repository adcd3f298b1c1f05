#pragma once

#include "BrindKit/widgets/WidgetTeleprompterScroll.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/panel/widgets/WidgetCard.hpp"

#include <cstdint>
#include <memory>

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QStackedWidget;

namespace vq {

class TeleprompterView;

/// A teleprompter: a text typed here (or read from a file whose path is typed), scrolled up at a
/// steady speed. Frames are drawn only while it scrolls.
class TeleprompterCard : public WidgetCard {
public:
    /// Points per second gained or lost per press of Faster or Slower.
    static constexpr double speedStep = 10;
    /// A script longer than this is not a script; the file is refused rather than read whole.
    static constexpr std::uintmax_t largestFile = 1024 * 1024;

    TeleprompterCard(Scheduler& scheduler, QWidget* parent = nullptr);

    const brind::WidgetTeleprompterScroll& scroll() const { return scroll_; }
    bool isDrawingFrames() const { return frame_ != nullptr; }

protected:
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void playOrPause();
    void edit();
    void load();
    void frame();
    /// Takes the view's size and the text's height after the text or the width changed.
    void measure();
    void showState();

    Scheduler& scheduler_;
    brind::WidgetTeleprompterScroll scroll_;
    QStackedWidget* pages_;
    QPlainTextEdit* editor_;
    QLineEdit* path_;
    QLabel* message_;
    TeleprompterView* view_;
    QPushButton* play_;
    QPushButton* editButton_;
    std::unique_ptr<Scheduler::Timer> frame_;
};

} // namespace vq
