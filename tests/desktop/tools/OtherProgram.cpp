// The other program in the desktop tests: a window that starts a drag of one file (or one text) when
// pressed, one that takes drops, or one with a text field. Usage: islandOtherProgram X Y (--file PATH
// | --text TEXT | --accept | --field). It prints "ready" once shown, then "drag ended" when its drag is
// over, "dropped " and the dropped URLs (or text) for each drop it takes, or "text " and the field's
// text after each change.

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLineEdit>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <QWidget>

#include <cstdio>
#include <memory>

namespace {

class DragSource final : public QWidget {
public:
    // Pressing it starts a drag without taking the keyboard, as dragging from a desktop's files does,
    // so an island the user opened stays open under the drag.
    explicit DragSource(QMimeData* (*make)(const QString&), QString payload)
        : make_(make), payload_(std::move(payload)) {
        setAttribute(Qt::WA_ShowWithoutActivating);
        setWindowFlag(Qt::WindowDoesNotAcceptFocus);
    }

protected:
    void mousePressEvent(QMouseEvent*) override {
        auto* drag = new QDrag(this);
        drag->setMimeData(make_(payload_));
        drag->exec(Qt::CopyAction);
        std::puts("drag ended");
        std::fflush(stdout);
    }

private:
    QMimeData* (*make_)(const QString&);
    QString payload_;
};

class DropTarget final : public QWidget {
public:
    DropTarget() { setAcceptDrops(true); }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override { event->acceptProposedAction(); }
    void dropEvent(QDropEvent* event) override {
        QStringList dropped;
        for (const QUrl& url : event->mimeData()->urls())
            dropped << url.toString();
        if (dropped.isEmpty())
            dropped << event->mimeData()->text();
        event->acceptProposedAction();
        std::printf("dropped %s\n", qPrintable(dropped.join(' ')));
        std::fflush(stdout);
    }
};

class TextField final : public QLineEdit {
public:
    TextField() {
        connect(this, &QLineEdit::textChanged, this, [](const QString& text) {
            std::printf("text %s\n", qPrintable(text));
            std::fflush(stdout);
        });
    }
};

QMimeData* fileData(const QString& path) {
    auto* data = new QMimeData;
    data->setUrls({QUrl::fromLocalFile(path)});
    return data;
}

QMimeData* textData(const QString& text) {
    auto* data = new QMimeData;
    data->setText(text);
    return data;
}

} // namespace

int main(int argc, char** argv) {
    // The tests run on Qt's offscreen platform; this window belongs on their X server.
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    const QString mode = arguments.value(3);
    const bool alone = arguments.size() == 4 && (mode == "--accept" || mode == "--field");
    if (!alone && (arguments.size() != 5 || (mode != "--file" && mode != "--text"))) {
        std::fputs("usage: islandOtherProgram X Y (--file PATH | --text TEXT | --accept | --field)\n", stderr);
        return 2;
    }
    std::unique_ptr<QWidget> window;
    if (mode == "--accept")
        window = std::make_unique<DropTarget>();
    else if (mode == "--field")
        window = std::make_unique<TextField>();
    else
        window = std::make_unique<DragSource>(mode == "--file" ? fileData : textData, arguments[4]);
    window->setWindowTitle(mode == "--accept" ? "drop target" : mode == "--field" ? "text field" : "drag source");
    window->setGeometry(arguments[1].toInt(), arguments[2].toInt(), 200, 200);
    window->show();
    std::puts("ready");
    std::fflush(stdout);
    return QApplication::exec();
}
