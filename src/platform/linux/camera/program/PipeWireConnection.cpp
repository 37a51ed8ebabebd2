#include "platform/linux/camera/program/PipeWireConnection.h"

#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <string>

namespace {

/// The first of these variables that is set.
std::string firstOf(std::initializer_list<const char*> variables) {
    for (const char* const variable : variables)
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing changes the environment while threads run.
        if (const char* const value = getenv(variable)) return value;
    return {};
}

std::string socketPath() {
    std::string name = firstOf({"PIPEWIRE_REMOTE"});
    if (name.empty()) name = "pipewire-0";
    const std::string folder = firstOf({"PIPEWIRE_RUNTIME_DIR", "XDG_RUNTIME_DIR"});
    return name.front() == '/' ? name : folder + "/" + name;
}

}  // namespace

FileDescriptor connectToPipeWire() {
    const std::string path = socketPath();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return {};
    path.copy(address.sun_path, path.size());
    FileDescriptor connection = aboveStandard(FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)));
    if (!connection.isOpen() ||
        connect(connection.number, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return {};
    return connection;
}
