#include "support/CameraServer.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "support/Soon.h"
#include "support/TestData.h"

namespace {

/// No device of this machine, no message bus, and no driver: each camera keeps its own time.
constexpr const char* configuration = R"(
context.properties = { core.daemon = true core.name = pipewire-0 }
context.spa-libs = { support.* = support/libspa-support }
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-access }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-link-factory }
    { name = libpipewire-module-session-manager }
]
context.objects = [ { factory = metadata args = { metadata.name = default } } ]
)";

}  // namespace

CameraServer::CameraServer() {
    // NOLINTBEGIN(concurrency-mt-unsafe): no other thread runs, as the header demands.
    setenv("PIPEWIRE_RUNTIME_DIR", folder.path.c_str(), 1);
    setenv("GST_PLUGIN_SYSTEM_PATH_1_0", CAMERA_PLUGINS, 1);
    setenv("GST_REGISTRY_1_0", CAMERA_PLUGINS "/registry.bin", 1);
    // NOLINTEND(concurrency-mt-unsafe)
    std::ofstream(folder.path + "/pipewire.conf") << configuration;
    start();
}

void CameraServer::start() {
    const std::string log = folder.path + "/server.log";
    server = std::make_unique<TestProgram>(
        std::vector<std::string>{"pipewire", "-c", folder.path + "/pipewire.conf"}, log);
    if (!soon([&] { return server->result() || std::filesystem::exists(folder.path + "/pipewire-0"); }) ||
        server->result())
        throw std::runtime_error("no PipeWire: " + fileText(log));
    // It would keep what its user prefers, in the user's own folder.
    sessionManager = std::make_unique<TestProgram>(
        std::vector<std::string>{"env", "XDG_STATE_HOME=" + folder.path, "wireplumber", "-c", "policy.conf"},
        folder.path + "/session.log");
    for (auto& [name, camera] : cameras)
        play(name, camera);
}

void CameraServer::stop() {
    for (TestProgram* program : {server.get(), sessionManager.get()}) {
        program->signal(SIGKILL);
        program->wait();
    }
    std::filesystem::remove(folder.path + "/pipewire-0");
}

void CameraServer::plugIn(const std::string& name, const std::vector<std::string>& offers) {
    Plugged& camera = cameras[name];
    camera.file = folder.path + "/picture" + std::to_string(++plugged);
    camera.offers = offers;
    show(name, {4, 4, std::vector<uint8_t>(64, 128)});
    play(name, camera);
}

void CameraServer::unplug(const std::string& name) {
    cameras.at(name).player->signal(SIGKILL);
    cameras.erase(name);
}

void CameraServer::play(const std::string& name, Plugged& camera) {
    std::vector<std::string> words{PICTURE_CAMERA, name, camera.file};
    words.insert(words.end(), camera.offers.begin(), camera.offers.end());
    const std::string log = camera.file + ".log";
    camera.player = std::make_unique<TestProgram>(words, log);
    const auto isReady = [&] { return fileText(log).find("ready") != std::string::npos; };
    if (!soon([&] { return camera.player->result() || isReady(); }) || camera.player->result())
        throw std::runtime_error("no camera " + name + ": " + fileText(log));
}

void CameraServer::show(const std::string& name, const CameraFrame& picture) {
    const std::string& file = cameras.at(name).file;
    const std::string next = file + ".next";
    std::ofstream(next, std::ios::binary) << picture.width << ' ' << picture.height << '\n'
                                          << std::string(picture.pixels.begin(), picture.pixels.end());
    std::filesystem::rename(next, file);
}
