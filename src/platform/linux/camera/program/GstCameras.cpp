#include "platform/linux/camera/program/GstCameras.h"

#include <algorithm>
#include <utility>

#include "platform/linux/camera/program/CameraFormats.h"
#include "platform/linux/camera/program/PipeWireConnection.h"

namespace {

/// What the ids begin with.
constexpr const char* v4l2Mark = "v4l2:";
constexpr const char* pipewireMark = "pipewire:";

std::string textOf(const GstStructure* properties, const char* field) {
    const char* const text = properties != nullptr ? gst_structure_get_string(properties, field) : nullptr;
    return text != nullptr ? text : "";
}

FoundCamera describe(GstPointer<GstDevice> device, CameraSystem system) {
    FoundCamera camera;
    GstPointer<GstStructure> properties(gst_device_get_properties(device.get()));
    const GstPointer<GstCaps> offered(gst_device_get_caps(device.get()));
    if (system == CameraSystem::v4l2) {
        camera.file = textOf(properties.get(), "device.path");
        camera.listed.id = v4l2Mark + camera.file;
    } else {
        camera.file = textOf(properties.get(), "api.v4l2.path");
        camera.listed.id = pipewireMark + textOf(properties.get(), "object.serial");
    }
    if (gchar* const name = gst_device_get_display_name(device.get())) {
        camera.listed.name = name;
        g_free(name);
    }
    camera.readable = readableCaps(offered.get());
    camera.listed.isGrey = isGreyOnly(camera.readable.get());
    camera.listed.sizes = sizesOf(camera.readable.get());
    camera.device = std::move(device);
    return camera;
}

}  // namespace

CameraSystem systemOf(const std::string& id) {
    return id.rfind(v4l2Mark, 0) == 0 ? CameraSystem::v4l2 : CameraSystem::pipewire;
}

std::vector<FoundCamera> findCameras(CameraSystem system) {
    if (gst_init_check(nullptr, nullptr, nullptr) == FALSE) return {};
    const char* const name = system == CameraSystem::v4l2 ? "v4l2deviceprovider" : "pipewiredeviceprovider";
    const GstPointer<GstDeviceProvider> provider(gst_device_provider_factory_get_by_name(name));
    if (provider == nullptr) return {};
    FileDescriptor connection;
    if (system == CameraSystem::pipewire) {
        connection = connectToPipeWire();
        if (!connection.isOpen()) return {};
        g_object_set(provider.get(), "fd", connection.number, nullptr);
    }
    // Not by a GstDeviceMonitor: stopping one spoils the memory of PipeWire 0.3.65.
    GList* const devices = gst_device_provider_get_devices(provider.get());
    std::vector<FoundCamera> cameras;
    for (GList* at = devices; at != nullptr; at = at->next) {
        GstPointer<GstDevice> device(GST_DEVICE(at->data));
        if (gst_device_has_classes(device.get(), "Video/Source") != FALSE)
            cameras.push_back(describe(std::move(device), system));
    }
    g_list_free(devices);
    // In the order in which they came, which providers turn round: /dev/video2 is before /dev/video10.
    std::sort(cameras.begin(), cameras.end(), [](const FoundCamera& one, const FoundCamera& other) {
        const std::string &left = one.listed.id, &right = other.listed.id;
        return std::pair(left.size(), left) < std::pair(right.size(), right);
    });
    return cameras;
}
