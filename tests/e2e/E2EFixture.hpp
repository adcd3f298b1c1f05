#pragma once

#include "tests/e2e/E2EProcess.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>

namespace vq::e2e {

/// A running headless island in a fresh home, with helpers to call the real `vantaquill` command.
class IslandTest : public ::testing::Test {
protected:
    /// Preferences written before the island starts ("key=value" lines of the [General] section).
    virtual std::vector<std::string> preferences() const { return {}; }
    /// Files placed in the data folder before the island starts: name and contents.
    virtual std::vector<std::pair<std::string, std::string>> dataFiles() const { return {}; }

    void SetUp() override {
        std::filesystem::create_directories(home.path() / ".config/vantaquill");
        std::ofstream settings(home.path() / ".config/vantaquill/vantaquill.conf");
        settings << "[General]\n";
        for (const auto& line : preferences())
            settings << line << "\n";
        settings.close();
        std::filesystem::create_directories(dataFolder());
        for (const auto& [name, contents] : dataFiles())
            std::ofstream(dataFolder() / name) << contents;
        island = std::make_unique<IslandProcess>(home);
        ASSERT_NE(island->port(), 0) << "the island did not start";
    }

    std::filesystem::path dataFolder() const { return home.path() / ".local/share/vantaquill"; }

    /// Runs `vantaquill` against this island.
    CommandResult command(const std::vector<std::string>& arguments, const std::string& input = {}) const {
        auto environment = home.environment();
        environment["VANTAQUILL_PORT"] = std::to_string(island->port());
        return run(builtProgram("vantaquill"), arguments, environment, input);
    }

    std::string cliToken() const {
        std::ifstream file(home.path() / ".config/vantaquill/cli-token");
        std::string token;
        file >> token;
        return token;
    }

    /// A raw request with the right Host header; `extraHeaders` are whole lines ending in "\r\n".
    std::string request(const std::string& method, const std::string& target, const std::string& extraHeaders = {},
                        const std::string& body = {}) const {
        std::string text = method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(island->port()) +
                           "\r\n" + extraHeaders;
        if (!body.empty() || method == "POST")
            text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
        text += "\r\n" + body;
        return rawExchange(island->port(), text);
    }

    std::string authorized(const std::string& method, const std::string& target, const std::string& body = {}) const {
        return request(method, target,
                       "Authorization: Bearer " + cliToken() + "\r\nContent-Type: application/json\r\n", body);
    }

    TemporaryHome home;
    std::unique_ptr<IslandProcess> island;
};

inline std::string readFixture(const std::string& relative) {
    std::ifstream file(std::string(BRIND_TEST_DATA) + "/" + relative);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

} // namespace vq::e2e
