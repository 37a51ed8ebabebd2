// A stand-in for whisper.cpp's whisper-server: it takes the command line that Velu gives the real one,
// answers the routes that Velu uses in the same form, and hears what a script beside the executable tells it
// to. No model is involved.

#include <httplib.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "support/StandIn.h"

using nlohmann::json;

namespace {

using Samples = std::vector<int16_t>;

/// How the stand-in behaves. As JSON, where everything may be left out and unknown keys are an error:
///
///     {"default": " words", "tones": {"400": " words"}, "delayMs": 0, "status": 200, "body": "raw answer",
///      "readyAfterMs": 0, "neverReady": false, "exitAtStart": false, "exitAtInference": false}
struct Script {
    /// What is heard in a tone of so many hertz, and in anything else.
    std::map<int32_t, std::string> tones = {{400, " Velu, what time is it?"},
                                            {1000, " Velu."},
                                            {1600, " [Music]"},
                                            {2500, " And then what"},
                                            {4000, " Velu, tell me a long story please!"}};
    std::string otherwise;
    int32_t delayMs;   ///< before each answer
    int32_t status;    ///< of the answers
    std::string body;  ///< in place of the answers, unless empty
    int32_t readyAfterMs;
    bool neverReady;
    bool exitAtStart;
    bool exitAtInference;

    explicit Script(const json& script)
        : otherwise(
              script.value("default", " Velu, this is what the stand-in for speech recognition hears.")),
          delayMs(script.value("delayMs", 0)),
          status(script.value("status", 200)),
          body(script.value("body", "")),
          readyAfterMs(script.value("readyAfterMs", 0)),
          neverReady(script.value("neverReady", false)),
          exitAtStart(script.value("exitAtStart", false)),
          exitAtInference(script.value("exitAtInference", false)) {
        checkKeys(script, {"default", "tones", "delayMs", "status", "body", "readyAfterMs", "neverReady",
                           "exitAtStart", "exitAtInference"});
        const json scripted = script.value("tones", json::object());
        for (const auto& [hertz, words] : scripted.items())
            tones[std::stoi(hertz)] = words;
    }
};

constexpr size_t headerBytes = 44;
constexpr size_t window = 4800;  // 0.3 s
constexpr size_t hop = 800;

uint32_t numberAt(const std::string& bytes, size_t position) {
    uint32_t number = 0;
    std::memcpy(&number, bytes.data() + position, sizeof number);
    return number;
}

/// Returns the samples of a WAV file; nothing unless it is complete, 16 bit, mono, 16 kHz and not empty.
std::optional<Samples> samplesOf(const std::string& wav) {
    if (wav.size() < headerBytes + 2 || wav.substr(0, 4) != "RIFF" || wav.substr(8, 8) != "WAVEfmt " ||
        wav.substr(36, 4) != "data" || numberAt(wav, 4) != wav.size() - 8 || numberAt(wav, 20) != 0x10001 ||
        numberAt(wav, 24) != 16000 || numberAt(wav, 28) != 32000 || numberAt(wav, 32) != 0x100002 ||
        numberAt(wav, 40) != wav.size() - headerBytes)
        return std::nullopt;
    Samples samples((wav.size() - headerBytes) / 2);
    std::memcpy(samples.data(), wav.data() + headerBytes, samples.size() * 2);
    return samples;
}

/// Returns a tone's share of the energy of a window, 0 to 1.
double shareOf(int32_t hertz, const int16_t* samples) {
    const double step = 2 * std::cos(2 * M_PI * hertz / 16000);
    double last = 0;
    double beforeLast = 0;
    double energy = 1;  // digital silence has no tone in it
    for (size_t i = 0; i < window; ++i) {
        const double now = samples[i] + step * last - beforeLast;
        beforeLast = last;
        last = now;
        energy += static_cast<double>(samples[i]) * samples[i];
    }
    const double power = last * last + beforeLast * beforeLast - step * last * beforeLast;
    return power * 2 / (static_cast<double>(window) * energy);
}

/// Returns what is heard: the text of the first known tone that lasts 0.3 s.
std::string textFor(const Script& script, const Samples& samples) {
    for (size_t start = 0; start + window <= samples.size(); start += hop) {
        for (const auto& [hertz, text] : script.tones) {
            if (shareOf(hertz, samples.data() + start) >= 0.5) return text;
        }
    }
    return script.otherwise;
}

void answer(const StandIn& standIn, const Script& script, const httplib::Request& request,
            httplib::Response& response) {
    static std::mutex slot;  // the real one does one transcription at a time
    const std::lock_guard lock(slot);
    const auto samples =
        request.has_file("file") ? samplesOf(request.get_file_value("file").content) : std::nullopt;
    if (!samples) {
        response.status = 400;
        return response.set_content("Invalid request", "text/plain");
    }
    json fields = json::object();
    for (const auto& [name, part] : request.files) {
        if (part.filename.empty()) fields[name] = part.content;
    }
    standIn.record({{"fields", fields}, {"seconds", static_cast<double>(samples->size()) / 16000}});
    if (script.exitAtInference) std::_Exit(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(script.delayMs));
    response.status = script.status;
    const json heard = {{"text", textFor(script, *samples) + "\n"}};
    response.set_content(script.body.empty() ? heard.dump() : script.body, "application/json");
}

}  // namespace

int main(int argc, char** argv) {
    StandIn standIn(argc, argv, {"-m", "--host", "--port", "-t", "-ac", "-l"});
    const Script script(standIn.script);
    if (script.exitAtStart) fail("stand-in: ending at once, as the script says");
    // Like the real one it doesn't listen before the model is loaded.
    while (script.neverReady)
        std::this_thread::sleep_for(std::chrono::hours(1));
    std::this_thread::sleep_for(std::chrono::milliseconds(script.readyAfterMs));

    httplib::Server server;  // which shares a taken port silently, as the real one does
    server.Get("/", [](const httplib::Request&, httplib::Response& response) {
        response.set_content("a stand-in for whisper-server, without a speech model", "text/plain");
    });
    server.Post("/inference", [&](const httplib::Request& request, httplib::Response& response) {
        answer(standIn, script, request, response);
    });
    std::fprintf(stderr, "stand-in for whisper-server, without a speech model\n");
    server.listen(standIn.options["--host"], std::atoi(standIn.options["--port"].c_str()));
    fail("error: couldn't bind to the port");
}
