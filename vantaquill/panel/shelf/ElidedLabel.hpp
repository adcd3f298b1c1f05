#pragma once

#include <QWidget>

namespace vq {

/// One line of text that ends in "…" when it is wider than the room it gets, instead of pushing the
/// row wider (QLabel never elides).
class ElidedLabel : public QWidget {
public:
    /// Primary text, or the smaller, dimmer text of a secondary line.
    enum class Tone { primary, secondary };

    explicit ElidedLabel(Tone tone, QWidget* parent = nullptr);

    void setText(const QString& text);
    const QString& text() const { return text_; }
    /// The text as last painted, shortened to fit.
    QString shownText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Tone tone;
    QString text_;
};

} // namespace vq
