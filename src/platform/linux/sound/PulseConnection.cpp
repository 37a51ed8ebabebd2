#include "platform/linux/sound/PulseConnection.h"

PulseConnection::PulseConnection() : loop(pa_mainloop_new()) {}

PulseConnection::~PulseConnection() {
    disconnect();
    if (loop != nullptr) pa_mainloop_free(loop);
}

bool PulseConnection::connect(pa_context_notify_cb_t onChange, void* user) {
    disconnect();
    if (loop != nullptr) context = pa_context_new(pa_mainloop_get_api(loop), "Velu");
    if (context == nullptr) return false;
    pa_context_set_state_callback(context, onChange, user);
    // A server that the user doesn't run isn't ours to start.
    return pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) == 0;
}

void PulseConnection::disconnect() {
    if (context == nullptr) return;
    pa_context_set_state_callback(context, nullptr, nullptr);
    pa_context_disconnect(context);
    pa_context_unref(context);
    context = nullptr;
}

bool PulseConnection::isConnected() const {
    return context != nullptr && pa_context_get_state(context) == PA_CONTEXT_READY;
}

bool PulseConnection::isLost() const {
    return context == nullptr || !PA_CONTEXT_IS_GOOD(pa_context_get_state(context));
}

uint32_t PulseConnection::error() const {
    return static_cast<uint32_t>(pa_context_errno(context));
}

void PulseConnection::wait(std::chrono::microseconds longest) {
    if (pa_mainloop_prepare(loop, static_cast<int>(longest.count())) >= 0) {
        // Preparing forgets the wake-ups so far.
        if (isWoken.exchange(false)) pa_mainloop_wakeup(loop);
        if (pa_mainloop_poll(loop) >= 0) pa_mainloop_dispatch(loop);
    }
    // All that has come in counts before a silence is judged, or a busy machine would look like a dead
    // server.
    while (pa_mainloop_iterate(loop, 0, nullptr) > 0) {
    }
}

void PulseConnection::wake() {
    isWoken = true;
    if (loop != nullptr) pa_mainloop_wakeup(loop);
}
