#include "core/modes/CaptureMode.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>
#include <string_view>

#include "core/HeadStart.h"
#include "core/Placement.h"
#include "foundation/Log.h"
#include "platform/desktop.h"
#include "presence/HeadRenderer.h"

namespace {

/// What stands behind the switch; nothing without the switch.
std::optional<std::string_view> behind(std::string_view commandLine, std::string_view wanted) {
    const size_t at = commandLine.find(wanted);
    if (at == std::string_view::npos) return std::nullopt;
    return commandLine.substr(at + wanted.size());
}

/// The number that the text begins with, 0 if it doesn't.
template <typename Number>
Number leadingNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    if (text.starts_with('+')) text.remove_prefix(1);
    Number number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return std::isfinite(static_cast<double>(number)) ? number : 0;
}

}  // namespace

CaptureOrder captureOrder(const std::string& commandLine) {
    CaptureOrder order;
    order.pose.pitch = -4;
    order.pose.eyeGlow = 0.25F;
    order.pose.earGlow = 0.1F;
    if (const auto path = behind(commandLine, "--shot ")) order.path = path->substr(0, path->find(' '));
    if (const auto size = behind(commandLine, "--size ")) order.height = leadingNumber<int32_t>(*size);
    if (const auto jaw = behind(commandLine, "--jaw ")) order.pose.jaw = leadingNumber<float>(*jaw);
    if (const auto yaw = behind(commandLine, "--yaw ")) order.pose.yaw = leadingNumber<float>(*yaw);
    order.withAlpha = behind(commandLine, "--alpha").has_value();
    return order;
}

int runCaptureMode(const std::string& commandLine, int32_t sizePx) {
    const CaptureOrder order = captureOrder(commandLine);
    const int32_t height = order.height ? *order.height : headSize(sizePx, systemDpi()).height;
    constexpr int32_t least = 2;  // for a width of 1
    constexpr int32_t most = 4096;
    if (height < least || height > most) {
        logLine("a picture can't be %d pixels high, only %d to %d", height, least, most);
        return 1;
    }
    const int32_t width = height * 85 / 100;
    std::string problem;
    const std::unique_ptr<HeadSurface> surface = HeadSurface::offscreen(problem);
    HeadRenderer renderer;
    if (!startRenderer(renderer, surface.get(), problem, width, height)) return 1;
    if (!order.path.empty() && renderer.capture(order.path, order.pose, order.withAlpha)) return 0;
    logLine("couldn't write the picture %s", order.path.c_str());
    return 2;
}
