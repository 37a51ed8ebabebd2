#include "support/SoundServer.h"

#include <stdlib.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/Soon.h"
#include "support/TestData.h"

namespace {

constexpr const char* recordingFile = "/recording";
constexpr const char* controlLog = "/pactl.log";
constexpr size_t stretch = 220;  // samples in 10 ms, closely enough

}  // namespace

SoundServer::SoundServer() {
    // NOLINTBEGIN(concurrency-mt-unsafe): no other thread runs, as the header demands.
    for (const char* variable : {"XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH"})
        setenv(variable, folder.path.c_str(), 1);
    setenv("PULSE_SERVER", ("unix:" + folder.path + "/native").c_str(), 1);
    setenv("PULSE_COOKIE", (folder.path + "/cookie").c_str(), 1);
    // NOLINTEND(concurrency-mt-unsafe)
    start();
}

void SoundServer::start() {
    const std::string log = folder.path + "/server.log";
    const auto load = [](const std::string& module) { return "--load=" + module; };
    server = std::make_unique<TestProgram>(
        std::vector<std::string>{
            "pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
            "--disable-shm=yes", "--realtime=no", "--high-priority=no",
            load("module-native-protocol-unix auth-anonymous=1 socket=" + folder.path + "/native"),
            load("module-null-sink sink_name=speaker norewinds=1 rate=22050 channels=1"),
            load("module-null-sink sink_name=room norewinds=1")},
        log);
    const auto isUp = [this] {
        return TestProgram({"pactl", "set-default-sink", "speaker"}, folder.path + controlLog).wait() == 0;
    };
    if (!soon([&] { return server->result() || isUp(); }) || server->result())
        throw std::runtime_error("no sound server: " + fileText(log));
    addMicrophone("microphone", "Room microphone");
}

void SoundServer::stop() {
    server->signal(SIGKILL);
    server->wait();
    std::filesystem::remove(folder.path + "/native");
}

void SoundServer::record() {
    recorder = std::make_unique<TestProgram>(
        std::vector<std::string>{"parec", "--device=speaker.monitor", "--raw", "--format=s16ne",
                                 "--rate=22050", "--channels=1", "--latency-msec=20"},
        folder.path + recordingFile);
    if (!soon([this] { return !loudness().empty(); })) throw std::runtime_error("nothing is recorded");
}

std::vector<double> SoundServer::loudness() const {
    std::ifstream file(folder.path + recordingFile, std::ios::binary);
    std::vector<double> loudness;
    int16_t samples[stretch];
    while (file.read(reinterpret_cast<char*>(samples), sizeof samples)) {
        double sum = 0;
        for (const int16_t sample : samples)
            sum += std::pow(sample / 32768.0, 2);
        loudness.push_back(std::sqrt(sum / stretch));
    }
    return loudness;
}

std::unique_ptr<TestProgram> SoundServer::playToRoom(const std::vector<int16_t>& samples) {
    const std::string file = folder.path + "/played" + std::to_string(++played);
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(samples.data()),
               static_cast<std::streamsize>(samples.size() * sizeof samples[0]));
    return std::make_unique<TestProgram>(
        std::vector<std::string>{"paplay", "--device=room", "--raw", "--format=s16ne", "--rate=16000",
                                 "--channels=1", file},
        file + ".log");
}

void SoundServer::addMicrophone(const std::string& name, const std::string& description) {
    control({"load-module", "module-remap-source", "source_name=" + name, "master=room.monitor",
             "source_properties='device.description=\"" + description + "\"'"});
}

void SoundServer::removeMicrophone(const std::string& name) {
    std::istringstream modules(control({"list", "short", "modules"}));
    for (std::string module; std::getline(modules, module);) {
        if (module.find("source_name=" + name + " ") == std::string::npos) continue;
        control({"unload-module", module.substr(0, module.find('\t'))});
        return;
    }
    throw std::runtime_error("there is no microphone " + name);
}

std::string SoundServer::control(std::vector<std::string> words) {
    words.insert(words.begin(), "pactl");
    const bool isDone = TestProgram(words, folder.path + controlLog).wait() == 0;
    std::string said = fileText(folder.path + controlLog);
    if (!isDone) throw std::runtime_error("pactl " + words[1] + ": " + said);
    return said;
}
