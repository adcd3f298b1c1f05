#include "vantaquill/panel/widgets/TeleprompterCard.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Paths.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/widgets/TeleprompterView.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <cmath>
#include <filesystem>
#include <system_error>

namespace vq {

namespace {

/// Smooth enough for text moving a few dozen points a second.
constexpr double frameInterval = 1.0 / 30;
constexpr int editorHeight = 72;

/// "~/notes.txt" is the home folder's notes.txt, as in a shell.
std::filesystem::path expandHome(const QString& typed) {
    const QString trimmed = typed.trimmed();
    if (trimmed == "~" || trimmed.startsWith("~/"))
        return brind::Paths::home() / trimmed.mid(2).toStdString();
    return trimmed.toStdString();
}

} // namespace

TeleprompterCard::TeleprompterCard(Scheduler& scheduler, QWidget* parent)
    : WidgetCard("Teleprompter", parent), scheduler_(scheduler) {
    pages_ = new QStackedWidget(this);

    auto* editing = new QWidget(pages_);
    auto* editingLayout = new QVBoxLayout(editing);
    editingLayout->setContentsMargins(0, 0, 0, 0);
    editingLayout->setSpacing(PanelStyle::spacing / 2);
    editor_ = new QPlainTextEdit(editing);
    editor_->setPlaceholderText("Type or paste what you will read, then Play.");
    editor_->setTabChangesFocus(true);
    editor_->setFixedHeight(editorHeight);
    editingLayout->addWidget(editor_);
    auto* fileRow = new QHBoxLayout;
    path_ = new QLineEdit(editing);
    path_->setPlaceholderText("Or a text file's path, e.g. ~/talk.txt");
    auto* loadButton = new QPushButton("Load", editing);
    fileRow->addWidget(path_, 1);
    fileRow->addWidget(loadButton);
    editingLayout->addLayout(fileRow);
    message_ = new QLabel(editing);
    message_->setProperty("secondary", true);
    message_->setWordWrap(true);
    message_->hide();
    editingLayout->addWidget(message_);
    pages_->addWidget(editing);

    view_ = new TeleprompterView(pages_);
    pages_->addWidget(view_);
    body()->addWidget(pages_);

    auto* row = addRow();
    play_ = new QPushButton("Play", this);
    play_->setProperty("role", "primary");
    auto* rewind = new QPushButton("Rewind", this);
    auto* slower = new QPushButton("Slower", this);
    auto* faster = new QPushButton("Faster", this);
    editButton_ = new QPushButton("Edit", this);
    for (auto* button : {play_, rewind, slower, faster, editButton_})
        row->addWidget(button);
    row->addStretch();

    connect(play_, &QPushButton::clicked, this, [this] { playOrPause(); });
    connect(rewind, &QPushButton::clicked, this, [this] {
        scroll_.rewind();
        frame_.reset();
        view_->setOffset(0);
        showState();
    });
    const auto changeSpeed = [this](double delta) {
        scroll_.setSpeed(scroll_.speed() + delta, scheduler_.now());
        showState();
    };
    connect(slower, &QPushButton::clicked, this, [changeSpeed] { changeSpeed(-speedStep); });
    connect(faster, &QPushButton::clicked, this, [changeSpeed] { changeSpeed(speedStep); });
    connect(editButton_, &QPushButton::clicked, this, [this] { edit(); });
    connect(loadButton, &QPushButton::clicked, this, [this] { load(); });
    connect(path_, &QLineEdit::returnPressed, this, [this] { load(); });
    connect(editor_, &QPlainTextEdit::textChanged, this, [this] {
        // Another text starts from its top.
        view_->setText(editor_->toPlainText());
        scroll_.rewind();
        frame_.reset();
        view_->setOffset(0);
        measure();
        showState();
    });
    showState();
}

void TeleprompterCard::playOrPause() {
    const brind::Date now = scheduler_.now();
    if (scroll_.isRunning()) {
        scroll_.pause(now);
        frame_.reset();
        showState();
        return;
    }
    if (editor_->toPlainText().trimmed().isEmpty()) {
        editor_->setFocus();
        return;
    }
    pages_->setCurrentWidget(view_);
    measure();
    scroll_.play(now);
    frame();
}

void TeleprompterCard::edit() {
    scroll_.pause(scheduler_.now());
    frame_.reset();
    pages_->setCurrentIndex(0);
    editor_->setFocus();
    showState();
}

void TeleprompterCard::load() {
    const auto show = [this](const QString& text) {
        message_->setText(text);
        message_->setVisible(!text.isEmpty());
    };
    if (path_->text().trimmed().isEmpty()) {
        show("Type the path of a text file first, e.g. ~/talk.txt.");
        return;
    }
    const auto file = expandHome(path_->text());
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    if (error) {
        show("Couldn't read " + QString::fromStdString(file.string()) + ": " +
             QString::fromStdString(error.message()) + ".");
        return;
    }
    if (size > largestFile) {
        show(QString::fromStdString(file.string()) + " is larger than a megabyte; a teleprompter reads a text file.");
        return;
    }
    const auto contents = brind::AtomicFile::read(file);
    if (!contents) {
        show(QString::fromStdString(contents.error()));
        return;
    }
    show({});
    editor_->setPlainText(QString::fromUtf8(contents->data(), static_cast<qsizetype>(contents->size())));
}

void TeleprompterCard::frame() {
    const brind::Date now = scheduler_.now();
    view_->setOffset(scroll_.offset(now));
    frame_.reset();
    if (scroll_.isFinished(now))
        scroll_.pause(now);
    // A text that fits the view has nowhere to go: no frames until the view or the text changes.
    if (scroll_.isRunning() && scroll_.maxOffset() > 0)
        frame_ = scheduler_.schedule(frameInterval, [this] { frame(); });
    showState();
}

void TeleprompterCard::measure() {
    scroll_.contentHeight = view_->contentHeight();
    scroll_.viewportHeight = view_->height();
}

void TeleprompterCard::showState() {
    const brind::Date now = scheduler_.now();
    play_->setText(scroll_.isRunning() ? "Pause" : "Play");
    editButton_->setEnabled(pages_->currentIndex() != 0);
    const int percent = static_cast<int>(std::lround(scroll_.progress(now) * 100));
    setStatus(QStringLiteral("%1 pt/s · %2%").arg(scroll_.speed()).arg(percent));
}

void TeleprompterCard::hideEvent(QHideEvent* event) {
    WidgetCard::hideEvent(event);
    // Nobody reads a hidden teleprompter; it waits where it is.
    if (scroll_.isRunning()) {
        scroll_.pause(scheduler_.now());
        frame_.reset();
        showState();
    }
}

void TeleprompterCard::resizeEvent(QResizeEvent* event) {
    WidgetCard::resizeEvent(event);
    const brind::Date now = scheduler_.now();
    const bool running = scroll_.isRunning();
    // A new width wraps the text anew; the scroll keeps its place in points.
    scroll_.pause(now);
    measure();
    scroll_.nudge(0, now);
    if (!running) {
        view_->setOffset(scroll_.offset(now));
        return;
    }
    scroll_.play(now);
    frame();
}

} // namespace vq
