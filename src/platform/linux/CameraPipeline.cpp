#include "platform/linux/CameraPipeline.h"

#include <gst/app/gstappsink.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "platform/linux/CameraFormats.h"
#include "platform/linux/CameraProblem.h"
#include "platform/linux/GstCameras.h"
#include "platform/linux/PipeWireConnection.h"

namespace {

using Shared = std::shared_ptr<CameraPipeline>;

constexpr const char* converterName = "converter";

/// What GStreamer's callbacks hold on to, and how they let it go.
Shared* held(const Shared& pipeline) {
    return new Shared(pipeline);
}

void release(gpointer pipeline) {
    delete static_cast<Shared*>(pipeline);
}

CameraPipeline& of(gpointer pipeline) {
    return **static_cast<Shared*>(pipeline);
}

void failLocked(CameraPipeline& pipeline, CameraState why, uint32_t number) {
    const std::lock_guard lock(CameraRoom::shared().mutex);
    pipeline.fail(why, number);
}

/// Called by the thread that brings the pictures, as are the next three.
GstPadProbeReturn lookAtPicture(GstPad*, GstPadProbeInfo* info, gpointer user) {
    CameraPipeline& pipeline = of(user);
    const std::lock_guard lock(CameraRoom::shared().mutex);
    pipeline.heardAt = CameraPipeline::Clock::now();
    const bool isWhole = !GST_BUFFER_FLAG_IS_SET(GST_PAD_PROBE_INFO_BUFFER(info), GST_BUFFER_FLAG_CORRUPTED);
    if (pipeline.wanted == 0 || !isWhole) return GST_PAD_PROBE_DROP;
    pipeline.passing = pipeline.wanted;
    return GST_PAD_PROBE_OK;
}

GstFlowReturn takePicture(GstAppSink* sink, gpointer user) {
    CameraPipeline& pipeline = of(user);
    GstPointer<GstSample> picture(gst_app_sink_pull_sample(sink));
    const std::lock_guard lock(CameraRoom::shared().mutex);
    // Somebody may have come to want a newer one while this was unpacked. What isn't taken is freed after the
    // lock, for that may ask the driver.
    if (picture == nullptr || pipeline.passing != pipeline.wanted) return GST_FLOW_OK;
    pipeline.picture.swap(picture);
    pipeline.hasBroughtPicture = true;
    pipeline.wanted = 0;
    CameraRoom::shared().changed.notify_all();
    return GST_FLOW_OK;
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

/// Called by whichever thread has something to say.
GstBusSyncReply hearMessage(GstBus*, GstMessage* message, gpointer user) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        const CameraProblem problem = problemIn(message);
        failLocked(of(user), problem.state, problem.number);
    } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
        failLocked(of(user), CameraState::notReadable, 0);
    }
    gst_message_unref(message);
    return GST_BUS_DROP;
}

/// The source of a camera's pictures and what to ask it for, null when there is no way to get any.
struct Source {
    GstElement* element = nullptr;  ///< floating
    GstPointer<GstCaps> caps;
    FileDescriptor connection;  ///< that it uses, in the case of PipeWire's
};

struct Built {
    FileDescriptor connection;
    GstPointer<GstElement> pipeline;  ///< at rest; null when it can't be, and then it has failed
};

Source findSource(CameraPipeline& pipeline) {
    const CameraSystem system = systemOf(pipeline.device.id);
    std::vector<FoundCamera> cameras = findCameras(system);
    const auto isIt = [&](const FoundCamera& camera) { return camera.listed.id == pipeline.device.id; };
    const auto found = std::find_if(cameras.begin(), cameras.end(), isIt);
    Source source;
    if (found != cameras.end()) source.element = gst_device_create_element(found->device.get(), nullptr);
    if (source.element == nullptr) {
        const uint32_t number = problemNumber(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_FOUND);
        failLocked(pipeline, CameraState::notActivated, number);
        return source;
    }
    source.caps = chosenCaps(found->readable.get(), pipeline.size);
    if (system == CameraSystem::pipewire) {
        source.connection = connectToPipeWire();
        g_object_set(source.element, "fd", source.connection.number, nullptr);
    }
    if (source.caps != nullptr && system == CameraSystem::pipewire) {
        // Another program may have the camera running already, and then it comes as that wanted it.
        gst_caps_append(source.caps.get(), gst_caps_ref(found->readable.get()));
        // When it is gone it is gone: its user didn't mean the next best camera.
        const GstPointer<GstStructure> properties(
            gst_structure_new("properties", "node.dont-reconnect", G_TYPE_STRING, "true", nullptr));
        g_object_set(source.element, "stream-properties", properties.get(), nullptr);
    }
    return source;
}

