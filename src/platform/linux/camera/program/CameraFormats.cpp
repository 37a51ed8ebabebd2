#include "platform/linux/camera/program/CameraFormats.h"

#include <gst/video/video.h>

#include <algorithm>
#include <tuple>

namespace {

constexpr int32_t usualWidth = 640;
constexpr int32_t usualHeight = 480;
constexpr double slowestRate = 10;  // pictures a second
/// The formats without colour. A JPEG may have any.
constexpr const char* greyFormats = "video/x-raw, format = { GRAY8, GRAY16_LE, GRAY16_BE, GRAY10_LE32 }";

/// The values that a field of the caps stands for; a range counts as what of it is nearest to `usual`.
std::vector<int32_t> valuesOf(const GValue* field, int32_t usual) {
    if (field == nullptr) return {0};
    if (G_VALUE_HOLDS_INT(field)) return {g_value_get_int(field)};
    if (GST_VALUE_HOLDS_INT_RANGE(field)) {
        const int32_t least = gst_value_get_int_range_min(field);
        const int32_t most = gst_value_get_int_range_max(field);
        const int32_t step = gst_value_get_int_range_step(field);
        return {least + (std::clamp(usual, least, most) - least) / step * step};
    }
    std::vector<int32_t> values;
    if (GST_VALUE_HOLDS_LIST(field))
        for (guint i = 0; i < gst_value_list_get_size(field); ++i)
            for (const int32_t value : valuesOf(gst_value_list_get_value(field, i), usual))
                values.push_back(value);
    return values;
}

std::vector<CameraSize> sizesOf(const GstStructure* format) {
    std::vector<CameraSize> sizes;
    for (const int32_t width : valuesOf(gst_structure_get_value(format, "width"), usualWidth))
        for (const int32_t height : valuesOf(gst_structure_get_value(format, "height"), usualHeight))
            sizes.push_back({width, height});
    return sizes;
}

/// Pictures in so many seconds; none where that is left open.
struct Rate {
    gint pictures = 0;
    gint seconds = 1;

    [[nodiscard]] double value() const { return static_cast<double>(pictures) / std::max(seconds, 1); }
};

Rate rateFrom(const GValue* fraction) {
    return {gst_value_get_fraction_numerator(fraction), gst_value_get_fraction_denominator(fraction)};
}

bool isBetter(const Rate& one, const Rate& other) {
    if (other.value() < slowestRate) return one.value() > other.value();
    return one.value() >= slowestRate && one.value() < other.value();
}

/// The best of the rates that a field stands for.
Rate bestRate(const GValue* field) {
    if (field == nullptr) return {};
    if (GST_VALUE_HOLDS_FRACTION(field)) return rateFrom(field);
    if (GST_VALUE_HOLDS_FRACTION_RANGE(field)) {
        const Rate least = rateFrom(gst_value_get_fraction_range_min(field));
        const Rate most = rateFrom(gst_value_get_fraction_range_max(field));
        if (most.value() < slowestRate) return most;
        return least.value() > slowestRate ? least : Rate{static_cast<gint>(slowestRate), 1};
    }
    Rate best;
    if (GST_VALUE_HOLDS_LIST(field))
        for (guint i = 0; i < gst_value_list_get_size(field); ++i) {
            const Rate rate = bestRate(gst_value_list_get_value(field, i));
            if (isBetter(rate, best)) best = rate;
        }
    return best;
}

bool isJpeg(const GstStructure* format) {
    return gst_structure_has_name(format, "image/jpeg");
}

/// The format at this size and its best rate; null when it hasn't got the size.
GstPointer<GstStructure> narrowed(const GstStructure* format, const CameraSize& size) {
    const std::vector<CameraSize> sizes = sizesOf(format);
    if (std::find(sizes.begin(), sizes.end(), size) == sizes.end()) return nullptr;
    GstPointer<GstStructure> narrow(gst_structure_copy(format));
    if (size.width > 0) gst_structure_set(narrow.get(), "width", G_TYPE_INT, size.width, nullptr);
    if (size.height > 0) gst_structure_set(narrow.get(), "height", G_TYPE_INT, size.height, nullptr);
    if (const Rate rate = bestRate(gst_structure_get_value(format, "framerate")); rate.pictures > 0)
        gst_structure_set(narrow.get(), "framerate", GST_TYPE_FRACTION, rate.pictures, rate.seconds, nullptr);
    return narrow;
}

}  // namespace

GstPointer<GstCaps> readableCaps(const GstCaps* offered) {
    GstPointer<GstCaps> wanted(gst_caps_from_string("video/x-raw, format = " GST_VIDEO_FORMATS_ALL));
    if (GstPointer<GstElementFactory>(gst_element_factory_find("jpegdec")))
        gst_caps_append(wanted.get(), gst_caps_new_empty_simple("image/jpeg"));
    if (offered == nullptr || gst_caps_is_any(offered)) return wanted;
    // It asks for what it doesn't change.
    auto* const caps = const_cast<GstCaps*>(offered);
    return GstPointer<GstCaps>(gst_caps_intersect_full(caps, wanted.get(), GST_CAPS_INTERSECT_FIRST));
}

std::vector<CameraSize> sizesOf(const GstCaps* readable) {
    std::vector<CameraSize> sizes;
    for (guint i = 0; i < gst_caps_get_size(readable); ++i)
        for (const CameraSize& size : sizesOf(gst_caps_get_structure(readable, i)))
            if (std::find(sizes.begin(), sizes.end(), size) == sizes.end()) sizes.push_back(size);
    return sizes;
}

bool isGreyOnly(const GstCaps* readable) {
    const GstPointer<GstCaps> grey(gst_caps_from_string(greyFormats));
    return gst_caps_is_empty(readable) == FALSE && gst_caps_is_subset(readable, grey.get()) != FALSE;
}

GstPointer<GstCaps> chosenCaps(const GstCaps* readable, const CameraSize& size) {
    GstPointer<GstStructure> best;
    std::tuple<bool, bool, double> bestMerit;
    for (guint i = 0; i < gst_caps_get_size(readable); ++i) {
        GstPointer<GstStructure> format = narrowed(gst_caps_get_structure(readable, i), size);
        if (format == nullptr) continue;
        const double rate = bestRate(gst_structure_get_value(format.get(), "framerate")).value();
        const bool isFast = rate == 0 || rate >= slowestRate;
        // The first of those that are equal.
        const std::tuple merit(isFast, !isJpeg(format.get()), isFast ? -rate : rate);
        if (best != nullptr && merit <= bestMerit) continue;
        best = std::move(format);
        bestMerit = merit;
    }
    if (best == nullptr) return nullptr;
    return GstPointer<GstCaps>(gst_caps_new_full(best.release(), nullptr));
}
