#include "core/modes/CameraTestMode.h"

#include <algorithm>
#include <charconv>
#include <mutex>

#include "core/Companion.h"
#include "core/modes/RunOutput.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Ticks.h"
#include "platform/system.h"

namespace {

constexpr int32_t enrollSecond = 2;  // counted from 0: by then there are pictures

/// False when the program is asked to end.
bool waitUntil(uint64_t end) {
    constexpr uint64_t slice = 50;
    for (uint64_t now = tickCount(); now < end; now = tickCount()) {
        if (terminationRequested()) return false;
        (void)pauseUnlessCancelled(std::min(slice, end - now), nullptr);
    }
    return true;
}

std::string lineOf(int32_t second, const Sighting& sighting) {
    return "t=" + std::to_string(second) + " present=" + (sighting.present ? "1" : "0") +
           " nx=" + std::to_string(sighting.nx) + " ny=" + std::to_string(sighting.ny) + " name='" +
           sighting.name + "'\n";
}

}  // namespace

CameraTestOrder cameraTestOrder(const std::string& arguments, const std::string& commandLine) {
    CameraTestOrder order;
    const char* const begin = arguments.data() + std::min(arguments.find_first_not_of(' '), arguments.size());
    std::from_chars(begin, arguments.data() + arguments.size(), order.seconds);
    order.enroll = commandLine.find("--enroll") != std::string::npos;
    return order;
}

int runCameraTestMode(Companion& companion, const CameraTestOrder& order) {
    Eyes& eyes = companion.eyes;
    if (!eyes.loadModels(companion.bringUp.faceModels)) {
        RunOutput::writeWhole("[error] models\n");
        return 1;
    }
    catchTermination();
    std::mutex mutex;
    std::string text;  // guarded by `mutex`: the camera's thread complains
    const auto add = [&](const std::string& line) {
        const std::lock_guard guard(mutex);
        text += line;
    };
    eyes.onProblem = [&](const std::string& sentence) { add("[problem] " + sentence + "\n"); };
    eyes.debugImagePath = joinPath(dataFolder(), "cam-debug.png");
    (void)eyes.start("");
    const uint64_t begin = tickCount();
    for (int32_t second = 0; second < order.seconds; ++second) {
        if (!waitUntil(begin + 1000 * static_cast<uint64_t>(second + 1))) break;
        const Sighting sighting = eyes.sighting();
        if (second == enrollSecond && order.enroll) add("[enroll] " + eyes.learnFace("Tester") + "\n");
        add(lineOf(second + 1, sighting));
    }
    eyes.stop();
    RunOutput::writeWhole(text);
    return 0;
}
