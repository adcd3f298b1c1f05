#include "BrindKit/foundation/AtomicFile.hpp"

#include "BrindKit/foundation/Hex.hpp"
#include "BrindKit/foundation/SecureRandom.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brind::AtomicFile {

namespace {

std::string failure(std::string_view what, const std::filesystem::path& path) {
    return std::string(what) + " " + path.string() + ": " + std::strerror(errno);
}

std::string randomSuffix() {
    std::string suffix;
    for (const auto byte : SecureRandom::bytes(6))
        Hex::appendByte(suffix, byte);
    return suffix;
}

} // namespace

std::expected<void, std::string> write(const std::filesystem::path& path, std::string_view contents,
                                       std::filesystem::perms mode) {
    const std::filesystem::path temporary = path.string() + ".tmp-" + randomSuffix();
    const int descriptor =
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, static_cast<mode_t>(mode));
    if (descriptor < 0)
        return std::unexpected(failure("couldn't create", temporary));

    std::size_t written = 0;
    while (written < contents.size()) {
        const ssize_t count = ::write(descriptor, contents.data() + written, contents.size() - written);
        if (count < 0) {
            if (errno == EINTR)
                continue;
            const std::string message = failure("couldn't write", temporary);
            ::close(descriptor);
            ::unlink(temporary.c_str());
            return std::unexpected(message);
        }
        written += static_cast<std::size_t>(count);
    }
    // The umask may have narrowed the mode at creation; set it exactly, then make the bytes durable
    // before the rename makes them visible under the real name.
    if (::fchmod(descriptor, static_cast<mode_t>(mode)) != 0 || ::fsync(descriptor) != 0) {
        const std::string message = failure("couldn't flush", temporary);
        ::close(descriptor);
        ::unlink(temporary.c_str());
        return std::unexpected(message);
    }
    ::close(descriptor);
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        const std::string message = failure("couldn't replace", path);
        ::unlink(temporary.c_str());
        return std::unexpected(message);
    }
    // Persist the rename itself.
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    const int folderDescriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folderDescriptor >= 0) {
        ::fsync(folderDescriptor);
        ::close(folderDescriptor);
    }
    return {};
}

std::expected<std::string, std::string> read(const std::filesystem::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return std::unexpected(failure("couldn't open", path));
    // Sized from the file up front, so that megabytes are read once into their final string rather
    // than copied through growing buffers; one byte more lets the end be seen without growing.
    // Reading still goes on to the end, for files that grow meanwhile or report no size.
    struct stat status {};
    const bool sized = ::fstat(descriptor, &status) == 0 && status.st_size > 0;
    std::string contents(sized ? static_cast<std::size_t>(status.st_size) + 1 : 4096, '\0');
    std::size_t length = 0;
    for (;;) {
        if (length == contents.size())
            contents.resize(contents.size() * 2);
        const ssize_t count = ::read(descriptor, contents.data() + length, contents.size() - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            const std::string message = failure("couldn't read", path);
            ::close(descriptor);
            return std::unexpected(message);
        }
        if (count == 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    ::close(descriptor);
    contents.resize(length);
    return contents;
}

std::expected<void, std::string> ensureFolder(const std::filesystem::path& path,
                                              std::filesystem::perms mode) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        return {};
    if (path.has_parent_path() && path.parent_path() != path) {
        auto parent = ensureFolder(path.parent_path(), mode);
        if (!parent)
            return parent;
    }
    if (::mkdir(path.c_str(), static_cast<mode_t>(mode)) != 0 && errno != EEXIST)
        return std::unexpected(failure("couldn't create folder", path));
    return {};
}

} // namespace brind::AtomicFile
