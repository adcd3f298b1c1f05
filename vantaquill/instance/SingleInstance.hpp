#pragma once

#include <QDBusConnection>
#include <QString>

#include <chrono>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vq {

/// One island per session. The first `vantaquill-island` owns the well-known name
/// `io.vantaquill.Island` on the session bus and serves one method, `Open(s url)`, on the object
/// `/io/vantaquill/Island`; a later one calls it with its URL (empty without one: "show yourself")
/// and exits. D-Bus names are reverse-DNS; `io.vantaquill` is the project's own prefix, used by no
/// other program, so the name cannot meet another application's.
///
/// The bus is the one named by DBUS_SESSION_BUS_ADDRESS, else $XDG_RUNTIME_DIR/bus when that
/// socket exists, and never one started on demand: without a session bus every island runs on its
/// own, which is what headless runs in CI and tests with a private XDG_RUNTIME_DIR want.
class SingleInstance {
public:
    static constexpr const char* serviceName = "io.vantaquill.Island";
    static constexpr const char* objectPath = "/io/vantaquill/Island";
    static constexpr const char* interfaceName = "io.vantaquill.Island";
    /// How long a second island waits for the first to take its URL before calling it hung.
    static constexpr std::chrono::milliseconds answerTimeout{2000};

    enum class HandOff {
        delivered,    ///< the running island took the URL: exit 0
        noInstance,   ///< nobody holds the name: start normally
        noSessionBus, ///< run on our own
    };
    enum class Claim {
        claimed,      ///< this process is the island of the session
        taken,        ///< another island claimed the name first: hand off to it instead
        noSessionBus, ///< run on our own
    };

    /// Hands `url` to the running island. The error says why it could not (it does not answer).
    static std::expected<HandOff, std::string> handOff(const QString& url,
                                                       std::chrono::milliseconds timeout = answerTimeout);

    /// Takes the name and serves `Open`, calling `onURL` on this thread for each URL handed over.
    /// The name is held while this object lives.
    std::expected<Claim, std::string> claim(std::function<void(const QString& url)> onURL);

    /// The start-up step, before anything else is built: claims the name, or hands `url` to the
    /// island that holds it. Returns the exit code when this process is done (0 handed over; 1 the
    /// holder is hung, after saying so through `error`), or nothing to go on starting; this
    /// process's own `url` is then its caller's to carry out. Claiming first leaves no moment in
    /// which two islands both believe they are the first.
    std::optional<int> start(const QString& url, std::function<void(const QString& url)> onURL,
                             const std::function<void(const std::string&)>& error);

    /// What an empty URL stands for: show the island.
    static constexpr const char* showURL = "vantaquill://open";

    SingleInstance();
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

private:
    class Endpoint;
    std::unique_ptr<Endpoint> endpoint;
    std::optional<QDBusConnection> connection;
};

} // namespace vq
