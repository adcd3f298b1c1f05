// The other program in the shelf's drag tests: a window that starts a drag of one file (or one
// text) when pressed, or one that takes drops. Usage: islandDragSource X Y (--file PATH | --text TEXT
// | --accept). It prints "ready" once shown, then "drag ended" when its drag is over, or "dropped "
// and the dropped URLs (or text) for each drop it takes.

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
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
    explicit DragSource(QMimeData* (*make)(const QString&), QString payload)
        : make_(make), payload_(std::move(payload)) {}

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
    const bool accepts = arguments.size() == 4 && arguments[3] == "--accept";
    if (!accepts && (arguments.size() != 5 || (arguments[3] != "--file" && arguments[3] != "--text"))) {
        std::fputs("usage: islandDragSource X Y (--file PATH | --text TEXT | --accept)\n", stderr);
        return 2;
    }
    std::unique_ptr<QWidget> window;
    if (accepts)
        window = std::make_unique<DropTarget>();
    else
        window = std::make_unique<DragSource>(arguments[3] == "--file" ? fileData : textData, arguments[4]);
    window->setWindowTitle(accepts ? "drop target" : "drag source");
    window->setGeometry(arguments[1].toInt(), arguments[2].toInt(), 200, 200);
    window->show();
    std::puts("ready");
    std::fflush(stdout);
    return QApplication::exec();
}
