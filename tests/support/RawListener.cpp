#include "support/RawListener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace {

void require(bool isGood, const char* what) {
    if (isGood) return;
    perror(what);
    abort();
}

}  // namespace

RawListener::RawListener(std::vector<RawConnection> connections) : script(std::move(connections)) {
    listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    require(listener >= 0 && bind(listener, reinterpret_cast<sockaddr*>(&address), length) == 0, "bind");
    require(listen(listener, 64) == 0, "listen");
    require(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) == 0, "getsockname");
    port = ntohs(address.sin_port);
    stopEvent = eventfd(0, EFD_CLOEXEC);
    require(stopEvent >= 0, "eventfd");
    if (!script.empty()) thread = std::thread([this] { serve(); });
}

RawListener::~RawListener() {
    require(eventfd_write(stopEvent, 1) == 0, "eventfd_write");
    if (thread.joinable()) thread.join();
    for (int connection : keptOpen)
        close(connection);
    close(listener);
    close(stopEvent);
}

std::string RawListener::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port) + path;
}

bool RawListener::waitReadable(int descriptor, int32_t timeoutMs) const {
    pollfd watched[] = {{stopEvent, POLLIN, 0},
                        {descriptor, POLLIN, 0}};  // negative descriptors are left out
    return poll(watched, 2, timeoutMs) >= 0 && watched[0].revents == 0 && watched[1].revents != 0;
}

void RawListener::serve() {
    while (waitReadable(listener, -1)) {
        int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) continue;  // gone before it was accepted
        size_t index = static_cast<size_t>(connectionCount++);
        serveOne(connection, script[std::min(index, script.size() - 1)]);
    }
}

void RawListener::serveOne(int connection, const RawConnection& plan) {
    std::string request;
    char buffer[4096];
    while (plan.readsRequest && request.find("\r\n\r\n") == std::string::npos) {
        ssize_t count = waitReadable(connection, -1) ? recv(connection, buffer, sizeof buffer, 0) : 0;
        if (count <= 0) break;
        request.append(buffer, static_cast<size_t>(count));
    }
    for (const RawConnection::Piece& piece : plan.pieces) {
        if (piece.pauseMs > 0) waitReadable(-1, piece.pauseMs);
        std::string_view rest = piece.bytes;
        while (!rest.empty()) {
            ssize_t count = send(connection, rest.data(), rest.size(), MSG_NOSIGNAL);
            if (count <= 0) break;
            rest.remove_prefix(static_cast<size_t>(count));
        }
    }
    if (plan.end == RawConnection::End::keepOpen) {
        keptOpen.push_back(connection);
        return;
    }
    if (plan.end == RawConnection::End::reset) {
        linger atOnce{1, 0};
        setsockopt(connection, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    } else {
        // Closing with unread bytes would reset the connection: read until the client has closed its side
        // too.
        shutdown(connection, SHUT_WR);
        while (waitReadable(connection, 2000) && recv(connection, buffer, sizeof buffer, 0) > 0) {
        }
    }
    close(connection);
}
