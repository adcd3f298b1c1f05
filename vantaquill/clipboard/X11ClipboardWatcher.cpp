#include "vantaquill/clipboard/X11ClipboardWatcher.hpp"

#include "vantaquill/clipboard/ClipFlavourMapping.hpp"
#include "vantaquill/clipboard/X11ActiveWindow.hpp"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace vq {

X11ClipboardWatcher::X11ClipboardWatcher(ClipboardStore& store) : store(store) {
    connect(QGuiApplication::clipboard(), &QClipboard::changed, this, [this](QClipboard::Mode mode) {
        if (mode == QClipboard::Clipboard)
            readClipboard();
    });
}

bool X11ClipboardWatcher::available() {
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) &&
           QGuiApplication::platformName() == QLatin1String("xcb");
}

void X11ClipboardWatcher::readClipboard() {
    const QMimeData* data = QGuiApplication::clipboard()->mimeData(QClipboard::Clipboard);
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
