#include "support/EngineFolder.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

void installFakeEngine(const std::string& dataFolder, bool useGpu, const std::string& scriptJson) {
    fs::path folder = fs::path(dataFolder) / (useGpu ? "llama-vulkan" : "llama");
    std::error_code error;
    fs::create_directories(folder, error);
    fs::remove(folder / "llama-server", error);  // one that runs can't be written over
    fs::copy_file(FAKE_LLAMA_SERVER, folder / "llama-server", fs::copy_options::overwrite_existing, error);
    EXPECT_FALSE(error) << error.message();
    if (!scriptJson.empty()) {
        std::ofstream script(folder / "script.json", std::ios::binary);
        script << scriptJson;
        EXPECT_TRUE(script.flush().good());
    }
}

void placeModel(const std::string& path, uint64_t size) {
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    std::ofstream(path, std::ios::binary).flush();
    fs::resize_file(path, size, error);
    EXPECT_FALSE(error) << path << ": " << error.message();
}

int32_t freePort() {
    int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    bool isBound = bind(probe, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                   getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    EXPECT_TRUE(isBound);
    close(probe);
    return ntohs(address.sin_port);
}
