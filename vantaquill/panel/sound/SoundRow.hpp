#pragma once

#include <QString>
#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;
class QSlider;

namespace vq {

class ElidedLabel;

/// One line of the sound view: an icon, a name, a mute button and a level slider with its percent.
/// Used for the output device and for each application's stream.
class SoundRow : public QWidget {
public:
    explicit SoundRow(QWidget* parent = nullptr);

    /// Shows a level read from the server. A slider the user holds is left where they hold it: the
    /// server's answers to their own drag would pull it back.
    void showLevel(const QString& name, const QString& detail, const QString& iconName, double level, bool muted);

    QString name() const;
    QSlider* slider() const { return slider_; }
    QPushButton* muteButton() const { return mute_; }

    /// The user moved the slider (0 to 1) or pressed mute.
    std::function<void(double)> onLevel;
    std::function<void(bool)> onMuted;

private:
    void showPercent(int percent);

    QLabel* icon_;
    ElidedLabel* name_;
    ElidedLabel* detail_;
    QPushButton* mute_;
    QSlider* slider_;
    QLabel* percent_;
    /// The icon name last drawn, so that a level change does not look the icon up again.
    QString shownIcon_ = QStringLiteral("-");
};

} // namespace vq
