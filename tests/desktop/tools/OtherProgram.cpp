// The other program in the desktop tests, on X11 or (with QT_QPA_PLATFORM=wayland) on the Wayland
// tests' sway: a window that starts a drag of one file, one text or one flavour of data when pressed,
// one that takes drops, or one with a text field. Usage: islandOtherProgram X Y (--file PATH | --text
// TEXT | --offer TYPE DATA | --accept | --field). It prints "ready" and its window's id once shown,
// "pressed" for each press, "drag ended copied" (or "cancelled") when its drag is over, "drag
// entered", "drag moved" and "dropped " with the dropped URLs (or text) for each drop it takes,
// "text " and the field's text after each change, "focus in" and "focus out", "full screen on" and
// "full screen off".

#include <QApplication>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QUrl>
#include <QWidget>
#include <cstdio>
#include <functional>
#include <memory>

namespace {

void report(const QString& line) {
    std::puts(qPrintable(line));
    std::fflush(stdout);
}

class DragSource final : public QWidget {
  public:
    // Pressing it starts a drag without taking the keyboard, as dragging from a desktop's files does,
    // so an island the user opened stays open under the drag.
    explicit DragSource(std::function<QMimeData*()> make) : make_(std::move(make)) {
        setAttribute(Qt::WA_ShowWithoutActivating);
        setWindowFlag(Qt::WindowDoesNotAcceptFocus);
    }

  protected:
    void mousePressEvent(QMouseEvent*) override {
        auto* drag = new QDrag(this);
        drag->setMimeData(make_());
        const bool copied = drag->exec(Qt::CopyAction) == Qt::CopyAction;
        // A cancelled drag's last word to the window under the pointer (XDND's leave) is still in this
        // program's X connection when exec returns, sent only once the event loop next goes idle. A
        // test closes this program as soon as it reads how the drag ended: killed before then, the
        // window would never hear the drag leave, and Qt there would take the next drag for this
        // one. A round trip to the server first has the server deliver all the drag sent.
        QGuiApplication::sync();
        report(copied ? "drag ended copied" : "drag ended cancelled");
    }

  private:
    std::function<QMimeData*()> make_;
};

class DropTarget final : public QWidget {
  public:
    DropTarget() { setAcceptDrops(true); }

  protected:
    void dragEnterEvent(QDragEnterEvent* event) override {
        event->acceptProposedAction();
        report("drag entered");
    }
    void dragMoveEvent(QDragMoveEvent* event) override {
        event->acceptProposedAction();
        report("drag moved");
    }
    void dropEvent(QDropEvent* event) override {
        QStringList dropped;
        for (const QUrl& url : event->mimeData()->urls())
            dropped << url.toString();
        if (dropped.isEmpty())
            dropped << event->mimeData()->text();
        event->acceptProposedAction();
        report("dropped " + dropped.join(' '));
    }
};

/// Reports what happens to the window, whichever it is.
class Reporter final : public QObject {
  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::MouseButtonPress)
            report("pressed");
        else if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)
            report(event->type() == QEvent::FocusIn ? "focus in" : "focus out");
        else if (event->type() == QEvent::WindowStateChange)
            report(static_cast<QWidget*>(watched)->isFullScreen() ? "full screen on" : "full screen off");
        return false;
    }
};

} // namespace

int main(int argc, char** argv) {
    // The tests run on Qt's offscreen platform; this window belongs on their X server unless they
    // ask for their sway.
    if (qgetenv("QT_QPA_PLATFORM") != "wayland")
        qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    const QString mode = arguments.value(3);
    const bool alone = arguments.size() == 4 && (mode == "--accept" || mode == "--field");
    const bool dragged = (arguments.size() == 5 && (mode == "--file" || mode == "--text")) ||
                         (arguments.size() == 6 && mode == "--offer");
    if (!alone && !dragged) {
        std::fputs(
            "usage: islandOtherProgram X Y (--file PATH | --text TEXT | --offer TYPE DATA | --accept | "
            "--field)\n",
            stderr);
        return 2;
    }
    std::unique_ptr<QWidget> window;
    if (mode == "--accept") {
        window = std::make_unique<DropTarget>();
    } else if (mode == "--field") {
        auto field = std::make_unique<QLineEdit>();
        QObject::connect(field.get(), &QLineEdit::textChanged,
                         [](const QString& text) { report("text " + text); });
        window = std::move(field);
    } else {
        window = std::make_unique<DragSource>([&mode, &arguments] {
            auto* data = new QMimeData;
            if (mode == "--file")
                data->setUrls({QUrl::fromLocalFile(arguments[4])});
            else if (mode == "--text")
                data->setText(arguments[4]);
            else
                data->setData(arguments[4], arguments[5].toUtf8());
            return data;
        });
    }
    Reporter reporter;
    window->installEventFilter(&reporter);
    window->setWindowTitle(mode == "--accept"  ? "drop target"
                           : mode == "--field" ? "text field"
                                               : "drag source");
    window->setGeometry(arguments[1].toInt(), arguments[2].toInt(), 200, 200);
    window->show();
    report("ready 0x" + QString::number(window->winId(), 16));
    return QApplication::exec();
}
