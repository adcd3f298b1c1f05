#include "vantaquill/providers/LyricsTransport.hpp"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <chrono>
#include <utility>

namespace vq {

brind::LyricsStore::HTTPCall LyricsTransport::call() {
    return [this](const brind::LyricsStore::Request& request,
                  std::function<void(brind::LyricsStore::TransportResult)> completion) {
        QNetworkRequest outgoing(QUrl(QString::fromStdString(request.url)));
        outgoing.setTransferTimeout(static_cast<int>(request.timeout * 1000));
        for (const auto& [header, value] : request.headers)
            outgoing.setRawHeader(QByteArray::fromStdString(header), QByteArray::fromStdString(value));
        QNetworkReply* reply = network_.get(outgoing);
        QObject::connect(reply, &QNetworkReply::finished, reply, [reply, completion = std::move(completion)] {
            reply->deleteLater();
            // An HTTP error status is still an answer; only a reply without one failed to arrive.
            const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
            if (!status.isValid()) {
                const QString why = reply->error() == QNetworkReply::OperationCanceledError
                                        ? QStringLiteral("the lyrics service did not answer in time")
                                        : reply->errorString();
                return completion(std::unexpected(why.toStdString()));
            }
            completion(brind::LyricsStore::Response{status.toInt(), reply->readAll().toStdString()});
        });
    };
}

} // namespace vq
