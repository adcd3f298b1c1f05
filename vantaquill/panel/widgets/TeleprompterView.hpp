#pragma once

#include <QString>
#include <QWidget>

namespace vq {

/// The teleprompter's text, wrapped to the view's width and drawn moved up by the scrolled offset.
class TeleprompterView : public QWidget {
public:
    explicit TeleprompterView(QWidget* parent = nullptr);

    void setText(const QString& text);
    /// Points scrolled from the top.
    void setOffset(double offset);
    double offset() const { return offset_; }
    /// The wrapped text's height at the view's width.
    double contentHeight() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRect textArea() const;

    QString text_;
    double offset_ = 0;
};

} // namespace vq
