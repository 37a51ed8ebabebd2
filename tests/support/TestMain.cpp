#include <gtest/gtest.h>
#include <stdlib.h>

#include <csignal>
#include <filesystem>
#include <utility>

#include "support/TemporaryFolder.h"

namespace {

// NOLINTBEGIN(concurrency-mt-unsafe): no other thread runs yet.
/// Nothing of the user's own data or network may reach a test, and no test may leave anything behind.
void shieldFromUser(const std::string& folder) {
    for (const auto& [variable, name] :
         {std::pair{"VELU_HOME", "data"}, std::pair{"XDG_RUNTIME_DIR", "runtime"},
          std::pair{"XDG_DATA_HOME", "share"}, std::pair{"XDG_CONFIG_HOME", "config"},
          std::pair{"XDG_CACHE_HOME", "cache"}}) {
        std::filesystem::path path = std::filesystem::path(folder) / name;
        std::filesystem::create_directory(path);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        setenv(variable, path.c_str(), 1);
    }
    for (const char* variable : {"http_proxy", "https_proxy", "ftp_proxy", "all_proxy", "no_proxy",
                                 "HTTP_PROXY", "HTTPS_PROXY", "FTP_PROXY", "ALL_PROXY", "NO_PROXY"}) {
        unsetenv(variable);
    }
    // A peer that goes away is an error to look at, not the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
}
// NOLINTEND(concurrency-mt-unsafe)

}  // namespace

int main(int argc, char** argv) {
    TemporaryFolder folder;
    shieldFromUser(folder.path);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
