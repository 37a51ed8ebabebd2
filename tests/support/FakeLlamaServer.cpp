// A stand-in for llama.cpp's llama-server: it takes the command line that Velu gives the real one, answers
// the routes that Velu uses in the same form, and says what a script beside the executable tells it to. No
// model is involved.

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <thread>

#include "support/ReplyScript.h"
#include "support/StandIn.h"

using nlohmann::json;

namespace {

void pauseMs(int32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void setJson(httplib::Response& response, int32_t status, const json& body) {
    response.status = status;
    response.set_content(body.dump(), "application/json; charset=utf-8");
}

/// Writes a reply into the connection; false when the client has gone.
bool sendStream(const ScriptedReply& reply, const json& request, httplib::DataSink& sink) {
    const auto write = [&sink](const std::string& bytes) {
        return sink.is_writable() && sink.write(bytes.data(), bytes.size());
    };
    for (const std::string& piece : reply.pieces(request)) {
        pauseMs(reply.pieceMs);
        if (!write(piece)) return false;
    }
    if (!write(reply.ending())) return false;
    sink.done();
    return true;
}

class Engine {
public:
    Engine(int argc, char** argv)
        : standIn(argc, argv, {"-m", "--host", "--port", "-c", "-t", "-np", "--reasoning"},
                  {"--jinja", "--no-webui"}),
          script(standIn.script) {}

    [[noreturn]] void run() {
        httplib::Server server;
        server.set_tcp_nodelay(true);
        // A port on which someone listens stays theirs; one that was just left may be taken again.
        server.set_socket_options([](socket_t socket) {
            int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&yes), sizeof yes);
        });
        server.set_pre_routing_handler([this](const httplib::Request&, httplib::Response& response) {
            if (isReady) return httplib::Server::HandlerResponse::Unhandled;
            setJson(response, 503, {{"error", {{"code", 503}, {"message", "Loading model"}}}});
            return httplib::Server::HandlerResponse::Handled;
        });
        server.Get("/health", [](const httplib::Request&, httplib::Response& response) {
            setJson(response, 200, {{"status", "ok"}});
        });
        server.Post("/v1/chat/completions",
                    [this](const httplib::Request& request, httplib::Response& response) {
                        answerChat(json::parse(request.body), response);
                    });
        const std::string& host = standIn.options["--host"];
        const int port = std::atoi(standIn.options["--port"].c_str());
        if (!server.bind_to_port(host, port))
            fail("couldn't bind HTTP server socket, port: " + std::to_string(port));
        std::thread([this] { load(); }).detach();
        server.listen_after_bind();
        fail("the listening socket was lost");
    }

private:
    /// Takes the time that the real server needs to read its model.
    void load() {
        pauseMs(script.loadMs);
        if (script.exitWhileLoading != 0) std::_Exit(script.exitWhileLoading);
        if (script.neverReady) return;
        std::fprintf(stderr, "stand-in for llama-server, without a language model\n");
        isReady = true;
    }

    void answerChat(const json& request, httplib::Response& response) {
        standIn.record(request);
        // There is one slot for all requests. The lock is freed with the response, on this same thread.
        const auto turn = std::make_shared<std::unique_lock<std::mutex>>(slot);
        response.set_chunked_content_provider(
            "text/event-stream",
            [turn, request, reply = script.replyTo(request)](size_t, httplib::DataSink& sink) {
                return sendStream(reply, request, sink);
            });
    }

    StandIn standIn;
    ReplyScript script;
    std::atomic<bool> isReady = false;
    std::mutex slot;
};

}  // namespace

int main(int argc, char** argv) {
    Engine(argc, argv).run();
}
