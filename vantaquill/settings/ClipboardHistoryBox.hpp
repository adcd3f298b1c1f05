#pragma once

#include "vantaquill/clipboard/ClipboardStore.hpp"

#include <QWidget>

#include <memory>

class QComboBox;
class QLabel;
class QPushButton;

namespace vq {

/// The clipboard pane's account of the history itself: how many clips it holds and what they take on
/// disk, why the last copy was not recorded, a pause of the recording (for work the history should
/// not see), and clearing every clip that is not pinned. While it is shown it follows the store
/// (copies from anywhere, the status menu's pause, the panel's pins and deletions, a pause running
/// out); hidden, it neither listens nor keeps a timer.
class ClipboardHistoryBox final : public QWidget {
  public:
    /// The store must outlive the box.
    explicit ClipboardHistoryBox(ClipboardStore& store);

    /// Shows the store as it is now.
    void refresh();

    /// The pauses offered, in hours.
    static constexpr double pauseChoices[] = {0.25, 1, 8, 24};

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    ClipboardStore& store;
    std::unique_ptr<ClipboardStore::Listening> listening;
    QLabel* summary = nullptr;
    QLabel* recording = nullptr;
    QComboBox* pauseFor = nullptr;
    QPushButton* pause = nullptr;
    QPushButton* resume = nullptr;
    QPushButton* clear = nullptr;
};

} // namespace vq
