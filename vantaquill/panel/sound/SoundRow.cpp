#include "vantaquill/panel/sound/SoundRow.hpp"

#include "vantaquill/island/faces/IconTheme.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/panel/PanelStyle.hpp"

#include <QGridLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>

#include <cmath>

namespace vq {

namespace {

constexpr int iconSize = 24;
constexpr int sliderWidth = 150;

/// The application's own icon, else the program's (many name their icon after it), else a generic one.
QIcon iconFor(const QString& name) {
    IconTheme::ensure();
    for (const QString& candidate : {name, name.toLower(), QStringLiteral("audio-x-generic")}) {
        if (!candidate.isEmpty() && QIcon::hasThemeIcon(candidate))
            return QIcon::fromTheme(candidate);
    }
    return {};
}

} // namespace

SoundRow::SoundRow(QWidget* parent)
    : QWidget(parent), icon_(new QLabel), name_(new ElidedLabel), detail_(new ElidedLabel),
      mute_(new QPushButton(QStringLiteral("Mute"))), slider_(new QSlider(Qt::Horizontal)), percent_(new QLabel) {
    icon_->setFixedSize(iconSize, iconSize);
    name_->setObjectName(QStringLiteral("name"));
    detail_->setObjectName(QStringLiteral("detail"));
    detail_->setProperty("secondary", true);
    mute_->setObjectName(QStringLiteral("mute"));
    mute_->setCheckable(true);
    slider_->setObjectName(QStringLiteral("level"));
    slider_->setRange(0, 100);
    slider_->setFixedWidth(sliderWidth);
    percent_->setObjectName(QStringLiteral("percent"));
    percent_->setProperty("secondary", true);
    // Wide enough for "100 %" in the panel's font, so the slider does not move as the number grows.
    percent_->setMinimumWidth(percent_->fontMetrics().horizontalAdvance(QStringLiteral("100 %")));
    percent_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setHorizontalSpacing(PanelStyle::spacing);
    layout->setVerticalSpacing(0);
    layout->addWidget(icon_, 0, 0, 2, 1, Qt::AlignVCenter);
    layout->addWidget(name_, 0, 1);
    layout->addWidget(detail_, 1, 1);
    layout->addWidget(mute_, 0, 2, 2, 1, Qt::AlignVCenter);
    layout->addWidget(slider_, 0, 3, 2, 1, Qt::AlignVCenter);
    layout->addWidget(percent_, 0, 4, 2, 1, Qt::AlignVCenter);
    layout->setColumnStretch(1, 1);

    connect(slider_, &QSlider::valueChanged, this, [this](int value) {
        showPercent(value);
        if (onLevel)
            onLevel(value / 100.0);
    });
    connect(mute_, &QPushButton::toggled, this, [this](bool muted) {
        mute_->setText(muted ? QStringLiteral("Muted") : QStringLiteral("Mute"));
        if (onMuted)
            onMuted(muted);
    });
}

void SoundRow::showLevel(const QString& name, const QString& detail, const QString& iconName, double level, bool muted) {
    name_->setText(name);
    detail_->setText(detail);
    detail_->setVisible(!detail.isEmpty());
    if (iconName != shownIcon_) {
        shownIcon_ = iconName;
        icon_->setPixmap(iconFor(iconName).pixmap(iconSize, iconSize));
    }
    {
        const QSignalBlocker quiet(mute_);
        mute_->setChecked(muted);
        mute_->setText(muted ? QStringLiteral("Muted") : QStringLiteral("Mute"));
    }
    if (slider_->isSliderDown())
        return;
    const int percent = static_cast<int>(std::lround(level * 100));
    const QSignalBlocker quiet(slider_);
    slider_->setValue(percent);
    showPercent(slider_->value());
}

QString SoundRow::name() const {
    return name_->text();
}

void SoundRow::showPercent(int percent) {
    percent_->setText(QString::number(percent) + QStringLiteral(" %"));
}

} // namespace vq