Built build(const Shared& shared) {
    Source source = findSource(*shared);
    if (source.element == nullptr) return {};
    GstPointer<GstElement> pipeline(gst_pipeline_new(nullptr));
    gst_bin_add(GST_BIN(pipeline.get()), source.element);
    GstElement* const filter = gst_element_factory_make("capsfilter", nullptr);
    GstElement* const convert = gst_element_factory_make("videoconvert", converterName);
    GstElement* const sink = gst_element_factory_make("appsink", nullptr);
    for (GstElement* const element : {filter, convert, sink})
        if (element != nullptr) gst_bin_add(GST_BIN(pipeline.get()), element);
    if (source.caps == nullptr || filter == nullptr || convert == nullptr || sink == nullptr) {
        const uint32_t number = problemNumber(GST_STREAM_ERROR, GST_STREAM_ERROR_FORMAT);
        failLocked(*shared, CameraState::noSuchFormat, number);
        return {};
    }
    g_object_set(filter, "caps", source.caps.get(), nullptr);
    const GstPointer<GstCaps> pixels(gst_caps_from_string("video/x-raw, format = BGRA"));
    g_object_set(sink, "caps", pixels.get(), "max-buffers", 1, "drop", TRUE, "sync", FALSE, "async", FALSE,
                 "enable-last-sample", FALSE, nullptr);
    gst_element_link(source.element, filter);
    gst_element_link(convert, sink);

    GstPad* const pad = gst_element_get_static_pad(filter, "src");
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, lookAtPicture, held(shared), release);
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, connectDecoder, nullptr, nullptr);
    gst_object_unref(pad);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = takePicture;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink), &callbacks, held(shared), release);
    GstBus* const bus = gst_element_get_bus(pipeline.get());
    gst_bus_set_sync_handler(bus, hearMessage, held(shared), release);
    gst_object_unref(bus);
    return {std::move(source.connection), std::move(pipeline)};
}

/// What the thread of a pipeline does.
void run(const Shared& shared) {
    CameraRoom& room = CameraRoom::shared();
    if (Built built = build(shared); built.pipeline != nullptr) {
        // A failure to start has told its reason already.
        if (gst_element_set_state(built.pipeline.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE)
            failLocked(*shared, CameraState::notReadable, 0);
        {
            std::unique_lock lock(room.mutex);
            room.changed.wait(lock, [&] { return shared->isLetGo || shared->state != CameraState::running; });
        }
        if (built.connection.isOpen() && isConnectionLost(built.connection)) {
            // It stays as it is, and its connection, by whose number its own are told from others.
            static_cast<void>(built.pipeline.release());
            built.connection.number = -1;
        } else {
            gst_element_set_state(built.pipeline.get(), GST_STATE_NULL);
        }
    }
    const std::lock_guard lock(room.mutex);
    shared->isOver = true;
    if (shared->isLetGo) room.leaving.erase(room.leaving.find(shared->device.id));
    room.changed.notify_all();
}

}  // namespace

CameraRoom& CameraRoom::shared() {
    static auto& room = *new CameraRoom;
    return room;
}

std::shared_ptr<CameraPipeline> CameraPipeline::start(const CameraDevice& device, const CameraSize& size) {
    auto pipeline = std::make_shared<CameraPipeline>(device, size);
    pipeline->want();
    std::thread(run, pipeline).detach();
    return pipeline;
}

void CameraPipeline::fail(CameraState why, uint32_t number) {
    if (state != CameraState::running) return;
    state = hasBroughtPicture ? CameraState::ended : why;
    error = number;
    CameraRoom::shared().changed.notify_all();
}

void CameraPipeline::letGo() {
    if (isLetGo) return;
    isLetGo = true;
    if (!isOver) CameraRoom::shared().leaving.insert(device.id);
    CameraRoom::shared().changed.notify_all();
}
