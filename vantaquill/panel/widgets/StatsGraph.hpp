#pragma once

#include <QColor>
#include <QWidget>

#include <vector>

namespace vq {

/// A small history graph: values of 0...1, oldest on the left, as a line over a faint fill.
class StatsGraph : public QWidget {
public:
    /// How many values the graph has room for; fewer are drawn against the right edge.
    StatsGraph(QColor colour, std::size_t capacity, QWidget* parent = nullptr);

    void setValues(std::vector<double> values);
    const std::vector<double>& values() const { return values_; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor colour_;
    std::size_t capacity_;
    std::vector<double> values_;
};

} // namespace vq
