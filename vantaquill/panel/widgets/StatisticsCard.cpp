#include "vantaquill/panel/widgets/StatisticsCard.hpp"

#include "BrindKit/widgets/WidgetStatsMath.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/panel/widgets/StatsGraph.hpp"
#include "vantaquill/providers/StatsSampler.hpp"

#include <QGridLayout>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vq {

namespace {

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

} // namespace

StatisticsCard::StatisticsCard(StatsSampler& sampler, QWidget* parent)
    : WidgetCard("Statistics", parent), sampler_(sampler) {
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(PanelStyle::spacing * 2);
    grid->setVerticalSpacing(2);
    cpu_ = new ElidedLabel({}, this);
    memory_ = new ElidedLabel({}, this);
    network_ = new ElidedLabel({}, this);
    cpuGraph_ = new StatsGraph(PanelStyle::accent(), StatsSampler::historyLength, this);
    memoryGraph_ = new StatsGraph(PanelStyle::positive(), StatsSampler::historyLength, this);
    networkGraph_ = new StatsGraph(QColor(0xFF, 0x9F, 0x0A), StatsSampler::historyLength, this);
    int column = 0;
    for (auto [label, graph] : {std::pair{cpu_, cpuGraph_}, {memory_, memoryGraph_}, {network_, networkGraph_}}) {
        grid->addWidget(label, 0, column);
        grid->addWidget(graph, 1, column);
        grid->setColumnStretch(column, 1);
        ++column;
    }
    body()->addLayout(grid);
    refresh();
}

void StatisticsCard::refresh() {
    const auto& cpu = sampler_.cpu();
    const auto& memory = sampler_.memory();
    const auto& received = sampler_.received();
    const auto& sent = sampler_.sent();
    setStatus(sampler_.isRunning() ? QString() : QStringLiteral("Paused"));
    const auto& temperature = sampler_.temperature();
    cpu_->setText("CPU " + (cpu.last() ? text(brind::WidgetStatsMath::percent(*cpu.last())) : QStringLiteral("—")) +
                  (temperature ? QStringLiteral(" · %1 °C").arg(std::lround(*temperature)) : QString()));
    const auto& reading = sampler_.lastMemory();
    const auto bytes = [](std::uint64_t count) {
        return text(brind::WidgetStatsMath::formatBytes(static_cast<double>(count)));
    };
    memory_->setText(reading ? "Memory " + bytes(reading->used()) + " of " + bytes(reading->total)
                             : QStringLiteral("Memory —"));
    network_->setText(received.last() && sent.last()
                          ? "↓ " + text(brind::WidgetStatsMath::formatBytes(*received.last(), true)) + "  ↑ " +
                                text(brind::WidgetStatsMath::formatBytes(*sent.last(), true))
                          : QStringLiteral("Network —"));
    cpuGraph_->setValues(cpu.normalised(1.0));
    memoryGraph_->setValues(memory.normalised(1.0));
    // Traffic has no natural ceiling: the busiest second of the minute, either way, fills the graph.
    const double busiest = std::max(received.peak().value_or(0), sent.peak().value_or(0));
    networkGraph_->setValues(received.normalised(busiest));
}

} // namespace vq
