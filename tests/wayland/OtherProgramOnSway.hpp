#pragma once

#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryFile>
#include <optional>
#include <string>

namespace vq::test {

/// The desktop tests' other program (tests/desktop/tools/OtherProgram.cpp) as a Qt application on
/// the test's sway: an ordinary window, which sway tiles over the output below the island, that
/// drags, takes drops or has a text field, and reports each thing that happens to it on a line.
class OtherProgramOnSway {
  public:
    /// `mode` as the program takes it: {"--accept"}, {"--field"}, {"--file", PATH}, ...
    OtherProgramOnSway(const std::string& waylandDisplay, const QStringList& mode) {
        report_.open();
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "wayland");
        environment.insert("WAYLAND_DISPLAY", QString::fromStdString(waylandDisplay));
        environment.remove("DISPLAY");
        process_.setProcessEnvironment(environment);
        process_.setStandardOutputFile(report_.fileName());
        process_.start(BRIND_BIN_DIR "/islandOtherProgram", QStringList{"0", "0"} + mode);
    }
    ~OtherProgramOnSway() {
        process_.kill();
        process_.waitForFinished();
    }

    /// How many lines of its report are `line`.
    int count(const std::string& line) const {
        QFile file(report_.fileName());
        int seen = 0;
        if (file.open(QIODevice::ReadOnly))
            for (const QByteArray& text : file.readAll().split('\n'))
                seen += text.toStdString() == line ? 1 : 0;
        return seen;
    }

    /// The last line of its report that starts with `prefix`, without it; nothing when there is none.
    std::optional<std::string> last(const std::string& prefix) const {
        QFile file(report_.fileName());
        std::optional<std::string> found;
        if (file.open(QIODevice::ReadOnly))
            for (const QByteArray& text : file.readAll().split('\n'))
                if (text.startsWith(prefix.c_str()))
                    found = text.mid(qsizetype(prefix.size())).toStdString();
        return found;
    }

  private:
    QTemporaryFile report_;
    QProcess process_;
};

} // namespace vq::test
