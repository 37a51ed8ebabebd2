#include <pulse/introspect.h>
#include <pulse/operation.h>

#include <algorithm>

#include "platform/linux/sound/PulseConnection.h"
#include "platform/microphone.h"

namespace {

constexpr auto lookAtCancel = std::chrono::milliseconds(50);

void add(pa_context*, const pa_source_info* source, int, void* devices) {
    // A source that hears a sink is what another program plays.
    if (source == nullptr || source->monitor_of_sink != PA_INVALID_INDEX) return;
    static_cast<std::vector<MicrophoneDevice>*>(devices)->push_back({source->name, source->description});
}

}  // namespace

std::vector<MicrophoneDevice> listMicrophones(int32_t limitMs, const std::atomic<bool>* cancel) {
    using Clock = PulseConnection::Clock;
    std::vector<MicrophoneDevice> devices;
    PulseConnection connection;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(limitMs);
    const auto comes = [&](auto isThere) {
        bool came = false;
        while (!came && Clock::now() < end && !(cancel != nullptr && *cancel))
            came =
                connection.waitUntil(isThere, std::min<Clock::time_point>(end, Clock::now() + lookAtCancel));
        return came;
    };
    if (!connection.connect(nullptr, nullptr)) return {};
    if (!comes([&] { return connection.isConnected() || connection.isLost(); }) || connection.isLost())
        return {};
    pa_operation* const question = pa_context_get_source_info_list(connection.context, add, &devices);
    if (question == nullptr) return {};
    const bool isAnswered = comes([&] { return pa_operation_get_state(question) != PA_OPERATION_RUNNING; });
    pa_operation_unref(question);
    return isAnswered ? devices : std::vector<MicrophoneDevice>();
}
