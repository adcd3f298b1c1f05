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

} // namespace vq
