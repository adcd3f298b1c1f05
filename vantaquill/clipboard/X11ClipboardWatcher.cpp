#include "vantaquill/clipboard/X11ClipboardWatcher.hpp"

#include "vantaquill/clipboard/ClipFlavourMapping.hpp"
#include "vantaquill/clipboard/X11ActiveWindow.hpp"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <xcb/xcb.h>

#include <cstdlib>

namespace vq {

X11ClipboardWatcher::X11ClipboardWatcher(ClipboardStore& store, bool watchPrimary)
    : store(store), watchPrimary(watchPrimary) {
    primarySettle.setSingleShot(true);
    primarySettle.setInterval(primarySettleMs);
    connect(&primarySettle, &QTimer::timeout, this, [this] { primarySettled(); });
    connect(QGuiApplication::clipboard(), &QClipboard::changed, this, [this](QClipboard::Mode mode) {
        if (mode == QClipboard::Clipboard)
            readClipboard();
        // Text selected in the island's own fields is not a copy; each change restarts the wait.
        else if (mode == QClipboard::Selection && this->watchPrimary && !QGuiApplication::clipboard()->ownsSelection())
            primarySettle.start();
    });
}

void X11ClipboardWatcher::setWatchPrimary(bool watch) {
    watchPrimary = watch;
    if (!watch)
        primarySettle.stop();
}

void X11ClipboardWatcher::primarySettled() {
    // A button still held is a selection still being made: look again after another wait.
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (xcb_connection_t* connection = x11 ? x11->connection() : nullptr) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        if (xcb_query_pointer_reply_t* pointer =
                xcb_query_pointer_reply(connection, xcb_query_pointer(connection, screen->root), nullptr)) {
            constexpr std::uint16_t buttons = XCB_KEY_BUT_MASK_BUTTON_1 | XCB_KEY_BUT_MASK_BUTTON_2 |
                                              XCB_KEY_BUT_MASK_BUTTON_3;
            const bool held = pointer->mask & buttons;
            std::free(pointer);
            if (held) {
                primarySettle.start();
                return;
            }
        }
    }
    if (watchPrimary && !QGuiApplication::clipboard()->ownsSelection())
        readClipboard(QClipboard::Selection);
}

bool X11ClipboardWatcher::available() {
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) &&
           QGuiApplication::platformName() == QLatin1String("xcb");
}

void X11ClipboardWatcher::readClipboard(QClipboard::Mode mode) {
    const QMimeData* data = QGuiApplication::clipboard()->mimeData(mode);
    if (!data)
        return;
    std::vector<std::string> offered;
    for (const QString& format : data->formats())
        offered.push_back(format.toStdString());
    if (const auto marked = ClipFlavourMapping::markedSnapshot(offered)) {
        store.capture(*marked);
        return;
    }
    ClipFlavours flavours;
    for (const std::string& type : offered) {
        if (ClipFlavourMapping::isRead(type))
            flavours.push_back({type, data->data(QString::fromStdString(type)).toStdString()});
    }
    brind::ClipSnapshot snapshot = ClipFlavourMapping::snapshot(flavours, offered);
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (const auto window = x11 ? X11ActiveWindow::read(x11->connection()) : std::nullopt) {
        snapshot.sourceBundleID = window->applicationID();
        snapshot.sourceAppName = window->className.empty() ? window->instanceName : window->className;
    }
    store.capture(snapshot);
}

void X11ClipboardWatcher::write(const ClipFlavours& flavours) {
    auto* data = new QMimeData;
    for (const ClipFlavour& flavour : flavours)
        data->setData(QString::fromStdString(flavour.mimeType),
                      QByteArray(flavour.data.data(), static_cast<qsizetype>(flavour.data.size())));
    QGuiApplication::clipboard()->setMimeData(data, QClipboard::Clipboard);
}

} // namespace vq
