#pragma once

#include "tests/e2e/E2EProcess.hpp"
#include "tests/package/PrivateSessionBus.hpp"
#include "tests/support/BackgroundProgram.hpp"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vq {

/// A private bus standing in for the system bus, with python3-dbusmock's templates (logind, UPower,
/// NetworkManager, BlueZ…) serving on it, one process per template. Session templates (the
/// notification daemon) serve on it too: it stands in for the session bus of a home whose
/// XDG_RUNTIME_DIR is `folder`. `script` runs Python against
/// the mocks (to add what a template lacks), with `bus` bound to the connection.
class SystemServiceMock {
public:
    static constexpr const char* python = "/usr/bin/python3";

    SystemServiceMock(const std::filesystem::path& folder, const std::string& busName, const std::string& templateName)
        : bus(prepared(folder)) {
        ready = serve(busName, templateName);
    }

    /// Starts one more template on the same bus; false when its name never appeared.
    bool serve(const std::string& busName, const std::string& templateName) {
        mocks.push_back(std::make_unique<BackgroundProgram>(
            python, std::vector<std::string>{"-m", "dbusmock", "--template", templateName},
            std::vector<std::string>{"DBUS_SYSTEM_BUS_ADDRESS=" + bus.address(),
                                     "DBUS_SESSION_BUS_ADDRESS=" + bus.address(), "PATH=/usr/bin:/bin"}));
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            if (bus.askBus("NameHasOwner", busName).out.find("boolean true") != std::string::npos)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return false;
    }

    static bool installed() {
        return e2e::run(python, {"-c", "import dbusmock"}, {{"PATH", "/usr/bin:/bin"}}).exitCode == 0;
    }

    bool running() const { return ready; }
    std::string address() const { return bus.address(); }

    /// Runs `script` with `import dbus` done and `bus` connected; its result.
    e2e::CommandResult script(const std::string& script) const {
        return e2e::run(python, {"-c", "import dbus\nbus = dbus.bus.BusConnection('" + address() + "')\n" + script},
                        {{"PATH", "/usr/bin:/bin"}});
    }

private:
    static std::filesystem::path prepared(const std::filesystem::path& folder) {
        std::filesystem::create_directories(folder);
        return folder;
    }

    packagetest::PrivateSessionBus bus;
    std::vector<std::unique_ptr<BackgroundProgram>> mocks;
    bool ready = false;
};

} // namespace vq
