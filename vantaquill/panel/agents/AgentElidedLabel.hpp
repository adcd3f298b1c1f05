#pragma once

#include <QLabel>
#include <QString>

namespace vq {

/// A one-line label that cuts its text with "…" to the width the layout gives it, so a long
/// project path or command never pushes the panel wider than the island.
class AgentElidedLabel : public QLabel {
public:
    explicit AgentElidedLabel(QWidget* parent = nullptr);

    void setFullText(const QString& text);
    const QString& fullText() const { return full; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void elide();

    QString full;
};

} // namespace vq
