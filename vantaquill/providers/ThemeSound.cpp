#include "vantaquill/providers/ThemeSound.hpp"

#include "vantaquill/providers/PulseConnection.hpp"

#include <canberra.h>

namespace vq {

ThemeSound::ThemeSound(Log log) : log_(std::move(log)) {}

ThemeSound::~ThemeSound() {
    if (context_)
        ca_context_destroy(context_);
}

void ThemeSound::report(const std::string& why) {
    if (reported_)
        return;
    reported_ = true;
    log_("vantaquill: no sounds: " + why);
}

void ThemeSound::play(std::string_view eventID, std::string_view description) {
    // The context connects to the sound server at the first sound, not at start: most sessions
    // never play one.
    if (!context_) {
        if (const int failed = ca_context_create(&context_); failed != CA_SUCCESS) {
            context_ = nullptr;
            report(ca_strerror(failed));
            return;
        }
        // The session's sound server (PulseAudio, or PipeWire's pulse server) or nothing: a device
        // opened directly would take the sound card from the server's other clients.
        ca_context_set_driver(context_, "pulse");
        // The island's own id, so that the Sound section leaves its sounds out of the applications'.
        ca_context_change_props(context_, CA_PROP_APPLICATION_NAME, "vantaquill", CA_PROP_APPLICATION_ID,
                                PulseConnection::applicationID, nullptr);
    }
    const std::string id(eventID);
    const std::string text(description);
    if (const int failed = ca_context_play(context_, 0, CA_PROP_EVENT_ID, id.c_str(), CA_PROP_EVENT_DESCRIPTION,
                                           text.c_str(), nullptr);
        failed != CA_SUCCESS)
        report(std::string("the sound \"") + id + "\" could not be played: " + ca_strerror(failed));
}

} // namespace vq
