#include "platform/camera.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "platform/linux/camera/CameraMessages.h"
#include "platform/linux/camera/CameraProcess.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds openLimit(10000);
constexpr milliseconds silenceLimit(5000);
constexpr int closeLimitMs = 200;

constexpr uint32_t processEnded = 5U << 16U;  // as `Camera::errorCode` has it

/// No camera brings more than that a side; what tells of more is broken.
constexpr int32_t longestSide = 16384;

/// What was waited for, and came.
enum class Arrival { picture, lastWord, interruption, nothing };

}  // namespace

struct Camera::Parts {
    CameraProcess process;                         ///< of the device that is open
    CameraState last = CameraState::notActivated;  ///< what became of it, without one
    uint32_t error = 0;
    CameraSize size;

    uint32_t wished = 0;        ///< the number of the latest wish
    uint32_t answered = 0;      ///< that of the latest picture
    Clock::time_point heardAt;  ///< when a part of one came in, or one was asked for when none was owed

    CameraReply reply;            ///< that is coming in
    size_t replyBytes = 0;        ///< what there is of it
    std::vector<uint8_t> pixels;  ///< that follow it
    size_t pixelBytes = 0;        ///< what there is of them

    const FileDescriptor interruption = aboveStandard(FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)));

    /// Whether all was called off, which is forgotten then.
    bool takeInterruption() {
        eventfd_t count = 0;
        return eventfd_read(interruption.number, &count) == 0;
    }

    void wish() {
        if (answered == wished) heardAt = Clock::now();
        const CameraWish next{++wished};
        // What gets lost is noticed by what doesn't come back.
        static_cast<void>(send(process.channel.number, &next, sizeof next, MSG_NOSIGNAL | MSG_DONTWAIT));
    }

    /// When the camera counts as silent, unless more comes in.
    [[nodiscard]] Clock::time_point silentAt() const {
        return answered == wished ? Clock::time_point::max() : heardAt + silenceLimit;
    }

    /// Takes what has come in for a part of the reply; whether that is whole now.
    bool fill(void* part, size_t bytes, size_t& have) {
        while (have < bytes) {
            const ssize_t count =
                recv(process.channel.number, static_cast<uint8_t*>(part) + have, bytes - have, MSG_DONTWAIT);
            if (count <= 0) return false;
            have += static_cast<size_t>(count);
            heardAt = Clock::now();
        }
        return true;
    }

    /// Takes what has come in; whether a reply is whole now.
    bool receive() {
        const bool isNew = replyBytes < sizeof reply;
        if (!fill(&reply, sizeof reply, replyBytes)) return false;
        if (reply.state == CameraState::running) {
            if (isNew) {
                if (std::min(reply.width, reply.height) < 1 ||
                    std::max(reply.width, reply.height) > longestSide) {
                    reply = {CameraState::notReadable, processEnded, 0, 0};
                    return true;
                }
                pixels.resize(static_cast<size_t>(reply.width) * static_cast<size_t>(reply.height) * 4);
                pixelBytes = 0;
            }
            if (!fill(pixels.data(), pixels.size(), pixelBytes)) return false;
        }
        replyBytes = 0;
        return true;
    }

    /// Waits for what comes next. The picture is in `reply` and `pixels` then, the last word in `reply`.
    Arrival next(Clock::time_point deadline) {
        for (;;) {
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now()).count();
            std::array<pollfd, 2> sources{
                {{interruption.number, POLLIN, 0}, {process.channel.number, POLLIN, 0}}};
            poll(sources.data(), sources.size(), static_cast<int>(std::max<int64_t>(left, 0)));
            if (takeInterruption()) return Arrival::interruption;
            if (receive()) {
                if (reply.state != CameraState::running) return Arrival::lastWord;
                answered = reply.number;
                return Arrival::picture;
            }
            if ((sources[1].revents & POLLHUP) != 0) {
                reply = {CameraState::notReadable, processEnded, 0, 0};
                return Arrival::lastWord;
            }
            if (Clock::now() >= deadline) return Arrival::nothing;
        }
    }

    /// Lets go of what is open.
    CameraState end(CameraState why, uint32_t number) {
        process.end(closeLimitMs);
        last = why;
        error = number;
        return why;
    }
};

Camera::Camera() : parts(std::make_unique<Parts>()) {}

Camera::~Camera() {
    close();
}

CameraState Camera::open(const CameraDevice& device, const CameraSize& size) {
    Parts& p = *parts;
    const auto deadline = Clock::now() + openLimit;
    p.end(CameraState::notActivated, 0);
    p.wished = 1;
    p.answered = 0;
    p.replyBytes = 0;
    if (!p.interruption.isOpen() ||
        !p.process.start({"open", device.id, std::to_string(size.width), std::to_string(size.height)}))
        return p.end(CameraState::notReadable, processEnded);
    switch (p.next(deadline)) {
        case Arrival::picture:
            p.size = {p.reply.width, p.reply.height};
            return CameraState::running;
        case Arrival::lastWord:
            return p.end(p.reply.state, p.reply.number);
        case Arrival::interruption:
            return p.end(CameraState::interrupted, 0);
        case Arrival::nothing:
            break;
    }
    return p.end(CameraState::notReadable, 0);
}

CameraSize Camera::size() const {
    return parts->size;
}

CameraState Camera::read(CameraFrame& frame, int32_t pauseMs, int32_t waitMs) {
    Parts& p = *parts;
    frame.pixels.clear();
    if (!p.process.isStarted()) return p.last;
    const auto begin = Clock::now() + milliseconds(pauseMs);
    const auto end = begin + milliseconds(waitMs);
    bool hasWished = false;
    for (;;) {
        const auto due = hasWished ? end : begin;
        switch (p.next(std::min(due, p.silentAt()))) {
            case Arrival::picture:
                if (!hasWished || p.answered != p.wished) continue;  // it was asked for before this call
                frame.width = p.reply.width;
                frame.height = p.reply.height;
                frame.pixels.swap(p.pixels);
                return CameraState::running;
            case Arrival::lastWord:
                return p.end(CameraState::ended, p.reply.number);
            case Arrival::interruption:
                return CameraState::interrupted;
            case Arrival::nothing:
                break;
        }
        const auto now = Clock::now();
        if (now >= p.silentAt()) return p.end(CameraState::ended, 0);
        if (now < due) continue;
        if (hasWished) return CameraState::running;
        p.wish();
        hasWished = true;
    }
}

uint32_t Camera::errorCode() const {
    return parts->error;
}

void Camera::close() {
    Parts& p = *parts;
    p.takeInterruption();
    if (p.process.isStarted()) p.end(CameraState::notActivated, 0);
}

void Camera::interrupt() {
    eventfd_write(parts->interruption.number, 1);
}
