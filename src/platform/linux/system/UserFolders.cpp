#include "platform/linux/system/UserFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/system.h"

namespace {

/// What the user database says; needed where a program is started with an empty environment.
std::string homeFromUserDatabase() {
    std::string buffer(16384, '\0');
    passwd entry = {};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        return {};
    }
    return found->pw_dir;
}

/// The variable's value when it is an absolute path, else empty.
std::string absolutePathFrom(const char* variable) {
    const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): nothing sets it while we run
    return value != nullptr && *value == '/' ? value : "";
}

}  // namespace

std::string userFolder(const char* variable, const char* below) {
    std::string path = absolutePathFrom(variable);
    if (!path.empty()) return path;
    std::string home = absolutePathFrom("HOME");
    if (home.empty()) home = homeFromUserDatabase();
    return home.empty() ? home : home + below;
}

void createPrivateFolders(const std::string& path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        createPrivateFolder(path.substr(0, slash));
    }
    createPrivateFolder(path);
}
