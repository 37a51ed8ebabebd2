#include "support/Children.h"

#include <unistd.h>

#include <filesystem>

#include "support/TestData.h"

std::vector<pid_t> childrenCalled(const std::string& program) {
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string stat = fileText(entry.path() / "stat");  // "12 (a name) S 1 ..."
        const size_t name = stat.find(" (" + program + ") ");
        if (name == std::string::npos) continue;
        const std::string rest = stat.substr(name + program.size() + 4);
        if (rest[0] != 'Z' && std::stoi(rest.substr(2)) == getpid())
            found.push_back(std::stoi(entry.path().filename()));
    }
    return found;
}
