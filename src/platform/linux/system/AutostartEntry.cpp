#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/linux/processes/FileDescriptor.h"
#include "platform/linux/system/UserFolders.h"
#include "platform/system.h"

namespace {

std::string executablePath() {
    std::error_code failure;
    std::string path = std::filesystem::read_symlink("/proc/self/exe", failure).string();
    // The kernel says so of a program that was replaced while it runs; the new one has the old name.
    constexpr std::string_view replaced = " (deleted)";
    if (path.ends_with(replaced) && !std::filesystem::exists(path, failure)) {
        path.resize(path.size() - replaced.size());
    }
    return path;
}

/// One argument of a command line: in double quotes, with a backslash before what keeps a meaning in them,
/// and doubled percent signs, which would introduce a field.
std::string quotedArgument(const std::string& argument) {
    std::string quoted = "\"";
    for (const char letter : argument) {
        if (letter == '"' || letter == '`' || letter == '$' || letter == '\\') quoted += '\\';
        if (letter == '%') quoted += '%';
        quoted += letter;
    }
    return quoted + '"';
}

/// A text as the value of a key. It comes on top of the quotes: a reader takes this off first.
std::string escapedValue(const std::string& text) {
    std::string escaped;
    for (const char letter : text) {
        switch (letter) {
            case '\\':
                escaped += "\\\\";
                break;
            case '\n':
                escaped += "\\n";
                break;
            case '\r':
                escaped += "\\r";
                break;
            case '\t':
                escaped += "\\t";
                break;
            default:
                escaped += letter;
        }
    }
    return escaped;
}

[[nodiscard]] bool writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

/// Creates or replaces the file, whole or not at all.
void replaceWhole(const std::string& path, std::string_view bytes) {
    std::string temporary = path + ".XXXXXX";
    const FileDescriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.isOpen()) return;
    constexpr mode_t readableForAll = 0644;
    const bool isWhole =
        writeAll(file.number, bytes) && fchmod(file.number, readableForAll) == 0 && fsync(file.number) == 0;
    if (!isWhole || std::rename(temporary.c_str(), path.c_str()) != 0) unlink(temporary.c_str());
}

}  // namespace

void setRunAtStartup(bool enabled) {
    const std::string config = userFolder("XDG_CONFIG_HOME", "/.config");
    if (config.empty()) return;
    const std::string folder = config + "/autostart";
    const std::string path = folder + "/velu.desktop";
    if (!enabled) {
        unlink(path.c_str());
        return;
    }
    const std::string executable = executablePath();
    if (executable.empty()) return;
    createPrivateFolders(folder);
    replaceWhole(path, "[Desktop Entry]\nType=Application\nName=Velu\nExec=" +
                           escapedValue(quotedArgument(executable)) + "\nTerminal=false\n");
}
