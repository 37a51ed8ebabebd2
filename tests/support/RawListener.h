#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

/// What a RawListener does with one connection, after it has read a request's headers.
struct RawConnection {
    enum class End {
        close,    ///< an orderly end
        reset,    ///< as if the peer had crashed
        keepOpen  ///< nothing more until the listener goes
    };
    struct Piece {
        std::string bytes;
        int32_t pauseMs = 0;  ///< before the bytes go out
    };

    std::vector<Piece> pieces;
    End end = End::close;
};

/// A TCP listener on a free loopback port, for servers that break the rules of HTTP. It serves one connection
/// at a time; its destructor is prompt. Threads: any.
class RawListener {
public:
    /// The n-th connection gets the n-th of these, further ones the last. Without any, no connection is
    /// accepted: a client can connect and send, and waits for ever.
    explicit RawListener(std::vector<RawConnection> connections = {});
    ~RawListener();
    RawListener(const RawListener&) = delete;
    RawListener& operator=(const RawListener&) = delete;

    /// Returns "http://127.0.0.1:PORT", followed by `path`.
    std::string url(const std::string& path = "") const;

    int32_t port = 0;

private:
    void serve(int connection, const RawConnection& plan);
    /// Waits until `descriptor` (none: -1) can be read. Returns false after the time or when the listener
    /// stops.
    bool waitReadable(int descriptor, int32_t timeoutMs) const;

    std::vector<RawConnection> script;
    int listener = -1;
    int stopEvent = -1;         ///< readable once the listener is to stop
    std::vector<int> keptOpen;  ///< the serving thread's
    std::thread thread;
};
