#pragma once

#include "BrindKit/sdk/SDKAuthorizer.hpp"
#include "vantaquill/ClientStore.hpp"
#include "vantaquill/Scheduler.hpp"

#include <functional>
#include <memory>
#include <string>

namespace vq {

/// Keeps the client file in step with the authoriser. A client issued, revoked or given other
/// scopes is written at once, on the thread that changed it: a revoked token must stay revoked
/// after a crash. A moved `lastSeen`, which every client's first request of a minute reports on the
/// server's thread, is written from the main thread `seenDelay` seconds later instead, once for
/// every report that came meanwhile, with the list as it is then (so it never brings back a client
/// revoked in between): the server thread then answers without waiting for a synced file.
class ClientFileWriter {
  public:
    using MainThread = std::function<void(std::function<void()>)>;
    using Log = std::function<void(const std::string&)>;

    static constexpr double seenDelay = 1;

    /// Takes over the authoriser's change reports; both must outlive the writer, which is made and
    /// destroyed on the main thread.
    ClientFileWriter(ClientStore& store, brind::SDKAuthorizer& authorizer, Scheduler& scheduler,
                     MainThread mainThread, Log log);
    /// Writes a pending `lastSeen` now.
    ~ClientFileWriter();
    ClientFileWriter(const ClientFileWriter&) = delete;
    ClientFileWriter& operator=(const ClientFileWriter&) = delete;

  private:
    void write(const std::vector<brind::SDKClient>& clients);
    void seen();

    ClientStore& store_;
    brind::SDKAuthorizer& authorizer_;
    Scheduler& scheduler_;
    Log log_;
    std::unique_ptr<Scheduler::Timer> pending_;
    /// Outlives the writer in the closures already sent to the main thread, which then do nothing.
    std::shared_ptr<ClientFileWriter*> self_;
};

} // namespace vq
