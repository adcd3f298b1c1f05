#pragma once

#include <QLabel>

namespace vq {

/// A one-line label that ends in "…" when its text is wider than the room it is given, instead of
/// widening the panel: titles and names come from other programs and may be any length.
class ElidedLabel : public QLabel {
public:
    explicit ElidedLabel(const QString& text = {}, QWidget* parent = nullptr);

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace vq
