#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

/// What a RawListener does with one connection.
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

    bool readsRequest =
        true;  ///< wait for the blank line behind a request's headers before anything is written
    std::vector<Piece> pieces;
    End end = End::close;
};

/// A TCP listener on the loopback interface, on a port that was free, for servers that break the rules.
/// It serves one connection at a time.
///
/// The destructor is prompt, whatever a connection is waiting for.
///
/// Threads: any.
class RawListener {
public:
    /// Never accepts: a client is connected, can send, and waits for ever.
    RawListener() : RawListener(std::vector<RawConnection>{}) {}
    /// The n-th connection gets the n-th of these, further ones the last.
    explicit RawListener(std::vector<RawConnection> connections);
    ~RawListener();
    RawListener(const RawListener&) = delete;
    RawListener& operator=(const RawListener&) = delete;

    /// "http://127.0.0.1:PORT", with `path` behind it.
    std::string url(const std::string& path = "") const;

    int32_t port = 0;
    std::atomic<int32_t> connectionCount = 0;  ///< those that were accepted

private:
    void serve();
    void serveOne(int connection, const RawConnection& script);
    /// True when `descriptor` can be read in time; -1 means to wait for the time only. False when stopping,
    /// too.
    bool waitReadable(int descriptor, int32_t timeoutMs) const;

    std::vector<RawConnection> script;
    int listener = -1;
    int stopEvent = -1;         ///< readable once the listener is to stop
    std::vector<int> keptOpen;  ///< the serving thread's
    std::thread thread;
};
