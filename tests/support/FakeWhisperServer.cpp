// A stand-in for whisper.cpp's whisper-server: it takes the command line that Velu gives the real one,
// answers the routes that Velu uses in the same form, and hears what a script beside the executable tells it
// to. No model is involved.

#include <httplib.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

#include "support/SpeechScript.h"
#include "support/StandIn.h"

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

/// The options that Velu uses, and no others; each has a value.
std::map<std::string, std::string> readOptions(const std::vector<std::string>& arguments) {
    std::map<std::string, std::string> options = {{"-m", ""}, {"--host", ""}, {"--port", ""},
                                                  {"-t", ""}, {"-ac", ""},    {"-l", ""}};
    for (size_t i = 0; i < arguments.size(); i += 2) {
        const auto option = options.find(arguments[i]);
        if (option == options.end()) fail("error: unknown argument: " + arguments[i]);
        if (i + 1 == arguments.size()) fail("error: " + arguments[i] + " without a value");
        option->second = arguments[i + 1];
    }
    for (const auto& [name, value] : options) {
        if (value.empty()) fail("error: this stand-in needs " + name);
    }
    return options;
}

uint32_t numberAt(const std::string& bytes, size_t position, size_t width) {
    uint32_t number = 0;
    for (size_t i = 0; i < width; ++i)
        number |= static_cast<uint32_t>(static_cast<uint8_t>(bytes[position + i])) << 8 * i;
    return number;
}

/// The samples of a WAV file; nothing unless it is whole, 16 bit, mono, of 16 kHz and not empty.
std::optional<std::vector<int16_t>> samplesOf(const std::string& wav) {
    if (wav.size() < 12 || wav.substr(0, 4) != "RIFF" || wav.substr(8, 4) != "WAVE" ||
        numberAt(wav, 4, 4) + 8 != wav.size())
        return std::nullopt;
    bool isKnown = false;
    size_t size = 0;
    for (size_t chunk = 12; chunk + 8 <= wav.size(); chunk += 8 + size + size % 2) {
        const std::string name = wav.substr(chunk, 4);
        size = numberAt(wav, chunk + 4, 4);
        if (size > wav.size() - chunk - 8) return std::nullopt;
        if (name == "fmt " && size >= 16)
            isKnown = numberAt(wav, chunk + 8, 4) == 0x10001 && numberAt(wav, chunk + 12, 4) == 16000 &&
                      numberAt(wav, chunk + 16, 4) == 32000 && numberAt(wav, chunk + 20, 4) == 0x100002;
        if (name != "data") continue;
        if (!isKnown || size < 2) return std::nullopt;
        std::vector<int16_t> samples(size / 2);
        std::memcpy(samples.data(), wav.data() + chunk + 8, samples.size() * 2);
        return samples;
    }
    return std::nullopt;
}

double levelOf(const std::vector<int16_t>& samples) {
    double energy = 0;
    for (const int16_t sample : samples)
        energy += static_cast<double>(sample) * sample;
    return std::sqrt(energy / static_cast<double>(samples.size()));
}

/// The whole server; constant once it runs.
struct Engine {
    SpeechScript script;
    std::filesystem::path folder;  ///< that of the executable
    std::mutex slot;               ///< held for each transcription: the real one does one at a time
};

void record(const Engine& engine, const httplib::MultipartFormDataMap& form,
            const std::vector<int16_t>& samples) {
    json fields = json::object();
    for (const auto& [name, part] : form) {
        if (part.filename.empty()) fields[name] = part.content;
    }
    std::ofstream(engine.folder / "requests.jsonl", std::ios::binary | std::ios::app)
        << json({{"fields", fields},
                 {"seconds", static_cast<double>(samples.size()) / 16000},
                 {"rms", levelOf(samples)}})
                   .dump(-1, ' ', false, json::error_handler_t::replace) +
               "\n";
}

void answer(Engine& engine, const httplib::Request& request, httplib::Response& response) {
    const std::lock_guard lock(engine.slot);
    const auto samples =
        request.has_file("file") ? samplesOf(request.get_file_value("file").content) : std::nullopt;
    if (!samples) {
        response.status = 400;
        return response.set_content("Invalid request", "text/plain");
    }
    record(engine, request.files, *samples);
    if (engine.script.exitAtInference) std::_Exit(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(engine.script.delayMs));
    response.status = engine.script.status;
    const ordered_json text = {{"text", engine.script.textFor(*samples) + "\n"}};
    response.set_content(engine.script.body.value_or(text.dump()), "application/json");
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    Engine engine;
    engine.folder = recordCommand(arguments);
    auto options = readOptions(arguments);
    readScript(engine.folder, engine.script);
    if (!std::filesystem::is_regular_file(options["-m"])) fail("error: failed to initialize whisper context");
    if (engine.script.exitAtStart) fail("stand-in: ending at once, as the script says");
    // Like the real one it isn't on its port before the model is loaded.
    while (engine.script.neverReady)
        pause();
    std::this_thread::sleep_for(std::chrono::milliseconds(engine.script.readyAfterMs));

    httplib::Server server;  // which shares a taken port without a word, as the real one does
    server.set_default_headers({{"Server", "whisper.cpp"}});
    server.Get("/", [](const httplib::Request&, httplib::Response& response) {
        response.set_content("<html>a stand-in for whisper-server, without a speech model</html>",
                             "text/html");
    });
    server.Post("/inference", [&engine](const httplib::Request& request, httplib::Response& response) {
        answer(engine, request, response);
    });
    const int port = std::atoi(options["--port"].c_str());
    std::fprintf(stderr, "stand-in for whisper-server, without a speech model, on http://%s:%d\n",
                 options["--host"].c_str(), port);
    server.listen(options["--host"], port);
    fail("error: couldn't bind to the port");
}
