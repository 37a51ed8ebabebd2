#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/linux/GstCameras.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto lookAtCancel = std::chrono::milliseconds(20);
constexpr std::array systems{CameraSystem::v4l2, CameraSystem::pipewire};

struct ListedCamera {
    CameraDevice device;
    std::string file;  ///< that stands for it; empty without one
};

/// What is known of one subsystem.
struct Answer {
    int32_t begun = 0;     ///< how many times it was asked
    int32_t answered = 0;  ///< and did answer
    std::vector<ListedCamera> cameras;
};

/// A daemon or a driver that hangs keeps the thread that asks it for as long as it likes, so nobody waits for
/// that thread to end, and all that it touches lies here, where nothing takes it down, not the end of the
/// program either. A subsystem isn't asked anew while its answer is due: one thread at most hangs in each.
struct Inquiry {
    std::mutex mutex;
    std::condition_variable changed;
    std::array<Answer, systems.size()> answers;

    void ask(CameraSystem system, Answer& answer) {
        ++answer.begun;
        std::thread([this, system, &answer] {
            std::vector<ListedCamera> cameras;
            for (FoundCamera& camera : findCameras(system))
                cameras.push_back({std::move(camera.listed), std::move(camera.file)});
            const std::lock_guard lock(mutex);
            answer.cameras = std::move(cameras);
            ++answer.answered;
            changed.notify_all();
        }).detach();
    }
};

/// What v4l2 shows goes before PipeWire's view of the same: it says at once when a camera is lost or in use,
/// and depends on no daemon. PipeWire remains for those that only it can open.
std::vector<CameraDevice> merged(std::vector<ListedCamera> direct, std::vector<ListedCamera> viaPipeWire) {
    for (ListedCamera& camera : viaPipeWire) {
        const auto isSame = [&](const ListedCamera& other) { return other.file == camera.file; };
        if (camera.file.empty() || std::none_of(direct.begin(), direct.end(), isSame))
            direct.push_back(std::move(camera));
    }
    std::vector<CameraDevice> devices;
    devices.reserve(direct.size());
    for (ListedCamera& camera : direct)
        devices.push_back(std::move(camera.device));
    // Such as the raw sensor that belongs to a camera further down.
    std::stable_partition(devices.begin(), devices.end(),
                          [](const CameraDevice& device) { return !device.sizes.empty(); });
    return devices;
}

}  // namespace

std::vector<CameraDevice> listCameras(int32_t limitMs, const std::atomic<bool>* cancel) {
    static auto& inquiry = *new Inquiry;
    const auto end = Clock::now() + std::chrono::milliseconds(limitMs);
    std::unique_lock lock(inquiry.mutex);
    // What was asked earlier may be answered with what is no more.
    std::array<int32_t, systems.size()> due{};
    for (size_t i = 0; i < systems.size(); ++i)
        due[i] = inquiry.answers[i].begun + 1;
    const auto isAnswered = [&](size_t i) { return inquiry.answers[i].answered >= due[i]; };
    for (;;) {
        for (size_t i = 0; i < systems.size(); ++i) {
            Answer& answer = inquiry.answers[i];
            if (answer.begun == answer.answered && !isAnswered(i)) inquiry.ask(systems[i], answer);
        }
        if (cancel != nullptr && *cancel) return {};
        const auto now = Clock::now();
        if (now >= end || (isAnswered(0) && isAnswered(1))) break;
        inquiry.changed.wait_until(lock, std::min<Clock::time_point>(end, now + lookAtCancel));
    }
    const auto camerasOf = [&](size_t i) {
        return isAnswered(i) ? inquiry.answers[i].cameras : std::vector<ListedCamera>();
    };
    return merged(camerasOf(0), camerasOf(1));
}
