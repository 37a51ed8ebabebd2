#include <pulse/def.h>
#include <pulse/introspect.h>
#include <pulse/operation.h>
#include <pulse/sample.h>
#include <pulse/stream.h>

#include <optional>

#include "platform/linux/sound/PulseConnection.h"
#include "platform/microphone.h"

namespace {

using Clock = PulseConnection::Clock;

constexpr size_t chunk = 1600;  // samples
constexpr pa_sample_spec format{PA_SAMPLE_S16NE, 16000, 1};
constexpr auto chunkTime = std::chrono::milliseconds(100);
constexpr auto openLimit = std::chrono::milliseconds(3000);
/// A server that is well sends something with each chunk's time, silence too.
constexpr auto silenceLimit = std::chrono::milliseconds(1500);
/// For a device that slept to begin.
constexpr auto startLimit = std::chrono::milliseconds(3000);
/// What the server takes for the name of the source that the user prefers.
constexpr const char* preferredSource = "@DEFAULT_SOURCE@";

MicrophoneState stateOf(uint32_t error) {
    switch (error) {
        case PA_ERR_NOENTITY:
        case PA_ERR_CONNECTIONREFUSED:
        case PA_ERR_CONNECTIONTERMINATED:
        case PA_ERR_KILLED:  // what a recording comes to whose device is taken away
            return MicrophoneState::notFound;
        default:
            return MicrophoneState::unusable;
    }
}

}  // namespace

struct Microphone::Parts {
    PulseConnection connection;
    std::atomic<bool> isInterrupted = false;

    pa_stream* stream = nullptr;
    uint32_t device = PA_INVALID_INDEX;  ///< the source that was asked about last
    std::optional<uint32_t> verdict;  ///< what is wrong with it, `PA_OK` for nothing; none before the answer
    std::vector<int16_t> heard;       ///< and not handed out yet
    Clock::time_point heardUntil;
    std::chrono::milliseconds patience{};  ///< with a silence from there on
    uint32_t error = PA_ERR_BADSTATE;

    static void judge(pa_context* context, const pa_source_info* source, int, void* user) {
        auto& parts = *static_cast<Parts*>(user);
        if (source != nullptr) {
            parts.device = source->index;
            // Without a microphone the server prefers what another program plays.
            const bool isMonitor = source->monitor_of_sink != PA_INVALID_INDEX;
            parts.verdict = isMonitor ? PA_ERR_NOENTITY : PA_OK;
        } else if (!parts.verdict) {
            parts.verdict = pa_context_errno(context);
        }
    }

    [[nodiscard]] bool askAbout(const char* name) {
        verdict.reset();
        return isAsked(pa_context_get_source_info_by_name(connection.context, name, judge, this));
    }

    /// The user, or the loss of a device, may have put us on another.
    void askAboutMove() {
        const uint32_t current = pa_stream_get_device_index(stream);
        if (current == device || current == PA_INVALID_INDEX) return;
        device = current;
        verdict.reset();
        // Failing to ask takes a lost connection, which tells of itself.
        (void)isAsked(pa_context_get_source_info_by_index(connection.context, current, judge, this));
    }

    static bool isAsked(pa_operation* question) {
        if (question != nullptr) pa_operation_unref(question);
        return question != nullptr;
    }

    /// All that opening takes. False when one of it failed, or was called off, or time is up.
    [[nodiscard]] bool start(const std::string& id) {
        const auto deadline = Clock::now() + openLimit;
        const auto comes = [&](auto isThere) {
            return connection.waitUntil([&] { return isInterrupted || isThere(); }, deadline) &&
                   !isInterrupted;
        };
        if (!connection.connect(nullptr, nullptr)) return false;
        if (!comes([&] { return connection.isConnected(); })) return false;
        if (!askAbout(id.empty() ? preferredSource : id.c_str())) return false;
        if (!comes([&] { return verdict.has_value(); }) || verdict != PA_OK) return false;
        if (!openStream(id)) return false;
        if (!comes([&] { return pa_stream_get_state(stream) != PA_STREAM_CREATING; })) return false;
        heardUntil = Clock::now();
        patience = startLimit;
        return failure() == PA_OK;
    }

