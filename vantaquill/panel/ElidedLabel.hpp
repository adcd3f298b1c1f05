#pragma once

#include <QLabel>

namespace vq {

/// A one-line label that ends in "…" when its text is wider than the room it is given, instead of
/// widening the panel: titles, commands, paths and names come from other programs and may be any
/// length. `text()` stays the whole text; only what is painted is cut. Line breaks show as spaces.
class ElidedLabel : public QLabel {
public:
    explicit ElidedLabel(const QString& text = {}, QWidget* parent = nullptr);

    /// Where the text is cut: at the end (the default), or in the middle for file names, whose
    /// extension says what they are.
    void setElideMode(Qt::TextElideMode mode);
    /// The text as it is painted at the label's width.
    QString shownText() const;

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Qt::TextElideMode mode_ = Qt::ElideRight;
};

} // namespace vq
