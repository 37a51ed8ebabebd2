#include "platform/linux/camera/program/CameraProblem.h"

namespace {

CameraState stateOf(const GError& error, GstFlowReturn flow) {
    if (flow == GST_FLOW_NOT_NEGOTIATED) return CameraState::noSuchFormat;
    if (error.domain == GST_RESOURCE_ERROR) switch (error.code) {
            case GST_RESOURCE_ERROR_NOT_FOUND:
            case GST_RESOURCE_ERROR_BUSY:
            case GST_RESOURCE_ERROR_OPEN_READ:
            case GST_RESOURCE_ERROR_OPEN_WRITE:
            case GST_RESOURCE_ERROR_OPEN_READ_WRITE:
            case GST_RESOURCE_ERROR_NOT_AUTHORIZED:
                return CameraState::notActivated;
            case GST_RESOURCE_ERROR_SETTINGS:
                return CameraState::noSuchFormat;
            default:
                return CameraState::notReadable;
        }
    if (error.domain == GST_STREAM_ERROR) switch (error.code) {
            case GST_STREAM_ERROR_NOT_IMPLEMENTED:
            case GST_STREAM_ERROR_TYPE_NOT_FOUND:
            case GST_STREAM_ERROR_WRONG_TYPE:
            case GST_STREAM_ERROR_CODEC_NOT_FOUND:
            case GST_STREAM_ERROR_FORMAT:
                return CameraState::noSuchFormat;
            default:
                return CameraState::notReadable;
        }
    const bool isAboutFormat =
        error.domain == GST_CORE_ERROR &&
        (error.code == GST_CORE_ERROR_NEGOTIATION || error.code == GST_CORE_ERROR_CAPS ||
         error.code == GST_CORE_ERROR_PAD || error.code == GST_CORE_ERROR_MISSING_PLUGIN);
    return isAboutFormat ? CameraState::noSuchFormat : CameraState::notReadable;
}

}  // namespace

uint32_t problemNumber(GQuark domain, gint code) {
    uint32_t part = 0;
    if (domain == GST_CORE_ERROR) part = 1;
    if (domain == GST_LIBRARY_ERROR) part = 2;
    if (domain == GST_RESOURCE_ERROR) part = 3;
    if (domain == GST_STREAM_ERROR) part = 4;
    return part << 16 | static_cast<uint16_t>(code);
}

CameraProblem problemIn(GstMessage* message) {
    GError* error = nullptr;
    const GstStructure* details = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    gst_message_parse_error_details(message, &details);
    gint flow = GST_FLOW_OK;
    if (details != nullptr) gst_structure_get(details, "flow-return", GST_TYPE_FLOW_RETURN, &flow, nullptr);
    const CameraProblem problem{stateOf(*error, static_cast<GstFlowReturn>(flow)),
                                problemNumber(error->domain, error->code)};
    g_error_free(error);
    return problem;
}
