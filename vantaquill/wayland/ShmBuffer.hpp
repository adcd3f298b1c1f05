#pragma once

#include <QImage>
#include <QSize>
#include <expected>
#include <memory>
#include <string>

struct wl_buffer;
struct wl_shm;

namespace vq {

/// One frame's pixels shared with the compositor: a memfd mapped here and handed over as a
/// wl_buffer, with a QImage over the same memory for QPainter. The compositor reads it after a
/// commit until it sends release, so a buffer is drawn into again only while not busy.
class ShmBuffer {
  public:
    /// A buffer of `pixelSize` device pixels; `scale` becomes the image's device pixel ratio so
    /// that painters on it work in logical pixels.
    static std::expected<std::unique_ptr<ShmBuffer>, std::string> create(wl_shm* shm, QSize pixelSize,
                                                                         int scale);

    ~ShmBuffer();
    ShmBuffer(const ShmBuffer&) = delete;
    ShmBuffer& operator=(const ShmBuffer&) = delete;

    QImage& image() { return image_; }
    wl_buffer* buffer() const { return buffer_; }
    QSize pixelSize() const { return image_.size(); }
    int scale() const { return scale_; }
    bool busy() const { return busy_; }
    /// Called when the buffer is attached and committed: the compositor owns it until release.
    void markBusy() { busy_ = true; }

  private:
    ShmBuffer() = default;
    static void handleRelease(void* data, wl_buffer* buffer);

    void* memory_ = nullptr;
    std::size_t bytes_ = 0;
    wl_buffer* buffer_ = nullptr;
    QImage image_;
    int scale_ = 1;
    bool busy_ = false;
};

} // namespace vq
