#include "vantaquill/panel/clipboard/QtClipboard.hpp"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace vq::QtClipboard {

QMimeData* mimeData(const ClipFlavours& flavours) {
    auto* data = new QMimeData;
    for (const ClipFlavour& flavour : flavours)
        data->setData(QString::fromStdString(flavour.mimeType),
                      QByteArray(flavour.data.data(), static_cast<qsizetype>(flavour.data.size())));
    return data;
}

void write(const ClipFlavours& flavours) {
    QGuiApplication::clipboard()->setMimeData(mimeData(flavours), QClipboard::Clipboard);
}

} // namespace vq::QtClipboard
