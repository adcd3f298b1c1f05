#include "vantaquill/panel/sound/SoundSection.hpp"

#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/sound/SoundRow.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace vq {

SoundSection::SoundSection(SoundMixer::MainThread mainThread, QWidget* parent)
    : PanelSection(parent), mixer_(std::move(mainThread)),
      status_(new QLabel(QStringLiteral("No sound server answers (PulseAudio, or PipeWire's pulse server)."))),
      output_(new SoundRow), outputChoice_(new QWidget), outputButtonsLayout_(new QHBoxLayout), heading_(new QLabel(QStringLiteral("Applications"))),
      empty_(new QLabel(QStringLiteral("No application is playing sound."))), scroll_(new QScrollArea),
      list_(new QWidget), listLayout_(new QVBoxLayout(list_)) {
    setObjectName(QStringLiteral("sound"));
    status_->setObjectName(QStringLiteral("status"));
    status_->setWordWrap(true);
    status_->setProperty("secondary", true);
    output_->setObjectName(QStringLiteral("output"));
    outputChoice_->setObjectName(QStringLiteral("outputChoice"));
    // Buttons rather than a drop-down list: a list's pop-up window has no place in the island's
    // panel, and a desktop has few outputs.
    auto* choiceLayout = new QHBoxLayout(outputChoice_);
    choiceLayout->setContentsMargins(0, 0, 0, 0);
    choiceLayout->setSpacing(PanelStyle::spacing);
    auto* playThrough = new QLabel(QStringLiteral("Play through"));
    playThrough->setProperty("secondary", true);
    choiceLayout->addWidget(playThrough);
    outputButtonsLayout_->setSpacing(PanelStyle::spacing);
    choiceLayout->addLayout(outputButtonsLayout_);
    choiceLayout->addStretch();
    heading_->setProperty("secondary", true);
    empty_->setObjectName(QStringLiteral("empty"));
    empty_->setProperty("secondary", true);
    listLayout_->setContentsMargins(0, 0, 0, 0);
    listLayout_->setSpacing(PanelStyle::spacing);
    listLayout_->addWidget(empty_);
    listLayout_->addStretch();
    scroll_->setWidget(list_);
    scroll_->setWidgetResizable(true);
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setFocusPolicy(Qt::NoFocus);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(PanelStyle::spacing);
    layout->addWidget(status_);
    layout->addWidget(output_);
    layout->addWidget(outputChoice_);
    layout->addWidget(heading_);
    layout->addWidget(scroll_, 1);

    output_->onLevel = [this](double level) { mixer_.setOutputLevel(level); };
    output_->onMuted = [this](bool muted) { mixer_.setOutputMuted(muted); };
    mixer_.onChange = [this] { refresh(); };
    refresh();
}

SoundSection::~SoundSection() {
    mixer_.onChange = nullptr;
    mixer_.stop();
}

QString SoundSection::title() const {
    return QStringLiteral("Sound");
}

int SoundSection::contentHeight(int) const {
    const QLayout* own = layout();
    // The list is in a scroll area: its whole height counts, not the area's.
    return own->totalSizeHint().height() - scroll_->sizeHint().height() + listLayout_->totalSizeHint().height();
}

std::vector<SoundRow*> SoundSection::streamRows() const {
    std::vector<SoundRow*> rows;
    for (int i = 0; i < listLayout_->count(); ++i) {
        if (auto* row = dynamic_cast<SoundRow*>(listLayout_->itemAt(i)->widget()))
            rows.push_back(row);
    }
    return rows;
}

std::vector<QPushButton*> SoundSection::outputButtons() const {
    std::vector<QPushButton*> buttons;
    for (int i = 0; i < outputButtonsLayout_->count(); ++i) {
        if (auto* button = qobject_cast<QPushButton*>(outputButtonsLayout_->itemAt(i)->widget()))
            buttons.push_back(button);
    }
    return buttons;
}

void SoundSection::showOutputs(const SoundMixer::State& state) {
    // Rebuilt only when the outputs change, so a button keeps the keyboard across level changes.
    std::vector<std::string> names;
    for (const auto& output : state.outputs)
        names.push_back(output.name);
    if (names != outputNames_) {
        for (QPushButton* button : outputButtons())
            delete button;
        for (const auto& output : state.outputs) {
            auto* button = new QPushButton(QString::fromStdString(output.label));
            button->setObjectName(QString::fromStdString(output.name));
            connect(button, &QPushButton::clicked, this, [this, name = output.name] { mixer_.setDefaultOutput(name); });
            outputButtonsLayout_->addWidget(button);
        }
        outputNames_ = std::move(names);
    }
    // The one in use is marked the way the panel marks the button that is the answer.
    for (QPushButton* button : outputButtons()) {
        const bool inUse = state.output && button->objectName().toStdString() == state.output->name;
        if (button->property("role").toString() == (inUse ? "primary" : ""))
            continue;
        button->setProperty("role", inUse ? QStringLiteral("primary") : QString());
        button->style()->unpolish(button);
        button->style()->polish(button);
    }
    outputChoice_->setVisible(state.outputs.size() > 1);
}

void SoundSection::refresh() {
    const int height = contentHeight(width());
    const auto& state = mixer_.state();
    status_->setVisible(state.missing);
    output_->setVisible(state.output.has_value());
    if (state.output)
        output_->showLevel(QString::fromStdString(state.output->label), QStringLiteral("Output"),
                      QStringLiteral("audio-card"), state.output->level, state.output->muted);
    showOutputs(state);
    heading_->setVisible(state.connected);
    empty_->setVisible(state.connected && state.streams.empty());

    // Rows are updated in place, so a slider being dragged keeps the pointer and the focus.
    for (auto it = streams_.begin(); it != streams_.end();) {
        if (std::ranges::none_of(state.streams, [&](const auto& stream) { return stream.index == it->first; })) {
            it->second->hide();
            it->second->deleteLater();
            it = streams_.erase(it);
        } else {
            ++it;
        }
    }
    int position = 1;
    for (const auto& stream : state.streams) {
        auto& row = streams_[stream.index];
        if (!row) {
            row = new SoundRow;
            const auto index = stream.index;
            row->onLevel = [this, index](double level) { mixer_.setStreamLevel(index, level); };
            row->onMuted = [this, index](bool muted) { mixer_.setStreamMuted(index, muted); };
            listLayout_->insertWidget(position, row);
            // Shown now rather than at the layout's next pass, so that the height below counts it.
            row->show();
        }
        row->showLevel(QString::fromStdString(stream.application), QString::fromStdString(stream.media),
                  QString::fromStdString(stream.icon), stream.level, stream.muted);
        ++position;
    }
    if (height != contentHeight(width()))
        changed();
}

void SoundSection::showEvent(QShowEvent* event) {
    PanelSection::showEvent(event);
    mixer_.start();
    refresh();
}

void SoundSection::hideEvent(QHideEvent* event) {
    PanelSection::hideEvent(event);
    mixer_.stop();
}

} // namespace vq
