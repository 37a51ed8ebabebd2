#include "Sockets.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>

namespace {

sockaddr_in loopback(int32_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// Returns the length of the body that this head declares.
size_t bodyLength(const std::string& head) {
    const std::string name = "Content-Length: ";
    const size_t at = head.find(name);
    return at == std::string::npos ? 0 : std::strtoul(head.c_str() + at + name.size(), nullptr, 10);
}

}  // namespace

int listenOnLoopback(int32_t& port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address = loopback(port);
    socklen_t length = sizeof address;
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener, 16) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        close(listener);
        return -1;
    }
    port = ntohs(address.sin_port);
    return listener;
}

int acceptConnection(int listener) {
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    const int yes = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    return connection;
}

int connectToLoopback(int32_t port) {
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return connection;
    close(connection);
    return -1;
}

std::string readRequest(int connection) {
    const std::string headEnd = "\r\n\r\n";
    std::string request;
    char buffer[65536];
    for (;;) {
        const size_t end = request.find(headEnd);
        if (end != std::string::npos &&
            request.size() >= end + headEnd.size() + bodyLength(request.substr(0, end))) {
            return request;
        }
        const ssize_t count = recv(connection, buffer, sizeof buffer, 0);
        if (count <= 0) return {};
        request.append(buffer, static_cast<size_t>(count));
    }
}

bool sendAll(int connection, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}
