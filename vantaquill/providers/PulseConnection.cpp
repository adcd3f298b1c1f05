#include "vantaquill/providers/PulseConnection.hpp"

#include <pulse/proplist.h>

namespace vq {

PulseConnection::PulseConnection() : loop_(pa_threaded_mainloop_new()) {
    pa_proplist* properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, "vantaquill");
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, applicationID);
    context_ = pa_context_new_with_proplist(pa_threaded_mainloop_get_api(loop_), "vantaquill", properties);
    pa_proplist_free(properties);
}

PulseConnection::~PulseConnection() {
    if (started_)
        pa_threaded_mainloop_stop(loop_);
    pa_context_set_state_callback(context_, nullptr, nullptr);
    pa_context_set_subscribe_callback(context_, nullptr, nullptr);
    pa_context_disconnect(context_);
    pa_context_unref(context_);
    pa_threaded_mainloop_free(loop_);
}

bool PulseConnection::connect(pa_context_notify_cb_t state, void* userdata, pa_context_subscribe_cb_t events) {
    pa_context_set_state_callback(context_, state, userdata);
    if (events)
        pa_context_set_subscribe_callback(context_, events, userdata);
    // No autospawn: a desktop without a sound server gets none started by the island.
    if (pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return false;
    started_ = pa_threaded_mainloop_start(loop_) >= 0;
    return started_;
}

std::optional<PulseConnection::Settled> PulseConnection::settle(pa_context* context, pa_subscription_mask_t events) {
    switch (pa_context_get_state(context)) {
    case PA_CONTEXT_READY:
        pa_operation_unref(pa_context_subscribe(context, events, nullptr, nullptr));
        return Settled::up;
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED:
        return Settled::lost;
    case PA_CONTEXT_UNCONNECTED:
    case PA_CONTEXT_CONNECTING:
    case PA_CONTEXT_AUTHORIZING:
    case PA_CONTEXT_SETTING_NAME:
        break;
    }
    return std::nullopt;
}

} // namespace vq
