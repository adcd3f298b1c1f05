#pragma once

#include <QFrame>
#include <QString>

class QHBoxLayout;
class QLabel;
class QVBoxLayout;

namespace vq {

/// One small card of the Widgets section: a heading with a status on its right, and the card's own
/// rows below it.
class WidgetCard : public QFrame {
public:
    explicit WidgetCard(const QString& heading, QWidget* parent = nullptr);

    /// The short state beside the heading ("25:00", "Off", "42%").
    void setStatus(const QString& status);
    QString status() const;

protected:
    /// Where the card puts its rows.
    QVBoxLayout* body() const { return body_; }
    /// A row of controls added to the body.
    QHBoxLayout* addRow();

private:
    QLabel* status_;
    QVBoxLayout* body_;
};

} // namespace vq
