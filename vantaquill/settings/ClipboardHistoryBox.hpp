#pragma once

#include <QWidget>

class QComboBox;
class QLabel;
class QPushButton;

namespace vq {

class ClipboardStore;

/// The clipboard pane's account of the history itself: how many clips it holds and what they take on
/// disk, why the last copy was not recorded, a pause of the recording (for work the history should
/// not see), and clearing every clip that is not pinned.
class ClipboardHistoryBox final : public QWidget {
  public:
    /// The store must outlive the box.
    explicit ClipboardHistoryBox(ClipboardStore& store);

    /// Shows the store as it is now; the window calls it whenever the pane is shown.
    void refresh();

    /// The pauses offered, in hours.
    static constexpr double pauseChoices[] = {0.25, 1, 8, 24};

  private:
    ClipboardStore& store;
    QLabel* summary = nullptr;
    QLabel* recording = nullptr;
    QComboBox* pauseFor = nullptr;
    QPushButton* pause = nullptr;
    QPushButton* resume = nullptr;
    QPushButton* clear = nullptr;
};

} // namespace vq
