// velu-camera: lists cameras and takes pictures for Velu, which starts it and ends it. CameraMessages.h tells
// what the two say to each other.

#include <fcntl.h>
#include <gst/video/video.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/linux/camera/CameraMessages.h"
#include "platform/linux/camera/program/CameraPipeline.h"
#include "platform/linux/camera/program/GstCameras.h"

namespace {

constexpr int channel = STDIN_FILENO;

/// What a library writes to a standard file mustn't end in another that got its number, nor end the program
/// when nobody reads it.
void prepareStandardFiles() {
    int file = 0;
    while (file >= 0 && file <= STDERR_FILENO)
        file = open("/dev/null", O_RDWR);
    close(file);
    signal(SIGPIPE, SIG_IGN);
}

/// A crash leaves no dump: there would be a picture in it. A limit of one byte, unlike one of none, holds
/// also where the system hands dumps to a program of its own.
void forgoDumps() {
    constexpr rlimit oneByte{1, 1};
    setrlimit(RLIMIT_CORE, &oneByte);
}

/// False when nobody listens any more.
bool tell(const void* data, size_t bytes) {
    for (size_t sent = 0; sent < bytes;) {
        const ssize_t count =
            send(channel, static_cast<const uint8_t*>(data) + sent, bytes - sent, MSG_NOSIGNAL);
        if (count < 0) return false;
        sent += static_cast<size_t>(count);
    }
    return true;
}

int listCameras(CameraSystem system) {
    nlohmann::json list = nlohmann::json::array();
    for (const FoundCamera& camera : findCameras(system)) {
        nlohmann::json sizes = nlohmann::json::array();
        for (const CameraSize& size : camera.listed.sizes)
            sizes.push_back({size.width, size.height});
        list.push_back({{"id", camera.listed.id},
                        {"file", camera.file},
                        {"name", camera.listed.name},
                        {"grey", camera.listed.isGrey},
                        {"sizes", sizes}});
    }
    // A device may have any name.
    const std::string line = list.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    return tell(line.data(), line.size()) ? 0 : 1;
}

bool tellPicture(CameraPipeline& camera, const CameraPipeline::Wanted& wanted) {
    GstVideoInfo info;
    gst_video_info_init(&info);
    gst_video_info_from_caps(&info, gst_sample_get_caps(wanted.picture.get()));
    GstVideoFrame rows;
    if (gst_video_frame_map(&rows, &info, gst_sample_get_buffer(wanted.picture.get()), GST_MAP_READ) ==
        FALSE) {
        camera.want(wanted.number);  // what can't be looked at didn't come
        return true;
    }
    const CameraReply reply{CameraState::running, wanted.number, info.width, info.height};
    const size_t rowBytes = static_cast<size_t>(info.width) * 4;
    std::vector<uint8_t> message(sizeof reply + rowBytes * static_cast<size_t>(info.height));
    std::memcpy(message.data(), &reply, sizeof reply);
    const auto* const pixels = static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&rows, 0));
    const ptrdiff_t stride = GST_VIDEO_FRAME_PLANE_STRIDE(&rows, 0);
    for (int32_t y = 0; y < info.height; ++y)
        std::memcpy(&message[sizeof reply + rowBytes * static_cast<size_t>(y)], pixels + y * stride,
                    rowBytes);
    gst_video_frame_unmap(&rows);
    return tell(message.data(), message.size());
}

/// Until something goes wrong, or nobody listens any more.
void watch(CameraPipeline& camera) {
    for (;;) {
        camera.wait(channel);
        if (const std::optional<CameraProblem> problem = camera.problem()) {
            const CameraReply lastWord{problem->state, problem->number, 0, 0};
            tell(&lastWord, sizeof lastWord);
            return;
        }
        if (const CameraPipeline::Wanted wanted = camera.take();
            wanted.picture != nullptr && !tellPicture(camera, wanted))
            return;
        CameraWish wish;
        const ssize_t count = recv(channel, &wish, sizeof wish, MSG_DONTWAIT);
        if (count == 0) return;
        if (count == sizeof wish) camera.want(wish.number);
    }
}

bool readNumber(const std::string& word, int32_t& number) {
    return std::from_chars(word.data(), word.data() + word.size(), number).ec == std::errc();
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    prepareStandardFiles();
    forgoDumps();
    // Without a farewell: the libraries' threads go on until the very end.
    CameraSize size;
    if (words.size() == 2 && words[0] == "list") {
        if (words[1] == "v4l2") _exit(listCameras(CameraSystem::v4l2));
        if (words[1] == "pipewire") _exit(listCameras(CameraSystem::pipewire));
    } else if (words.size() == 4 && words[0] == "open" && readNumber(words[2], size.width) &&
               readNumber(words[3], size.height)) {
        watch(*new CameraPipeline(words[1], size));
        _exit(0);
    }
    std::fputs("velu-camera takes pictures for Velu, which starts it when it needs it\n", stderr);
    return 2;
}
