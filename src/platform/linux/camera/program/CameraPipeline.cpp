#include "platform/linux/camera/program/CameraPipeline.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>
#include <vector>

#include "platform/linux/camera/program/CameraFormats.h"
#include "platform/linux/camera/program/PipeWireConnection.h"

namespace {

constexpr const char* converterName = "converter";

/// A picture that is due for so long makes one look whether the camera is still there, again and again.
constexpr std::chrono::milliseconds patience(1000);

std::vector<FoundCamera>::const_iterator cameraWith(const std::string& id,
                                                    const std::vector<FoundCamera>& cameras) {
    return std::find_if(cameras.begin(), cameras.end(),
                        [&](const FoundCamera& camera) { return camera.listed.id == id; });
}

CameraPipeline& of(void* user) {
    return *static_cast<CameraPipeline*>(user);
}

/// Only now it is known whether the camera's pictures must be unpacked.
GstPadProbeReturn connectDecoder(GstPad* pad, GstPadProbeInfo* info, gpointer) {
    GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) != GST_EVENT_CAPS) return GST_PAD_PROBE_OK;
    GstCaps* caps = nullptr;
    gst_event_parse_caps(event, &caps);
    const GstPointer<GstElement> filter(gst_pad_get_parent_element(pad));
    const GstPointer<GstObject> pipeline(gst_element_get_parent(filter.get()));
    const GstPointer<GstElement> convert(gst_bin_get_by_name(GST_BIN(pipeline.get()), converterName));
    GstElement* decoder = nullptr;
    if (gst_structure_has_name(gst_caps_get_structure(caps, 0), "image/jpeg"))
        decoder = gst_element_factory_make("jpegdec", nullptr);
    if (decoder == nullptr) {
        gst_element_link(filter.get(), convert.get());
    } else {
        gst_bin_add(GST_BIN(pipeline.get()), decoder);
        gst_element_link_many(filter.get(), decoder, convert.get(), nullptr);
        gst_element_sync_state_with_parent(decoder);
    }
    return GST_PAD_PROBE_REMOVE;
}

}  // namespace

CameraPipeline::CameraPipeline(const std::string& id, const CameraSize& size)
    : id(id), changed(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    build(size);
    // A failure to start has told its reason already.
    if (pipeline != nullptr &&
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE)
        fail({CameraState::notReadable, 0});
}

void CameraPipeline::want(uint32_t number) {
    const std::lock_guard lock(mutex);
    if (wanted == 0) dueSince = Clock::now();
    wanted = std::max(wanted, number);
}

void CameraPipeline::wait(int channel) {
    std::array<pollfd, 3> sources{
        {{changed.number, POLLIN, 0}, {channel, POLLIN, 0}, {connection.number, POLLRDHUP, 0}}};
    poll(sources.data(), sources.size(), millisecondsUntilLook());
    eventfd_t count = 0;
    eventfd_read(changed.number, &count);
    // PipeWire's source tells neither that PipeWire has ended nor that the camera is gone.
    if (sources[2].revents != 0)
        fail({CameraState::notReadable, problemNumber(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_READ)});
    if (millisecondsUntilLook() == 0) look();
}

int CameraPipeline::millisecondsUntilLook() {
    const std::lock_guard lock(mutex);
    if (wanted == 0 || !connection.isOpen()) return -1;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(std::max(dueSince, lookedAt) + patience - Clock::now());
    return static_cast<int>(std::max<int64_t>(left.count(), 0));
}

void CameraPipeline::look() {
    const std::vector<FoundCamera> cameras = findCameras(systemOf(id));
    lookedAt = Clock::now();
    if (cameraWith(id, cameras) == cameras.end())
        fail({CameraState::notActivated, problemNumber(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_FOUND)});
}

CameraPipeline::Wanted CameraPipeline::take() {
    const std::lock_guard lock(mutex);
    return std::exchange(come, {});
}

std::optional<CameraProblem> CameraPipeline::problem() {
    const std::lock_guard lock(mutex);
    return failure;
}

void CameraPipeline::fail(const CameraProblem& problem) {
    const std::lock_guard lock(mutex);
    if (!failure) failure = problem;  // the first reason counts
    eventfd_write(changed.number, 1);
}

