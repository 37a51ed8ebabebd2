// picture-camera NAME PICTURE OFFER...
// A camera of PipeWire's, called NAME by its user, that plays the file PICTURE, and plays it anew when there
// is another in its place: "WIDTH HEIGHT\n", then 4 bytes a pixel, blue, green, red and alpha. An OFFER is
// what it can do: "YUY2:640x480@15", or RGB, RGBx, GRAY8 or MJPG in YUY2's place; H264 can be offered, but
// not played. Like many a camera it begins MJPG with a few pictures that are none. It says "ready" once
// others can see it, and ends when it loses PipeWire.

#include <gst/video/video.h>
#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

struct Offer {
    std::string format;
    uint32_t width = 0, height = 0, rate = 0;
};

/// A format of the offers. Rows end where GStreamer expects it; its element for PipeWire looks at no stride.
struct Format {
    uint32_t subtype, id, bytesPerPixel;
};

const Format& formatOf(const Offer& offer) {
    static const std::map<std::string, Format> formats{
        {"YUY2", {SPA_MEDIA_SUBTYPE_raw, SPA_VIDEO_FORMAT_YUY2, 2}},
        {"RGB", {SPA_MEDIA_SUBTYPE_raw, SPA_VIDEO_FORMAT_RGB, 3}},
        {"RGBx", {SPA_MEDIA_SUBTYPE_raw, SPA_VIDEO_FORMAT_RGBx, 4}},
        {"GRAY8", {SPA_MEDIA_SUBTYPE_raw, SPA_VIDEO_FORMAT_GRAY8, 1}},
        {"MJPG", {SPA_MEDIA_SUBTYPE_mjpg, SPA_VIDEO_FORMAT_UNKNOWN, 0}},
        {"H264", {SPA_MEDIA_SUBTYPE_h264, SPA_VIDEO_FORMAT_UNKNOWN, 0}}};
    return formats.at(offer.format);
}

uint32_t strideOf(const Offer& offer) {
    return (offer.width * formatOf(offer).bytesPerPixel + 3) / 4 * 4;
}

GstCaps* capsOf(const Offer& offer, const char* type) {
    GstCaps* const caps = gst_caps_new_simple(type, "width", G_TYPE_INT, offer.width, "height", G_TYPE_INT,
                                              offer.height, "framerate", GST_TYPE_FRACTION, 0, 1, nullptr);
    if (offer.format != "MJPG")
        gst_caps_set_simple(caps, "format", G_TYPE_STRING, offer.format.c_str(), nullptr);
    return caps;
}

/// What the camera sends of the picture in the file, at the offer's size.
Bytes encoded(const std::string& file, const Offer& offer) {
    std::ifstream input(file, std::ios::binary);
    Offer own{"BGRA"};
    input >> own.width >> own.height;
    input.get();
    const std::string pixels{std::istreambuf_iterator<char>(input), {}};
    GstBuffer* const buffer = gst_buffer_new_memdup(pixels.data(), pixels.size());
    GstSample* const picture = gst_sample_new(buffer, capsOf(own, "video/x-raw"), nullptr, nullptr);
    const GstCaps* const wanted = capsOf(offer, offer.format == "MJPG" ? "image/jpeg" : "video/x-raw");
    GstSample* const sent = gst_video_convert_sample(picture, wanted, GST_CLOCK_TIME_NONE, nullptr);
    GstMapInfo map;
    gst_buffer_map(gst_sample_get_buffer(sent), &map, GST_MAP_READ);
    Bytes bytes(map.data, map.data + map.size);
    gst_buffer_unmap(gst_sample_get_buffer(sent), &map);
    gst_sample_unref(sent);
    gst_sample_unref(picture);
    return bytes;
}

struct Camera {
    std::string file;
    std::vector<Offer> offers;
    pw_main_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    spa_source* timer = nullptr;
    const Offer* current = nullptr;
    std::filesystem::file_time_type playedFile;  ///< its time, by which a new one is noticed
    Bytes played;                                ///< of it, as `current` has it
    int32_t broken = 0;                          ///< how many pictures are still to be none

    void look() {
        const auto seen = std::filesystem::last_write_time(file);
        if (std::exchange(playedFile, seen) != seen) played = encoded(file, *current);
    }

    void play() {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(stream);
        if (buffer == nullptr || current == nullptr) return;
        look();
        spa_data& data = buffer->buffer->datas[0];
        std::memcpy(data.data, played.data(), std::min<size_t>(data.maxsize, played.size()));
        data.chunk->offset = 0;
        data.chunk->size = static_cast<uint32_t>(std::min<size_t>(data.maxsize, played.size()));
        data.chunk->stride = static_cast<int32_t>(strideOf(*current));
        if (broken > 0) std::memset(data.data, 0, data.chunk->size);
        broken = std::max(broken - 1, 0);
        pw_stream_queue_buffer(stream, buffer);
    }

