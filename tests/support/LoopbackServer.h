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

/// Holds a reply back until the test opens it. Threads: any.
class Gate {
public:
    void open() { opened = true; }
    bool isOpen() const { return opened; }

private:
    std::atomic<bool> opened = false;
};

using Headers = std::vector<std::pair<std::string, std::string>>;

/// A request.
struct Received {
    std::string method;
    std::string path;  ///< with the query, unchanged
    Headers headers;   ///< sorted by name
    std::string body;

    /// Returns the first header of this name, in any case; empty when there is none.
    std::string header(const std::string& name) const;
};

/// A piece of a reply's body.
struct Chunk {
    std::string bytes;
    int32_t pauseMs = 0;                 ///< before the bytes go out
    std::shared_ptr<const Gate> hold{};  ///< if set, the bytes wait for it too
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
    Headers headers;  ///< without those of the framing
    std::vector<Chunk> chunks;
    Framing framing = Framing::length;
    std::optional<uint64_t> declaredLength{};  ///< Content-Length in place of the true one
    bool cut = false;  ///< close the connection behind the chunks, without an end mark
    std::shared_ptr<const Gate> holdHeaders{};  ///< if set, the headers wait for it
};

/// Returns a reply of one piece.
Reply makeReply(int32_t status, std::string body, const std::string& contentType = "text/plain");

/// Returns the reply of a file server that has `whole`: 206 with the part that the request's Range asks for,
/// 416 when that begins behind the end, 200 with all of it without a Range.
Reply rangeReply(const std::string& whole, const Received& request);

/// An HTTP server on a free loopback port whose replies the test writes. Its destructor ends all replies
/// where they are, held ones too. Threads: any.
class LoopbackServer {
public:
    /// Called on the server's threads, several at a time.
    using Handler = std::function<Reply(const Received&)>;

    explicit LoopbackServer(Handler handler);
    /// Answers the n-th request with the n-th of these, further ones with an empty 500.
    explicit LoopbackServer(std::vector<Reply> replies);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    /// Returns "http://127.0.0.1:PORT", followed by `path`.
    std::string url(const std::string& path = "") const;

    /// Returns all requests so far, in the order in which they were complete.
    std::vector<Received> requests() const;

    /// Waits until that many requests have come. Returns false when they haven't within the time.
    [[nodiscard]] bool waitForRequests(size_t count, int32_t timeoutMs = 10000) const;

    int32_t port = 0;

private:
    struct State;
    std::unique_ptr<State> state;
};