/// Called by the thread that brings the pictures, as is `takePicture`.
GstPadProbeReturn CameraPipeline::lookAtPicture(GstPad*, GstPadProbeInfo* info, void* user) {
    CameraPipeline& self = of(user);
    if (GST_BUFFER_FLAG_IS_SET(GST_PAD_PROBE_INFO_BUFFER(info), GST_BUFFER_FLAG_CORRUPTED))
        return GST_PAD_PROBE_DROP;
    const std::lock_guard lock(self.mutex);
    if (self.wanted == 0) return GST_PAD_PROBE_DROP;
    self.passing = self.wanted;
    return GST_PAD_PROBE_OK;
}

GstFlowReturn CameraPipeline::takePicture(GstAppSink* sink, void* user) {
    CameraPipeline& self = of(user);
    Wanted picture{GstPointer<GstSample>(gst_app_sink_pull_sample(sink)), 0};
    if (picture.picture == nullptr) return GST_FLOW_OK;
    const std::lock_guard lock(self.mutex);
    picture.number = self.passing;
    if (self.wanted == self.passing) self.wanted = 0;  // until now it could turn out to be no picture
    std::swap(self.come, picture);  // what wasn't taken is freed after the lock, for that may ask the driver
    eventfd_write(self.changed.number, 1);
    return GST_FLOW_OK;
}

/// Called by whichever thread has something to say.
GstBusSyncReply CameraPipeline::hearMessage(GstBus*, GstMessage* message, void* user) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) of(user).fail(problemIn(message));
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) of(user).fail({CameraState::notReadable, 0});
    gst_message_unref(message);
    return GST_BUS_DROP;
}

/// The source of the camera's pictures, floating, with `caps` for it; null, with a problem, without one.
GstElement* CameraPipeline::findSource(const CameraSize& size) {
    const CameraSystem system = systemOf(id);
    const std::vector<FoundCamera> cameras = findCameras(system);
    const auto found = cameraWith(id, cameras);
    GstElement* source = nullptr;
    if (found != cameras.end()) source = gst_device_create_element(found->device.get(), nullptr);
    if (source == nullptr) {
        fail({CameraState::notActivated, problemNumber(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_FOUND)});
        return nullptr;
    }
    caps = chosenCaps(found->readable.get(), size);
    if (system == CameraSystem::v4l2) return source;
    connection = connectToPipeWire();
    // When it is gone it is gone: its user didn't mean the next best camera.
    const GstPointer<GstStructure> properties(
        gst_structure_new("properties", "node.dont-reconnect", G_TYPE_STRING, "true", nullptr));
    g_object_set(source, "fd", connection.number, "stream-properties", properties.get(), nullptr);
    // Another program may have the camera running already, and then it comes as that wanted it.
    if (caps != nullptr) gst_caps_append(caps.get(), gst_caps_ref(found->readable.get()));
    return source;
}

void CameraPipeline::build(const CameraSize& size) {
    GstElement* const source = findSource(size);
    if (source == nullptr) return;
    GstPointer<GstElement> built(gst_pipeline_new(nullptr));
    GstElement* const filter = gst_element_factory_make("capsfilter", nullptr);
    GstElement* const convert = gst_element_factory_make("videoconvert", converterName);
    GstElement* const sink = gst_element_factory_make("appsink", nullptr);
    for (GstElement* const element : {source, filter, convert, sink})
        if (element != nullptr) gst_bin_add(GST_BIN(built.get()), element);
    if (caps == nullptr || filter == nullptr || convert == nullptr || sink == nullptr) {
        fail({CameraState::noSuchFormat, problemNumber(GST_STREAM_ERROR, GST_STREAM_ERROR_FORMAT)});
        return;
    }
    g_object_set(filter, "caps", caps.get(), nullptr);
    const GstPointer<GstCaps> pixels(gst_caps_from_string("video/x-raw, format = BGRA"));
    g_object_set(sink, "caps", pixels.get(), "max-buffers", 1, "drop", TRUE, "sync", FALSE, "async", FALSE,
                 "enable-last-sample", FALSE, nullptr);
    gst_element_link(source, filter);
    gst_element_link(convert, sink);

    GstPad* const pad = gst_element_get_static_pad(filter, "src");
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, lookAtPicture, this, nullptr);
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, connectDecoder, nullptr, nullptr);
    gst_object_unref(pad);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = takePicture;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink), &callbacks, this, nullptr);
    GstBus* const bus = gst_element_get_bus(built.get());
    gst_bus_set_sync_handler(bus, hearMessage, this, nullptr);
    gst_object_unref(bus);
    pipeline = std::move(built);
}
