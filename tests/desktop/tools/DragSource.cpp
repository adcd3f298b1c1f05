// A window that starts a drag of one file (or one text) when pressed: the other program in the
// shelf's drop tests. Usage: islandDragSource X Y (--file PATH | --text TEXT). It prints "ready" once
// shown and "drag ended" when the drag is over.

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <QWidget>

#include <cstdio>

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
    if (arguments.size() != 5 || (arguments[3] != "--file" && arguments[3] != "--text")) {
        std::fputs("usage: islandDragSource X Y (--file PATH | --text TEXT)\n", stderr);
        return 2;
    }
    DragSource window(arguments[3] == "--file" ? fileData : textData, arguments[4]);
    window.setWindowTitle("drag source");
    window.setGeometry(arguments[1].toInt(), arguments[2].toInt(), 200, 200);
    window.show();
    std::puts("ready");
    std::fflush(stdout);
    return QApplication::exec();
}
