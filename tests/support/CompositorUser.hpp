#pragma once

// What the harnesses of real compositors share: finding their programs, and the unprivileged user
// that runs the compositors which refuse to run as root (sway, GNOME Shell).

#include <QProcess>
#include <QStandardPaths>
#include <expected>
#include <initializer_list>
#include <pwd.h>
#include <string>

namespace vq::test {

inline constexpr const char* compositorUser = "vqtest";

/// The first of `programs` found neither on PATH nor in the system folders, or empty.
inline std::string firstMissing(std::initializer_list<const char*> programs) {
    for (const char* program : programs)
        if (QStandardPaths::findExecutable(program).isEmpty() &&
            QStandardPaths::findExecutable(program, {"/usr/sbin", "/sbin"}).isEmpty())
            return program;
    return {};
}

/// `compositorUser`, made once (a system user without a home or a login shell).
inline std::expected<passwd, std::string> ensureCompositorUser() {
    if (passwd* entry = getpwnam(compositorUser))
        return *entry;
    QProcess useradd;
    useradd.start("useradd", {"--system", "--no-create-home", "--shell", "/usr/sbin/nologin", compositorUser});
    useradd.waitForFinished(30'000);
    if (passwd* entry = getpwnam(compositorUser))
        return *entry;
    return std::unexpected(std::string("no user ") + compositorUser + " after useradd: " +
                           useradd.readAllStandardError().toStdString());
}

} // namespace vq::test
