#pragma once

#include "vantaquill/panel/PanelSection.hpp"
#include "vantaquill/providers/SoundMixer.hpp"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

class QHBoxLayout;
class QLabel;
class QPushButton;
class QScrollArea;
class QVBoxLayout;

namespace vq {

class SoundRow;

/// The panel's Sound section: the output device's level and mute, then one row per application
/// playing sound, each with its own level and mute, changed live on the sound server. A section of
/// its own rather than a widget card: the list grows and shrinks with the streams, which a fixed-size
/// card cannot hold, and it is the one place to turn one application down.
///
/// The sound server is followed only while the section is shown (the island open on it); hidden, it
/// costs nothing.
class SoundSection : public PanelSection {
public:
    explicit SoundSection(SoundMixer::MainThread mainThread, QWidget* parent = nullptr);
    ~SoundSection() override;

    QString title() const override;
    bool needsUser() const override { return false; }
    int contentHeight(int width) const override;

    /// Shows the mixer's state as it is now.
    void refresh();

    SoundMixer& mixer() { return mixer_; }
    SoundRow* outputRow() const { return output_; }
    /// The choice of output, shown when there is more than one: a button per output, the one in
    /// use marked as the primary one.
    QWidget* outputChoice() const { return outputChoice_; }
    std::vector<QPushButton*> outputButtons() const;
    /// The stream rows in the server's order.
    std::vector<SoundRow*> streamRows() const;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void showOutputs(const SoundMixer::State& state);

    SoundMixer mixer_;
    QLabel* status_;
    SoundRow* output_;
    QWidget* outputChoice_;
    QHBoxLayout* outputButtonsLayout_;
    std::vector<std::string> outputNames_;
    QLabel* heading_;
    QLabel* empty_;
    QScrollArea* scroll_;
    QWidget* list_;
    QVBoxLayout* listLayout_;
    std::map<std::uint32_t, SoundRow*> streams_;
};

} // namespace vq
