#include "support/EngineFolder.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
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

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.good()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

void install(const fs::path& folder, const char* standIn, const char* name, const std::string& scriptJson) {
    std::error_code error;
    fs::create_directories(folder, error);
    fs::remove(folder / name, error);  // one that runs can't be written over
    fs::copy_file(standIn, folder / name, fs::copy_options::overwrite_existing, error);
    EXPECT_FALSE(error) << error.message();
    if (!scriptJson.empty()) {
        std::ofstream script(folder / "script.json", std::ios::binary);
        script << scriptJson;
        EXPECT_TRUE(script.flush().good());
    }
}

/// The port that a socket could be bound to when it asked for this one (0: any); 0 when it couldn't.
int32_t boundPort(int32_t port) {
    int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    socklen_t length = sizeof address;
    bool isBound = bind(probe, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                   getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(probe);
    return isBound ? ntohs(address.sin_port) : 0;
}

}  // namespace

void installFakeEngine(const std::string& dataFolder, bool useGpu, const std::string& scriptJson) {
    install(fs::path(dataFolder) / (useGpu ? "llama-vulkan" : "llama"), FAKE_LLAMA_SERVER, "llama-server",
            scriptJson);
}

void installFakeSpeechEngine(const std::string& folder, const std::string& scriptJson) {
    install(folder, FAKE_WHISPER_SERVER, "whisper-server", scriptJson);
}

std::string speechArchive(const std::string& scriptJson) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/engine.tar.gz";
    makeArchive(path, ArchiveKind::tarGz,
                {{ArchiveEntry::file, "build/.old/whisper-server", "not this one", 0755},
                 {ArchiveEntry::file, "build/bin/whisper-server", contentOf(FAKE_WHISPER_SERVER), 0755},
                 {ArchiveEntry::file, "build/bin/script.json", scriptJson.empty() ? "{}" : scriptJson, 0644},
                 {ArchiveEntry::file, "build/bin/libwhisper.so.1", "library", 0644},
                 {ArchiveEntry::symlink, "build/bin/libwhisper.so", "libwhisper.so.1", 0777}});
    return contentOf(path);
}

void placeModel(const std::string& path, uint64_t size) {
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    std::ofstream(path, std::ios::binary).flush();
    fs::resize_file(path, size, error);
    EXPECT_FALSE(error) << path << ": " << error.message();
}

int32_t freePort() {
    const int32_t port = boundPort(0);
    EXPECT_NE(port, 0);
    return port;
}

int32_t freePortPair() {
    // Below the ports that connections get for their own end: hundreds of those are blocked for a minute.
    std::random_device random;
    for (;;) {
        const int32_t port = 10000 + static_cast<int32_t>(random() % 11000) * 2;
        if (boundPort(port) != 0 && boundPort(port + 1) != 0) return port;
    }
}
