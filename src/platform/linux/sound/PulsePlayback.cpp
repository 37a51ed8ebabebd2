#include "platform/linux/sound/PulsePlayback.h"

#include <pulse/sample.h>
#include <pulse/stream.h>
#include <pulse/timeval.h>

#include <utility>

#include "platform/linux/sound/PulseConnection.h"

namespace {

using Clock = PulseConnection::Clock;

/// For each answer until the connection stands. A server that is well needs a few milliseconds, and one that
/// hangs shall not keep a text for more than a second.
constexpr auto connectLimit = std::chrono::milliseconds(900);
/// For a device that slept to begin.
constexpr auto startLimit = std::chrono::milliseconds(3000);
/// A playing server asks for more samples several times in each buffer; after this it never will.
constexpr auto stallLimit = std::chrono::milliseconds(700);
/// Samples at the server. It bounds what is still heard of speech that is cut off, on devices that don't take
/// back what they were given.
constexpr uint32_t buffersPerSecond = 5;

}  // namespace

struct PulsePlayback::Parts {
    pa_sample_spec format{};
    PulseConnection connection;
    pa_stream* stream = nullptr;
    bool isStarted = false;
    bool isPlaying = false;  ///< the device has begun
    bool isLost = false;
    Clock::time_point deadline = Clock::time_point::max();

    [[nodiscard]] bool isStreaming() const {
        return stream != nullptr && pa_stream_get_state(stream) == PA_STREAM_READY;
    }

    void allowTime() {
        deadline = Clock::now() + (isPlaying                  ? stallLimit
                                   : connection.isConnected() ? startLimit
                                                              : connectLimit);
    }

    void openStream() {
        stream = pa_stream_new(connection.context, "Speech", &format, nullptr);
        if (stream == nullptr) {
            isLost = true;
            return;
        }
        pa_stream_set_state_callback(
            stream,
            [](pa_stream* changed, void* parts) {
                if (!PA_STREAM_IS_GOOD(pa_stream_get_state(changed)))
                    static_cast<Parts*>(parts)->isLost = true;
            },
            this);
        pa_stream_set_started_callback(
            stream,
            [](pa_stream*, void* parts) {
                static_cast<Parts*>(parts)->isPlaying = true;
                static_cast<Parts*>(parts)->allowTime();
            },
            this);
        pa_stream_set_write_callback(
            stream, [](pa_stream*, size_t, void* parts) { static_cast<Parts*>(parts)->allowTime(); }, this);
        pa_buffer_attr buffer{};
        buffer.maxlength = buffer.prebuf = buffer.minreq = buffer.fragsize = static_cast<uint32_t>(-1);
        buffer.tlength = static_cast<uint32_t>(pa_bytes_per_second(&format)) / buffersPerSecond;
        const auto flags = static_cast<pa_stream_flags_t>(
            PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_INTERPOLATE_TIMING);
        if (pa_stream_connect_playback(stream, nullptr, &buffer, flags, nullptr, nullptr) != 0) isLost = true;
    }

    void connect() {
        allowTime();
        const auto onChange = [](pa_context* changed, void* parts) {
            if (!PA_CONTEXT_IS_GOOD(pa_context_get_state(changed))) static_cast<Parts*>(parts)->isLost = true;
            static_cast<Parts*>(parts)->allowTime();
        };
        if (!connection.connect(onChange, this)) isLost = true;
    }

    void closeStream() {
        if (stream == nullptr) return;
        pa_stream_set_state_callback(stream, nullptr, nullptr);
        pa_stream_set_started_callback(stream, nullptr, nullptr);
        pa_stream_set_write_callback(stream, nullptr, nullptr);
        pa_stream_disconnect(stream);
        pa_stream_unref(stream);
        stream = nullptr;
    }
};

PulsePlayback::PulsePlayback(std::unique_ptr<Parts> parts) : parts(std::move(parts)) {}

PulsePlayback::~PulsePlayback() {
    stop();
}

std::unique_ptr<PulsePlayback> PulsePlayback::create() {
    auto parts = std::make_unique<Parts>();
    if (parts->connection.loop == nullptr) return nullptr;
    return std::unique_ptr<PulsePlayback>(new PulsePlayback(std::move(parts)));
}

void PulsePlayback::start(uint32_t sampleRate) {
    if (parts->isStarted) return;
    parts->isStarted = true;
    parts->format = {PA_SAMPLE_S16NE, sampleRate, 1};
    parts->connect();
}

bool PulsePlayback::isStarted() const {
    return parts->isStarted;
}

bool PulsePlayback::isLost() const {
    return parts->isLost;
}

void PulsePlayback::stop() {
    parts->closeStream();
    parts->connection.disconnect();
    parts->isStarted = parts->isPlaying = parts->isLost = false;
    parts->deadline = Clock::time_point::max();
}

size_t PulsePlayback::wanted() const {
    if (!parts->isStreaming()) return 0;
    const size_t bytes = pa_stream_writable_size(parts->stream);
    return bytes == static_cast<size_t>(-1) ? 0 : bytes / sizeof(int16_t);
}

void PulsePlayback::write(std::span<const int16_t> samples) {
    if (pa_stream_write(parts->stream, samples.data(), samples.size_bytes(), nullptr, 0, PA_SEEK_RELATIVE) !=
        0) {
        parts->isLost = true;
    }
    parts->allowTime();
}

std::optional<uint64_t> PulsePlayback::heard() const {
    pa_usec_t time = 0;
    // The clock runs ahead of a device that hasn't begun yet.
    if (!parts->isStreaming() || !parts->isPlaying || pa_stream_get_time(parts->stream, &time) != 0)
        return std::nullopt;
    return time * parts->format.rate / PA_USEC_PER_SEC;
}

void PulsePlayback::wait(std::chrono::microseconds longest) {
    if (parts->connection.isConnected() && parts->stream == nullptr) parts->openStream();
    parts->connection.wait(longest);
    if (Clock::now() > parts->deadline && wanted() == 0) parts->isLost = true;
}

void PulsePlayback::wake() {
    parts->connection.wake();
}
