#include "vantaquill/wayland/ShmBuffer.hpp"

#include <wayland-client.h>

#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace vq {

namespace {

constexpr int bytesPerPixel = 4;

} // namespace

std::expected<std::unique_ptr<ShmBuffer>, std::string> ShmBuffer::create(wl_shm* shm, QSize pixelSize, int scale)
{
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
    result->m_memory = memory;
    result->m_bytes = bytes;
    result->m_scale = scale;
    wl_shm_pool* pool = wl_shm_create_pool(shm, fd, static_cast<int32_t>(bytes));
    // ARGB8888 is a native-endian 32-bit 0xAARRGGBB with premultiplied alpha: the layout of
    // QImage::Format_ARGB32_Premultiplied.
    result->m_buffer = wl_shm_pool_create_buffer(pool, 0, pixelSize.width(), pixelSize.height(), stride,
                                                 WL_SHM_FORMAT_ARGB8888);
    // The buffer keeps the pool's memory alive on the compositor's side.
    wl_shm_pool_destroy(pool);
    close(fd);
    static const wl_buffer_listener listener = {.release = &ShmBuffer::handleRelease};
    wl_buffer_add_listener(result->m_buffer, &listener, result.get());

    result->m_image = QImage(static_cast<uchar*>(memory), pixelSize.width(), pixelSize.height(), stride,
                             QImage::Format_ARGB32_Premultiplied);
    result->m_image.setDevicePixelRatio(scale);
    return result;
}

ShmBuffer::~ShmBuffer()
{
    m_image = QImage();
    if (m_buffer)
        wl_buffer_destroy(m_buffer);
    if (m_memory)
        munmap(m_memory, m_bytes);
}

void ShmBuffer::handleRelease(void* data, wl_buffer*)
{
    static_cast<ShmBuffer*>(data)->m_busy = false;
}

} // namespace vq
