#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/camera.h"
#include "platform/linux/camera/CameraProcess.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds lookAtCancel(20);
constexpr int endLimitMs = 20;
constexpr size_t longestAnswer = 1 << 20;  // of a thousand cameras; a process that says more is broken

struct ListedCamera {
    CameraDevice device;
    std::string file;  ///< that stands for it; empty without one
};

/// One subsystem, which is asked by a process of its own: one that hangs doesn't keep the other's answer.
struct Inquiry {
    explicit Inquiry(const char* subsystem) : isOver(!process.start({"list", subsystem})) {}
    ~Inquiry() { process.end(endLimitMs); }
    Inquiry(const Inquiry&) = delete;
    Inquiry& operator=(const Inquiry&) = delete;

    /// Takes what has come in.
    void hear() {
        std::array<char, 4096> bytes{};
        while (!isOver) {
            const ssize_t count = recv(process.channel.number, bytes.data(), bytes.size(), MSG_DONTWAIT);
            if (count < 0) return;
            answer.append(bytes.data(), static_cast<size_t>(count));
            isOver = count == 0 || answer.back() == '\n' || answer.size() > longestAnswer;
        }
    }

    /// None when it hasn't answered, or its process died over it.
    [[nodiscard]] std::vector<ListedCamera> cameras() const {
        std::vector<ListedCamera> cameras;
        const nlohmann::json list = nlohmann::json::parse(answer, nullptr, false);
        if (list.is_discarded()) return cameras;
        for (const nlohmann::json& entry : list) {
            ListedCamera camera;
            camera.file = entry.at("file");
            camera.device.id = entry.at("id");
            camera.device.name = entry.at("name");
            camera.device.isGrey = entry.at("grey");
            for (const nlohmann::json& size : entry.at("sizes"))
                camera.device.sizes.push_back({size.at(0), size.at(1)});
            cameras.push_back(std::move(camera));
        }
        return cameras;
    }

    CameraProcess process;
    std::string answer;
    bool isOver;
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
    const auto end = Clock::now() + milliseconds(limitMs);
    Inquiry direct("v4l2"), viaPipeWire("pipewire");
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
        if (cancel != nullptr && *cancel) return {};
        if (left.count() <= 0 || (direct.isOver && viaPipeWire.isOver)) break;
        std::array<pollfd, 2> sources{};
        for (size_t i = 0; i < 2; ++i) {
            const Inquiry& inquiry = i == 0 ? direct : viaPipeWire;
            sources[i] = {inquiry.isOver ? -1 : inquiry.process.channel.number, POLLIN, 0};
        }
        poll(sources.data(), sources.size(), static_cast<int>(std::min(left, lookAtCancel).count()));
        direct.hear();
        viaPipeWire.hear();
    }
    return merged(direct.cameras(), viaPipeWire.cameras());
}
