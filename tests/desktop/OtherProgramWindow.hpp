#pragma once

#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryFile>
#include <optional>
#include <string>

namespace vq::test {

/// The desktop tests' other program (tests/desktop/tools/OtherProgram.cpp) on the test's X server
/// (`display` ":N") or Wayland compositor (`display` the path of its Wayland socket), where sway
/// tiles it and KWin's window rule stretches it over the output below the island: a window that drags, takes drops or has a text field, and reports
/// each thing that happens to it on a line.
class OtherProgramWindow {
  public:
    /// `arguments` as the program takes them: X Y {"--accept"}, X Y {"--file", PATH}, ...
    OtherProgramWindow(const std::string& display, const QStringList& arguments) {
        report_.open();
        const bool wayland = display.starts_with('/');
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.remove(wayland ? "DISPLAY" : "WAYLAND_DISPLAY");
        environment.insert(wayland ? "WAYLAND_DISPLAY" : "DISPLAY", QString::fromStdString(display));
        environment.insert("QT_QPA_PLATFORM", wayland ? "wayland" : "xcb");
        process_.setProcessEnvironment(environment);
        process_.setStandardOutputFile(report_.fileName());
        process_.start(BRIND_BIN_DIR "/islandOtherProgram", arguments);
    }
    ~OtherProgramWindow() {
        process_.kill();
        process_.waitForFinished();
    }

    /// How many lines of its report are `line`.
    int count(const std::string& line) const {
        int seen = 0;
        for (const QByteArray& text : lines())
            seen += text.toStdString() == line ? 1 : 0;
        return seen;
    }

    /// The last line of its report that starts with `prefix`, without it; nothing when there is none.
    std::optional<std::string> last(const std::string& prefix) const {
        std::optional<std::string> found;
        for (const QByteArray& text : lines())
            if (text.startsWith(prefix.c_str()))
                found = text.mid(qsizetype(prefix.size())).toStdString();
        return found;
    }

  private:
    QList<QByteArray> lines() const {
        QFile file(report_.fileName());
        return file.open(QIODevice::ReadOnly) ? file.readAll().split('\n') : QList<QByteArray>();
    }

    QTemporaryFile report_;
    QProcess process_;
};

} // namespace vq::test
