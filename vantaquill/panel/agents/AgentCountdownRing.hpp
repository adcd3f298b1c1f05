#pragma once

#include <QString>
#include <QWidget>

namespace vq {

/// The ring around the seconds a held request has left: full when it arrives, empty at its
/// deadline. A view of two numbers; the section's one clock tick moves them while it is visible.
class AgentCountdownRing : public QWidget {
public:
    explicit AgentCountdownRing(QWidget* parent = nullptr);

    /// `remaining` of `total` seconds are left; both are clamped at zero.
    void setRemaining(double remaining, double total);

    double remainingShare() const { return share; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double share = 1;
    QString seconds;
};

} // namespace vq
