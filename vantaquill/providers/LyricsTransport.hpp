#pragma once

#include "BrindKit/system/LyricsStore.hpp"

#include <QNetworkAccessManager>

namespace vq {

/// The lyrics store's HTTP transport: one GET through Qt's network stack, answered on the main
/// thread, with the request's time-out and headers.
class LyricsTransport {
  public:
    LyricsTransport() = default;
    LyricsTransport(const LyricsTransport&) = delete;
    LyricsTransport& operator=(const LyricsTransport&) = delete;

    /// Valid while this transport lives; a reply still running when it dies is abandoned unanswered.
    brind::LyricsStore::HTTPCall call();

  private:
    QNetworkAccessManager network_;
};

} // namespace vq
