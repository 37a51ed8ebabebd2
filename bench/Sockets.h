#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Plain blocking sockets on the loopback interface: servers and clients with nothing of their own that could
// be measured along. Sockets are file descriptors that the caller closes, -1 is a failure.

/// A listening socket on this port, or on a free one when `port` is 0; `port` is then that one.
int listenOnLoopback(int32_t& port);

/// The next connection, with small packets sent at once.
int acceptConnection(int listener);

int connectToLoopback(int32_t port);

/// Reads one HTTP request with its body, whose length must be declared. Empty when the client has gone.
std::string readRequest(int connection);

/// False when the client has gone.
bool sendAll(int connection, std::string_view bytes);
