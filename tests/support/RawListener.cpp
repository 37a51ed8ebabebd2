#include "support/RawListener.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

RawListener::RawListener(std::vector<RawConnection> connections) : script(std::move(connections)) {
    listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    stopEvent = eventfd(0, EFD_CLOEXEC);
    sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t length = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener, any, length) != 0 || listen(listener, 64) != 0 ||
        getsockname(listener, any, &length) != 0) {
        throw std::runtime_error("no port on the loopback interface");
    }
    port = ntohs(address.sin_port);
    if (script.empty()) return;
    thread = std::thread([this] {
        for (size_t index = 0; waitReadable(listener, -1); ++index)
            serve(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC),
                  script[std::min(index, script.size() - 1)]);
    });
}

RawListener::~RawListener() {
    eventfd_write(stopEvent, 1);
    if (thread.joinable()) thread.join();
    keptOpen.insert(keptOpen.end(), {listener, stopEvent});
    for (const int descriptor : keptOpen)
        close(descriptor);
}

std::string RawListener::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port) + path;
}

bool RawListener::waitReadable(int descriptor, int32_t timeoutMs) const {
    pollfd watched[] = {{stopEvent, POLLIN, 0}, {descriptor, POLLIN, 0}};
    return poll(watched, 2, timeoutMs) >= 0 && watched[0].revents == 0 && watched[1].revents != 0;
}

void RawListener::serve(int connection, const RawConnection& plan) {
    if (connection < 0) return;  // gone before it was accepted
    char buffer[4096];
    for (std::string request; request.find("\r\n\r\n") == std::string::npos;) {
        const ssize_t count = waitReadable(connection, -1) ? recv(connection, buffer, sizeof buffer, 0) : 0;
        if (count <= 0) break;
        request.append(buffer, static_cast<size_t>(count));
    }
    for (const RawConnection::Piece& piece : plan.pieces) {
        if (piece.pauseMs > 0) waitReadable(-1, piece.pauseMs);
        // A blocking send takes all bytes unless the connection is broken.
        if (send(connection, piece.bytes.data(), piece.bytes.size(), MSG_NOSIGNAL) < 0) break;
    }
    if (plan.end == RawConnection::End::keepOpen) {
        keptOpen.push_back(connection);
        return;
    }
    if (plan.end == RawConnection::End::reset) {
        const linger atOnce{1, 0};
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
