#include "vantaquill/ClientFileWriter.hpp"

namespace vq {

ClientFileWriter::ClientFileWriter(ClientStore& store, brind::SDKAuthorizer& authorizer, Scheduler& scheduler,
                                   MainThread mainThread, Log log)
    : store_(store), authorizer_(authorizer), scheduler_(scheduler), log_(std::move(log)),
      self_(std::make_shared<ClientFileWriter*>(this)) {
    authorizer_.setOnChange([this](const std::vector<brind::SDKClient>& clients) { write(clients); });
    authorizer_.setOnSeen([mainThread = std::move(mainThread), self = std::weak_ptr(self_)] {
        mainThread([self] {
            if (const auto writer = self.lock(); writer && *writer)
                (*writer)->seen();
        });
    });
}

ClientFileWriter::~ClientFileWriter() {
    authorizer_.setOnSeen({});
    authorizer_.setOnChange({});
    *self_ = nullptr;
    if (pending_)
        write(authorizer_.all());
}

void ClientFileWriter::write(const std::vector<brind::SDKClient>& clients) {
    if (auto saved = store_.save(clients); !saved)
        log_("vantaquill: couldn't write " + saved.error());
}

void ClientFileWriter::seen() {
    if (pending_)
        return;
    pending_ = scheduler_.schedule(seenDelay, [this] {
        // Released after the write: the timer is the one running this.
        const auto timer = std::move(pending_);
        write(authorizer_.all());
    });
}

} // namespace vq
