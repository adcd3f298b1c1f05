#pragma once

#include <QString>
#include <QWidget>

namespace vq {

/// One line of text that ends in "…" when it is wider than the card, instead of pushing the
/// panel wider.
class ElidedLabel : public QWidget {
public:
    /// `secondary` draws it in the smaller, dimmer caption style.
    enum class Tone { body, secondary };

    explicit ElidedLabel(Tone tone = Tone::body, QWidget* parent = nullptr);

    void setText(const QString& text);
    QString text() const { return text_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Tone tone_;
    QString text_;
};

} // namespace vq
