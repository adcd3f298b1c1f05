#include "vantaquill/wayland/ShmBuffer.hpp"

#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

namespace vq {

namespace {

constexpr int bytesPerPixel = 4;

} // namespace

std::expected<std::unique_ptr<ShmBuffer>, std::string> ShmBuffer::create(wl_shm* shm, QSize pixelSize,
                                                                         int scale) {
    if (pixelSize.isEmpty())
        return std::unexpected("an empty buffer was asked for");
    const int stride = pixelSize.width() * bytesPerPixel;
    const auto bytes = static_cast<std::size_t>(stride) * static_cast<std::size_t>(pixelSize.height());

    const int fd = memfd_create("vantaquill-island", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0)
        return std::unexpected(std::string("memfd_create: ") + std::strerror(errno));
    if (ftruncate(fd, static_cast<off_t>(bytes)) != 0) {
        const int error = errno;
        close(fd);
        return std::unexpected(std::string("ftruncate: ") + std::strerror(error));
    }
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (memory == MAP_FAILED) {
        const int error = errno;
        close(fd);
        return std::unexpected(std::string("mmap: ") + std::strerror(error));
    }

    std::unique_ptr<ShmBuffer> result(new ShmBuffer);
    result->memory_ = memory;
    result->bytes_ = bytes;
    result->scale_ = scale;
    wl_shm_pool* pool = wl_shm_create_pool(shm, fd, static_cast<int32_t>(bytes));
    // ARGB8888 is a native-endian 32-bit 0xAARRGGBB with premultiplied alpha: the layout of
    // QImage::Format_ARGB32_Premultiplied.
    result->buffer_ = wl_shm_pool_create_buffer(pool, 0, pixelSize.width(), pixelSize.height(), stride,
                                                WL_SHM_FORMAT_ARGB8888);
    // The buffer keeps the pool's memory alive on the compositor's side.
    wl_shm_pool_destroy(pool);
    close(fd);
    static const wl_buffer_listener listener = {.release = &ShmBuffer::handleRelease};
    wl_buffer_add_listener(result->buffer_, &listener, result.get());

    result->image_ = QImage(static_cast<uchar*>(memory), pixelSize.width(), pixelSize.height(), stride,
                            QImage::Format_ARGB32_Premultiplied);
    result->image_.setDevicePixelRatio(scale);
    return result;
}

ShmBuffer::~ShmBuffer() {
    image_ = QImage();
    if (buffer_)
        wl_buffer_destroy(buffer_);
    if (memory_)
        munmap(memory_, bytes_);
}

void ShmBuffer::handleRelease(void* data, wl_buffer*) {
    static_cast<ShmBuffer*>(data)->busy_ = false;
}

} // namespace vq
