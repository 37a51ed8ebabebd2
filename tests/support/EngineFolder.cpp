#include "support/EngineFolder.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

#include "support/ArchiveFile.h"
#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

void install(const fs::path& folder, const char* standIn, const char* name, const std::string& scriptJson) {
    std::error_code error;
    fs::create_directories(folder, error);
    fs::remove(folder / name, error);  // one that runs can't be overwritten
    fs::copy_file(standIn, folder / name, error);
    EXPECT_FALSE(error) << error.message();
    if (!scriptJson.empty()) std::ofstream(folder / "script.json", std::ios::binary) << scriptJson;
}

std::string pack(const std::string& folder, const char* standIn, const std::string& name,
                 const std::string& scriptJson) {
    const TemporaryFolder temporary;
    const std::string path = temporary.path + "/engine.tar";
    makeArchive(path, ArchiveKind::plainTar,
                {{ArchiveEntry::file, folder + "/.old/" + name, "not this one", 0755},
                 {ArchiveEntry::file, folder + "/" + name, contentOf(standIn), 0755},
                 {ArchiveEntry::file, folder + "/script.json", scriptJson.empty() ? "{}" : scriptJson, 0644},
                 {ArchiveEntry::file, folder + "/lib.so.1", "library", 0644},
                 {ArchiveEntry::symlink, folder + "/lib.so", "lib.so.1", 0777}});
    return contentOf(path);
}

bool isFree(int32_t port) {
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    const bool isBound = bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(probe);
    return isBound;
}

}  // namespace

void installFakeEngine(const std::string& dataFolder, bool useGpu, const std::string& scriptJson) {
    install(fs::path(dataFolder) / (useGpu ? "llama-vulkan" : "llama"), FAKE_LLAMA_SERVER, "llama-server",
            scriptJson);
}

void installFakeSpeechEngine(const std::string& folder, const std::string& scriptJson) {
    install(folder, FAKE_WHISPER_SERVER, "whisper-server", scriptJson);
}

std::string llamaArchive(const std::string& scriptJson) {
    return pack("llama-b1", FAKE_LLAMA_SERVER, "llama-server", scriptJson);
}

std::string whisperArchive(const std::string& scriptJson) {
    return pack("build/bin", FAKE_WHISPER_SERVER, "whisper-server", scriptJson);
}

void placeModel(const std::string& path, uint64_t size) {
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    std::ofstream(path, std::ios::binary).flush();
    fs::resize_file(path, size, error);
    EXPECT_FALSE(error) << path << ": " << error.message();
}

int32_t freePort() {
    // Below the ports that connections get for their own end: hundreds of those are blocked for a minute.
    std::random_device random;
    for (;;) {
        const int32_t port = 10000 + static_cast<int32_t>(random() % 11000) * 2;
        if (isFree(port) && isFree(port + 1)) return port;
    }
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool isLogged(const std::string& line) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing sets the variable any more.
    return contentOf(std::string(getenv("VELU_HOME")) + "/velu.log").find(line + "\n") != std::string::npos;
}
