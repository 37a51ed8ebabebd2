#include "core/modes/MicCaptureMode.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <string_view>
#include <thread>
#include <vector>

#include "core/CommandLine.h"
#include "core/Companion.h"
#include "foundation/Files.h"
#include "foundation/Log.h"
#include "hearing/Transcription.h"
#include "platform/system.h"

MicCaptureOrder micCaptureOrder(const std::string& arguments) {
    using std::string_view;
    constexpr string_view deviceSwitch = "--dev ";
    MicCaptureOrder order;
    string_view text = arguments;
    const size_t device = text.find(deviceSwitch);
    if (device != string_view::npos) {
        order.device = stripQuotes(text.substr(device + deviceSwitch.size()));
        text = text.substr(0, device);
    }
    const bool isQuoted = text.starts_with('"');
    if (isQuoted) text.remove_prefix(1);
    const size_t end = std::min(isQuoted ? text.rfind('"') : text.find(' '), text.size());
    order.path = text.substr(0, end);
    text = text.substr(std::min(text.find_first_not_of(" \"", end), text.size()));
    std::from_chars(text.data(), text.data() + text.size(), order.seconds);
    return order;
}

int runMicCaptureMode(Companion& companion, const MicCaptureOrder& order) {
    logLine("miccap out='%s' secs=%d", order.path.c_str(), order.seconds);
    if (order.path.empty()) {
        std::fprintf(stderr, "velu: --miccap needs a file to record into; --help tells more.\n");
        return 2;
    }
    catchTermination();
    std::vector<int16_t> samples;
    Ears& ears = companion.ears;
    ears.setDevice(order.device);
    ears.onAudio = [&](const int16_t* heard, size_t count) {
        samples.insert(samples.end(), heard, heard + count);
    };
    ears.onProblem = [](const std::string& sentence) {
        std::fprintf(stderr, "velu: %s\n", sentence.c_str());
    };
    (void)ears.start();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(order.seconds);
    while (!terminationRequested() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_until(
            std::min(end, std::chrono::steady_clock::now() + std::chrono::milliseconds(50)));
    ears.stop();
    if (writeWholeFile(order.path, buildWav(samples))) return 0;
    std::fprintf(stderr, "velu: can't write %s\n", order.path.c_str());
    return 1;
}