    void choose(const spa_pod* format) {
        uint32_t type = 0, subtype = 0;
        if (format == nullptr || spa_format_parse(format, &type, &subtype) < 0) return;
        spa_rectangle size{};
        uint32_t id = SPA_VIDEO_FORMAT_UNKNOWN;
        spa_pod_parse_object(format, SPA_TYPE_OBJECT_Format, nullptr, SPA_FORMAT_VIDEO_format,
                             SPA_POD_OPT_Id(&id), SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size));
        for (const Offer& offer : offers)
            if (formatOf(offer).subtype == subtype && formatOf(offer).id == id && offer.width == size.width &&
                offer.height == size.height)
                current = &offer;
        playedFile = {};
        broken = current->format == "MJPG" ? 3 : 0;

        std::array<uint8_t, 1024> space{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, space.data(), space.size());
        const uint32_t stride = strideOf(*current);
        const uint32_t bytes = (stride != 0 ? stride : current->width * 4) * current->height;
        const auto* buffers = static_cast<spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
            SPA_POD_CHOICE_RANGE_Int(4, 2, 8), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
            SPA_PARAM_BUFFERS_size, SPA_POD_Int(bytes), SPA_PARAM_BUFFERS_stride, SPA_POD_Int(stride),
            SPA_PARAM_BUFFERS_dataType,
            SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd))));
        pw_stream_update_params(stream, &buffers, 1);
    }

    void beat(bool isStreaming) {
        constexpr int64_t second = 1000000000;
        const int64_t interval = isStreaming ? second / current->rate : 0;
        timespec spec{interval / second, interval % second};
        pw_loop_update_timer(pw_main_loop_get_loop(loop), timer, &spec, &spec, false);
    }

    void changeState(pw_stream_state state) {
        if (state == PW_STREAM_STATE_PAUSED && current == nullptr) {
            std::puts("ready");
            std::fflush(stdout);
        }
        if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) pw_main_loop_quit(loop);
        beat(state == PW_STREAM_STATE_STREAMING);
    }
};

/// What the camera can do, as PipeWire puts it.
std::vector<const spa_pod*> described(const std::vector<Offer>& offers, spa_pod_builder& builder) {
    std::vector<const spa_pod*> formats;
    for (const Offer& offer : offers) {
        spa_rectangle size{offer.width, offer.height};
        spa_fraction rate{offer.rate, 1};
        const Format& format = formatOf(offer);
        spa_pod_frame frame{};
        spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                            SPA_FORMAT_mediaSubtype, SPA_POD_Id(format.subtype), SPA_FORMAT_VIDEO_size,
                            SPA_POD_Rectangle(&size), SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
        if (format.subtype == SPA_MEDIA_SUBTYPE_raw)
            spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format, SPA_POD_Id(format.id), 0);
        formats.push_back(static_cast<spa_pod*>(spa_pod_builder_pop(&builder, &frame)));
    }
    return formats;
}

Offer offerFrom(const std::string& word) {
    Offer offer;
    offer.format = word.substr(0, word.find(':'));
    std::sscanf(word.c_str() + offer.format.size(), ":%ux%u@%u", &offer.width, &offer.height, &offer.rate);
    return offer;
}

}  // namespace

int main(int count, char** words) {
    pw_init(nullptr, nullptr);
    gst_init(nullptr, nullptr);
    Camera camera;
    camera.file = words[2];
    for (int i = 3; i < count; ++i)
        camera.offers.push_back(offerFrom(words[i]));
    camera.loop = pw_main_loop_new(nullptr);

    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void* user, pw_stream_state, pw_stream_state state, const char*) {
        static_cast<Camera*>(user)->changeState(state);
    };
    events.param_changed = [](void* user, uint32_t id, const spa_pod* param) {
        if (id == SPA_PARAM_Format) static_cast<Camera*>(user)->choose(param);
    };
    events.process = [](void* user) { static_cast<Camera*>(user)->play(); };
    const auto onTime = [](void* user, uint64_t) {
        pw_stream_trigger_process(static_cast<Camera*>(user)->stream);
    };
    camera.timer = pw_loop_add_timer(pw_main_loop_get_loop(camera.loop), onTime, &camera);

    camera.stream =
        pw_stream_new_simple(pw_main_loop_get_loop(camera.loop), words[1],
                             pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_NODE_NAME, words[1],
                                               PW_KEY_NODE_DESCRIPTION, words[1], nullptr),
                             &events, &camera);
    std::array<uint8_t, 4096> space{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, space.data(), space.size());
    std::vector<const spa_pod*> formats = described(camera.offers, builder);
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS);
    if (pw_stream_connect(camera.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, formats.data(),
                          static_cast<uint32_t>(formats.size())) < 0)
        return 1;
    pw_main_loop_run(camera.loop);
    return 0;
}
