#include "tests/clipboard-desktop/ClipboardDisplay.hpp"

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <thread>
#include <unistd.h>

namespace vq::clipboardtest {

const std::unique_ptr<desktop::VirtualDisplay>& display() {
    static const auto server = [] {
        const bool tools = desktop::VirtualDisplay::available() && ::access("/usr/bin/xclip", X_OK) == 0;
        return tools ? std::make_unique<desktop::VirtualDisplay>() : nullptr;
    }();
    return server;
}

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

std::string encodedImage(const char* format, int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes.toStdString();
}

} // namespace vq::clipboardtest