    [[nodiscard]] bool openStream(const std::string& id) {
        stream = pa_stream_new(connection.context, "Listening", &format, nullptr);
        if (stream == nullptr) return false;
        pa_buffer_attr buffer{};
        buffer.maxlength = buffer.tlength = buffer.prebuf = buffer.minreq = static_cast<uint32_t>(-1);
        // One packet for each chunk: an idle companion is woken no more often than it must.
        buffer.fragsize = chunk * sizeof(int16_t);
        const int place = id.empty() ? PA_STREAM_NOFLAGS : PA_STREAM_DONT_MOVE;
        const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | place);
        return pa_stream_connect_record(stream, id.empty() ? nullptr : id.c_str(), &buffer, flags) == 0;
    }

    void collect() {
        if (stream == nullptr || pa_stream_get_state(stream) != PA_STREAM_READY) return;
        const void* data = nullptr;
        size_t bytes = 0;
        while (pa_stream_peek(stream, &data, &bytes) == 0 && bytes > 0) {
            const size_t count = bytes / sizeof(int16_t);
            if (const auto* samples = static_cast<const int16_t*>(data))
                heard.insert(heard.end(), samples, samples + count);
            else
                heard.resize(heard.size() + count);
            pa_stream_drop(stream);
            heardUntil = Clock::now();
            patience = silenceLimit;
        }
        // The server has put the device to sleep, for another session of the computer, say, and wakes it
        // again when that is over. Until then nothing is heard, in time.
        while (isAsleep() && Clock::now() - heardUntil >= chunkTime) {
            heard.resize(heard.size() + chunk);
            heardUntil += chunkTime;
        }
        askAboutMove();
    }

    [[nodiscard]] bool isAsleep() const { return pa_stream_is_suspended(stream) == 1; }

    /// What went wrong, `PA_OK` when nothing did.
    [[nodiscard]] uint32_t failure() const {
        const bool isStreamLost = stream != nullptr && !PA_STREAM_IS_GOOD(pa_stream_get_state(stream));
        if (connection.isLost() || isStreamLost) return connection.error();
        return verdict.value_or(PA_OK);
    }

    void release() {
        if (stream != nullptr) {
            pa_stream_disconnect(stream);
            pa_stream_unref(stream);
            stream = nullptr;
        }
        connection.disconnect();
        verdict.reset();
        heard.clear();
    }

    [[nodiscard]] MicrophoneState fail(uint32_t why) {
        release();
        error = why;
        return stateOf(why);
    }
};

Microphone::Microphone() : parts(std::make_unique<Parts>()) {}

Microphone::~Microphone() {
    close();
}

MicrophoneState Microphone::open(const std::string& id) {
    Parts& p = *parts;
    p.release();
    const bool isOpen = p.start(id);
    if (p.isInterrupted.exchange(false)) {
        p.release();
        return MicrophoneState::interrupted;
    }
    if (isOpen) return MicrophoneState::running;
    const uint32_t failure = p.failure();
    return p.fail(failure != PA_OK ? failure : static_cast<uint32_t>(PA_ERR_TIMEOUT));
}

MicrophoneState Microphone::read(std::vector<int16_t>& samples, int32_t waitMs) {
    Parts& p = *parts;
    samples.clear();
    if (p.stream == nullptr) return stateOf(p.error);
    const auto due = p.heardUntil + (p.isAsleep() ? chunkTime : p.patience);
    const auto deadline = std::min<Clock::time_point>(Clock::now() + std::chrono::milliseconds(waitMs), due);
    const auto isTold = [&p] {
        p.collect();
        return p.isInterrupted || p.heard.size() >= chunk || p.failure() != PA_OK;
    };
    const bool isSilent = !p.connection.waitUntil(isTold, deadline);
    if (p.isInterrupted.exchange(false)) return MicrophoneState::interrupted;
    if (p.heard.size() >= chunk) {
        const auto end = p.heard.begin() + chunk;
        samples.assign(p.heard.begin(), end);
        p.heard.erase(p.heard.begin(), end);
        return MicrophoneState::running;
    }
    if (const uint32_t failure = p.failure(); failure != PA_OK) return p.fail(failure);
    if (isSilent && Clock::now() - p.heardUntil >= p.patience) return p.fail(PA_ERR_TIMEOUT);
    return MicrophoneState::running;
}

uint32_t Microphone::errorCode() const {
    return parts->error;
}

void Microphone::close() {
    parts->release();
    parts->isInterrupted = false;
}

void Microphone::interrupt() {
    parts->isInterrupted = true;
    parts->connection.wake();
}
