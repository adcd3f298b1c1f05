#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "tests/package/PrivateSessionBus.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace vq::packagetest {
namespace {

using e2e::run;

const std::string buildFolder = BRIND_BUILD_DIR;

std::vector<std::string> filesUnder(const std::filesystem::path& root) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (!entry.is_directory())
            files.push_back(std::filesystem::relative(entry.path(), root).string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string contents(const std::filesystem::path& file) {
    return brind::AtomicFile::read(file).value_or("");
}

// The files listed in a data file, one per line, without its comment lines.
std::vector<std::string> expectedFiles(const std::string& name) {
    std::vector<std::string> files;
    std::istringstream lines(contents(std::string(BRIND_TEST_DATA) + "/install/" + name));
    for (std::string line; std::getline(lines, line);)
        if (!line.empty() && !line.starts_with('#'))
            files.push_back(line);
    return files;
}

// Installed for a user: exactly the expected files, a valid launcher and autostart entry, a unit for
// the session, and the URL scheme registered so that xdg-open reaches the island that runs.
TEST(UserInstall, InstallsItsFilesAndXdgOpenReachesTheRunningIsland) {
    e2e::TemporaryHome home;
    PrivateSessionBus bus(home.path());
    ASSERT_TRUE(bus.running()) << "dbus-daemon (package dbus-daemon) did not start";
    const auto prefix = home.path() / "prefix";
    const auto installed =
        run("/usr/bin/cmake", {"--install", buildFolder, "--prefix", prefix.string()}, home.environment());
    ASSERT_EQ(installed.exitCode, 0) << installed.out << installed.err;
    EXPECT_EQ(filesUnder(prefix), expectedFiles("user-install.txt"));

    auto environment = home.environment();
    environment["PATH"] = (prefix / "bin").string() + ":" + environment["PATH"];
    environment["XDG_DATA_DIRS"] = (prefix / "share").string();
    const auto query =
        run("/usr/bin/xdg-mime", {"query", "default", "x-scheme-handler/vantaquill"}, environment);
    EXPECT_EQ(query.out, "vantaquill.desktop\n") << query.err;
    const auto launcher = prefix / "share/applications/vantaquill.desktop";
    const auto validated =
        run("/usr/bin/desktop-file-validate",
            {launcher.string(), (prefix / "etc/xdg/autostart/vantaquill.desktop").string()}, environment);
    EXPECT_EQ(validated.exitCode, 0) << validated.out;
    EXPECT_NE(contents(launcher).find("Exec=vantaquill-island %u\n"), std::string::npos);
    const auto unit = contents(prefix / "share/systemd/user/vantaquill.service");
    for (const std::string& line :
         std::vector<std::string>{"ExecStart=" + (prefix / "bin/vantaquill-island").string(),
                                  "PartOf=graphical-session.target", "WantedBy=graphical-session.target"})
        EXPECT_NE(unit.find(line + "\n"), std::string::npos) << line << " in\n" << unit;

    e2e::IslandProcess first(home);
    ASSERT_NE(first.port(), 0);
    // xdg-open looks for a desktop handler only inside a graphical session; nothing connects to it.
    environment["DISPLAY"] = ":99";
    const auto opened = run("/usr/bin/xdg-open", {"vantaquill://notify?title=Hi"}, environment);
    EXPECT_EQ(opened.exitCode, 0) << opened.err;
    const auto shown = first.waitForLine("activity shown id=url.notify");
    ASSERT_TRUE(shown.has_value());
    EXPECT_NE(shown->find("title=\"Hi\""), std::string::npos) << *shown;
}

// One test, so that two packagings never share the build folder's staging area at once.
TEST(DebianPackage, LintianFindsNothingAndItInstallsAndRemovesCleanlyInAFolderTree) {
    const brindtest::TemporaryFolder folder{"vantaquill-deb"};
    const auto built = run(
        "/usr/bin/cpack",
        {"--config", buildFolder + "/CPackConfig.cmake", "-G", "DEB", "-B", (folder.path() / "out").string()},
        {{"PATH", std::getenv("PATH")}});
    ASSERT_EQ(built.exitCode, 0) << built.out << built.err;
    std::filesystem::path package;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() / "out")) {
        if (entry.path().extension() == ".deb")
            package = entry.path();
    }
    ASSERT_FALSE(package.empty()) << built.out;

    const auto lintian = run("/usr/bin/lintian", {"--no-tag-display-limit", package.string()},
                             {{"PATH", std::getenv("PATH")}, {"HOME", folder.path().string()}});
    std::stringstream lines(lintian.out);
    std::string line;
    while (std::getline(lines, line))
        EXPECT_FALSE(line.starts_with("E:") || line.starts_with("W:")) << line;
    EXPECT_NE(lintian.exitCode, 127) << "lintian is not installed";

    const auto root = folder.path() / "root";
    for (const char* sub : {"var/lib/dpkg/info", "var/lib/dpkg/updates", "var/lib/dpkg/triggers"})
        std::filesystem::create_directories(root / sub);
    std::ofstream(root / "var/lib/dpkg/status").close();
    const std::map<std::string, std::string> environment = {{"PATH", std::getenv("PATH")}};
    const auto dpkg = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"--root=" + root.string(), "--log=/dev/null"});
        return run("/usr/bin/dpkg", arguments, environment);
    };
    const auto outsideDatabase = [&] {
        auto files = filesUnder(root);
        std::erase_if(files, [](const std::string& file) { return file.starts_with("var/"); });
        return files;
    };

    // The tree holds no libraries: the declared dependencies are checked by name below instead.
    const auto installed = dpkg({"--force-depends", "-i", package.string()});
    ASSERT_EQ(installed.exitCode, 0) << installed.out << installed.err;
    EXPECT_EQ(outsideDatabase(), expectedFiles("debian-package.txt"));
    EXPECT_NE(contents(root / "usr/lib/systemd/user/vantaquill.service")
                  .find("ExecStart=/usr/bin/vantaquill-island\n"),
              std::string::npos);

    const auto depends = run("/usr/bin/dpkg-deb", {"--field", package.string(), "Depends"}, environment);
    for (const char* library : {"libc6", "libstdc++6", "libqt6core6", "libicu72", "liburiparser1"})
        EXPECT_NE(depends.out.find(library), std::string::npos) << library << " in " << depends.out;

    // Removing keeps the administrator's conffile; purging takes everything.
    ASSERT_EQ(dpkg({"-r", "vantaquill"}).exitCode, 0);
    EXPECT_EQ(outsideDatabase(), std::vector<std::string>{"etc/xdg/autostart/vantaquill.desktop"});
    ASSERT_EQ(dpkg({"-P", "vantaquill"}).exitCode, 0);
    EXPECT_TRUE(outsideDatabase().empty());
}

} // namespace
} // namespace vq::packagetest
