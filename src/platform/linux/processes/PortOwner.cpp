#include "platform/linux/processes/PortOwner.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "platform/linux/processes/FileDescriptor.h"
#include "platform/process.h"

namespace {

namespace fs = std::filesystem;

/// Looks through one of the kernel's tables for a socket of the set that listens on the port; nothing when
/// the table can't be read. The sockets are named as the links in a process's fd folder name them.
std::optional<bool> tableHolds(const char* table, int32_t port, const std::set<std::string>& sockets) {
    // The listeners stand in front, and the kernel walks all of its (large, mostly empty) table to fill a
    // buffer: one that holds a line or so has the answer in a hundredth of the time.
    char buffer[160];
    std::ifstream lines;
    lines.rdbuf()->pubsetbuf(buffer, sizeof buffer);
    lines.open(table);
    std::string line;
    if (!std::getline(lines, line)) {  // The head line.
        return std::nullopt;
    }
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string number;
        std::string local;  // address:port, in hexadecimal
        std::string remote;
        std::string state;
        std::string queues;
        std::string timer;
        std::string retransmits;
        std::string user;
        std::string timeout;
        std::string inode;
        fields >> number >> local >> remote >> state >> queues >> timer >> retransmits >> user >> timeout >>
            inode;
        const size_t colon = local.rfind(':');
        const bool listens = state == "0A";
        if (listens && colon != std::string::npos &&
            std::strtol(local.c_str() + colon + 1, nullptr, 16) == port &&
            sockets.count("socket:[" + inode + "]") != 0) {
            return true;
        }
    }
    return false;
}

/// The targets of the process's open files; nothing when they can't all be read.
std::optional<std::set<std::string>> openFilesOf(pid_t process) {
    std::set<std::string> targets;
    std::error_code failure;
    fs::directory_iterator file("/proc/" + std::to_string(process) + "/fd", failure);
    while (!failure && file != fs::directory_iterator()) {
        std::error_code unreadable;
        const fs::path target = fs::read_symlink(file->path(), unreadable);
        if (!unreadable) {
            targets.insert(target.string());
        } else if (unreadable != std::errc::no_such_file_or_directory) {
            return std::nullopt;
        }
        file.increment(failure);
    }
    if (failure) {
        return std::nullopt;
    }
    return targets;
}

}  // namespace

std::optional<bool> listensOnPort(pid_t process, int32_t port) {
    const auto files = openFilesOf(process);
    if (!files) {
        return std::nullopt;
    }
    const std::optional<bool> held = tableHolds("/proc/net/tcp", port, *files);
    if (held == true) {
        return true;
    }
    const std::optional<bool> held6 = tableHolds("/proc/net/tcp6", port, *files);
    return held6.has_value() ? held6 : held;
}

bool isPortTaken(int32_t port) {
    // Binding to the port would tell too, but also fails for a minute after a server that shares its port.
    constexpr int waitMs = 1000;
    const FileDescriptor probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    if (connect(probe.number, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return true;
    }
    if (errno != EINPROGRESS) {
        return false;
    }
    pollfd watched = {probe.number, POLLOUT, 0};
    const int count = poll(&watched, 1, waitMs);
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(probe.number, SOL_SOCKET, SO_ERROR, &error, &size);
    return count == 0 || (count > 0 && error == 0);
}
