#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Plain blocking sockets on the loopback interface, with next to no cost of their own. Sockets are file
// descriptors that the caller closes; -1 is a failure.

/// Returns a socket that listens on `port`. If `port` is 0, a free port is chosen and stored there.
int listenOnLoopback(int32_t& port);

/// Blocks until the next connection. Small packets are sent at once.
int acceptConnection(int listener);

int connectToLoopback(int32_t port);

/// Reads one HTTP request with its body, whose length must be declared. Returns nothing if the client has
/// gone.
std::string readRequest(int connection);

/// Sends all bytes. Returns false if the client has gone.
bool sendAll(int connection, std::string_view bytes);
