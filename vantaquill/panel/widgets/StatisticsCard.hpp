#pragma once

#include "vantaquill/panel/widgets/WidgetCard.hpp"

namespace vq {

class ElidedLabel;
class StatsGraph;
class StatsSampler;

/// Processor use, memory in use and network traffic, each with a minute of history.
class StatisticsCard : public WidgetCard {
public:
    explicit StatisticsCard(StatsSampler& sampler, QWidget* parent = nullptr);

    /// Reads the sampler's histories again.
    void refresh();

private:
    StatsSampler& sampler_;
    ElidedLabel* cpu_;
    ElidedLabel* memory_;
    ElidedLabel* network_;
    StatsGraph* cpuGraph_;
    StatsGraph* memoryGraph_;
    StatsGraph* networkGraph_;
};

} // namespace vq
