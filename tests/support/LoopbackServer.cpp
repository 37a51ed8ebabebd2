#include "support/LoopbackServer.h"

#include <httplib.h>
#include <strings.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <thread>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds pollInterval(2);

std::string chunkOf(const std::string& bytes) {
    char size[32];
    snprintf(size, sizeof size, "%zx\r\n", bytes.size());
    return size + bytes + "\r\n";
}

}  // namespace

struct LoopbackServer::State {
    httplib::Server server;
    std::thread thread;
    Handler handler;  ///< constant after construction

    mutable std::mutex mutex;
    std::vector<Received> requests;  ///< guarded by `mutex`
    std::atomic<bool> isStopping = false;

    /// Waits for the time and the gate. Returns false when the server is stopping.
    bool wait(int32_t pauseMs, const Gate* gate) const {
        const auto due = steady_clock::now() + milliseconds(pauseMs);
        while (!isStopping && ((gate != nullptr && !gate->isOpen()) || steady_clock::now() < due))
            std::this_thread::sleep_for(pollInterval);
        return !isStopping;
    }

    /// Writes the body. The library closes the connection when this returns false.
    bool send(const Reply& reply, httplib::DataSink& sink) {
        uint64_t sent = 0;
        for (const Chunk& chunk : reply.chunks) {
            if (!wait(chunk.pauseMs, chunk.hold.get())) return false;
            std::string bytes = reply.framing == Framing::chunked ? chunkOf(chunk.bytes) : chunk.bytes;
            // An empty transfer chunk would end the body.
            if (!chunk.bytes.empty() && !sink.write(bytes.data(), bytes.size())) return false;
            sent += chunk.bytes.size();
        }
        if (reply.cut || reply.framing == Framing::untilClose) return false;
        if (reply.framing == Framing::length && reply.declaredLength.value_or(sent) != sent) return false;
        if (reply.framing == Framing::chunked && !sink.write("0\r\n\r\n", 5)) return false;
        sink.done();
        return true;
    }

    void answer(const httplib::Request& request, httplib::Response& response) {
        const Received received{
            request.method, request.target, {request.headers.begin(), request.headers.end()}, request.body};
        {
            std::lock_guard lock(mutex);
            requests.push_back(received);
        }
        const Reply reply = handler(received);
        wait(0, reply.holdHeaders.get());

        response.status = reply.status;
        // A body of unknown length, with the framing written here: the library would otherwise cut ranges,
        // compress and correct lengths by itself.
        response.set_content_provider(
            "text/plain", [this, reply](size_t, httplib::DataSink& sink) { return send(reply, sink); });
        response.headers = {reply.headers.begin(), reply.headers.end()};
        uint64_t length = 0;
        for (const Chunk& chunk : reply.chunks)
            length += chunk.bytes.size();
        if (reply.framing == Framing::length)
            response.set_header("Content-Length", std::to_string(reply.declaredLength.value_or(length)));
        if (reply.framing == Framing::chunked) response.set_header("Transfer-Encoding", "chunked");
    }
};

std::string Received::header(const std::string& name) const {
    for (const auto& [key, value] : headers) {
        if (strcasecmp(key.c_str(), name.c_str()) == 0) return value;
    }
    return "";
}

Reply makeReply(int32_t status, std::string body, const std::string& contentType) {
    Reply reply;
    reply.status = status;
    reply.headers = {{"Content-Type", contentType}};
    reply.chunks = {{std::move(body)}};
    return reply;
}

Reply rangeReply(const std::string& whole, const Received& request) {
    size_t first = 0;
    if (sscanf(request.header("Range").c_str(), "bytes=%zu-", &first) != 1)
        return makeReply(200, whole, "application/octet-stream");
    const std::string size = std::to_string(whole.size());
    const bool isThere = first < whole.size();
    Reply reply = makeReply(isThere ? 206 : 416, isThere ? whole.substr(first) : "");
    const std::string part = std::to_string(first) + "-" + std::to_string(whole.size() - 1);
    reply.headers.emplace_back("Content-Range", "bytes " + (isThere ? part : "*") + "/" + size);
    return reply;
}

LoopbackServer::LoopbackServer(Handler handler) : state(std::make_unique<State>()) {
    state->handler = std::move(handler);
    httplib::Server& server = state->server;
    auto answer = [this](const httplib::Request& request, httplib::Response& response) {
        state->answer(request, response);
    };
    server.Get(".*", answer).Post(".*", answer).Put(".*", answer).Delete(".*", answer);
    server.set_tcp_nodelay(true);
    server.set_keep_alive_max_count(1000);
    // An idle connection that its client keeps is what a stop waits for.
    server.set_keep_alive_timeout(1);
    // The library's own options would let two servers share a port. Its queue for connections is short: a
    // client retries only after a second when it is full.
    int listener = -1;
    server.set_socket_options([&listener](socket_t socket) { listener = socket; });
    port = server.bind_to_any_port("127.0.0.1");
    if (port <= 0 || listen(listener, 128) != 0)
        throw std::runtime_error("no port on the loopback interface");
    state->thread = std::thread([this] { state->server.listen_after_bind(); });
    while (!server.is_running())
        std::this_thread::yield();  // before that, a stop would be lost
}

LoopbackServer::LoopbackServer(std::vector<Reply> replies)
    : LoopbackServer(
          [replies = std::move(replies), next = std::make_shared<std::atomic<size_t>>(0)](const Received&) {
              size_t index = (*next)++;
              return index < replies.size() ? replies[index] : makeReply(500, "");
          }) {}

LoopbackServer::~LoopbackServer() {
    state->isStopping = true;
    state->server.stop();
    state->thread.join();
}

std::string LoopbackServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port) + path;
}

std::vector<Received> LoopbackServer::requests() const {
    std::lock_guard lock(state->mutex);
    return state->requests;
}

bool LoopbackServer::waitForRequests(size_t count, int32_t timeoutMs) const {
    const auto due = steady_clock::now() + milliseconds(timeoutMs);
    while (requests().size() < count && steady_clock::now() < due)
        std::this_thread::sleep_for(pollInterval);
    return requests().size() >= count;
}
