#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Holds a reply back until the test opens it, for once and for all. Any thread.
class Gate {
public:
    void open() { opened = true; }
    bool isOpen() const { return opened; }

private:
    std::atomic<bool> opened = false;
};

using Headers = std::vector<std::pair<std::string, std::string>>;

/// A request as it came.
struct Received {
    std::string method;
    std::string path;  ///< with the query, unchanged
    Headers headers;   ///< sorted by name; those of one name in the order they came in
    std::string body;

    /// The first header of this name, in any case; empty when there is none.
    std::string header(const std::string& name) const;
};

/// A piece of a reply's body.
struct Chunk {
    std::string bytes;
    int32_t pauseMs = 0;                 ///< before the bytes go out
    std::shared_ptr<const Gate> hold{};  ///< if set, the bytes wait for it as well
};

/// How the client learns where the body ends.
enum class Framing {
    length,     ///< by Content-Length
    chunked,    ///< by chunked transfer, one transfer chunk for each piece
    untilClose  ///< by the end of the connection
};

/// What the server answers.
struct Reply {
    int32_t status = 200;
    Headers headers;  ///< beside those of the framing; without a Content-Type it is text/plain
    std::vector<Chunk> chunks;
    Framing framing = Framing::length;
    std::optional<uint64_t>
        declaredLength;  ///< Content-Length in place of the true one; a larger one cuts the reply
    bool cut = false;    ///< close the connection behind the chunks, without the end mark if any
    int32_t delayHeadersMs = 0;
    std::shared_ptr<const Gate> holdHeaders;  ///< if set, the headers wait for it as well
};

/// A whole reply of one piece.
Reply makeReply(int32_t status, std::string body, const std::string& contentType = "text/plain");

/// Serves `whole` as a file server does: 206 with the part that a Range of one part asks for, 416 when that
/// begins behind the end, 200 with all of it without a Range.
Reply rangeReply(const std::string& whole, const Received& request);

/// An HTTP server on the loopback interface, on a port that was free, whose replies the test writes.
/// Connections are kept for the next request unless the reply closes them.
///
/// The destructor ends all replies where they are, held ones too, and waits for the server's threads. It can
/// take some seconds only if a client neither reads nor closes.
///
/// Threads: any.
class LoopbackServer {
public:
    /// Called on the server's threads, several at a time.
    using Handler = std::function<Reply(const Received&)>;

    explicit LoopbackServer(Handler handler);
    /// Answers one request after the other with these, and with an empty 500 once they are used up.
    explicit LoopbackServer(std::vector<Reply> replies);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    /// "http://127.0.0.1:PORT", with `path` behind it.
    std::string url(const std::string& path = "") const;

    /// All requests until now, in the order in which they were complete.
    std::vector<Received> requests() const;

    /// Waits until that many requests have come; false when they haven't within the time.
    [[nodiscard]] bool waitForRequests(size_t count, int32_t timeoutMs = 10000) const;

    int32_t port = 0;

private:
    struct State;
    std::unique_ptr<State> state;
};
