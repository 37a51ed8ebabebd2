#include "foundation/Paths.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "foundation/Files.h"
#include "platform/system.h"

const std::string& dataFolder() {
    static const std::string folder = [] {
        // Read once, before any thread that could change the environment exists.
        const char* home = std::getenv("VELU_HOME");  // NOLINT(concurrency-mt-unsafe)
        std::string path = home != nullptr && *home != '\0' ? home : joinPath(localDataFolder(), "Velu");
        createPrivateFolder(path);
        // The servers run in folders of their own, where a relative path would lead elsewhere.
        std::error_code error;
        const std::filesystem::path whole = std::filesystem::absolute(path, error);
        return error ? path : whole.string();
    }();
    return folder;
}

const std::string& exeFolder() {
    static const std::string folder = executableFolder();
    return folder;
}

std::string assetPath(const std::string& name) {
    return joinPath(joinPath(exeFolder(), "assets"), name);
}
