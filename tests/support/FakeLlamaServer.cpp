// A stand-in for llama.cpp's llama-server: it takes the command line that Velu gives the real one, answers
// the routes that Velu uses in the same form, and says what a script beside the executable tells it to. No
// model is involved.

#include <httplib.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "support/LlamaOptions.h"
#include "support/ReplyScript.h"
#include "support/ReplyStream.h"
#include "support/StandIn.h"

namespace fs = std::filesystem;
using nlohmann::json;
using nlohmann::ordered_json;

namespace {

/// The whole server.
struct Engine {
    LlamaOptions options;  ///< constant once the server runs, as are the two below
    ReplyScript script;
    fs::path folder;  ///< that of the executable
    std::atomic<bool> isReady = false;
    std::mutex slot;  ///< held while a reply is written: there is but one slot for all requests
    httplib::Server server;
};

void setJson(httplib::Response& response, int32_t status, const ordered_json& body) {
    response.status = status;
    response.set_content(body.dump(-1, ' ', false, ordered_json::error_handler_t::replace),
                         "application/json; charset=utf-8");
}

void setError(httplib::Response& response, int32_t status, const std::string& message, const char* type) {
    setJson(response, status, {{"error", {{"code", status}, {"message", message}, {"type", type}}}});
}

/// A byte count stands for the real server's tokens; four bytes are about one.
int32_t promptTokensOf(const json& messages) {
    size_t bytes = 0;
    for (const json& message : messages) {
        auto content = message.find("content");
        if (content != message.end() && content->is_string())
            bytes += content->get_ref<const std::string&>().size();
    }
    return static_cast<int32_t>((bytes + 3) / 4);
}

/// Writes a reply into the connection; false ends the connection without the end mark of its chunks.
bool sendStream(const ReplyStream& stream, const ScriptedReply& reply, httplib::DataSink& sink) {
    auto write = [&sink](const std::string& bytes) {
        return sink.is_writable() && sink.write(bytes.data(), bytes.size());
    };
    std::string waiting =
        stream.opening;  // goes out together with the first piece, as the real server has it
    for (size_t i = 0; i <= stream.pieces.size(); i++) {
        bool isCut = reply.cutAfterPieces && i == static_cast<size_t>(*reply.cutAfterPieces);
        bool isDead = reply.dieAfterPieces && i == static_cast<size_t>(*reply.dieAfterPieces);
        if ((isCut || isDead) && !waiting.empty() && !write(waiting)) return false;
        if (isDead) std::_Exit(1);
        if (isCut) return false;
        if (i == stream.pieces.size()) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(reply.pieceMs));
        if (!write(waiting + stream.pieces[i])) return false;
        waiting.clear();
    }
    if (!waiting.empty() && !write(waiting)) return false;
    if (!write(stream.closing) || !write(stream.done)) return false;
    sink.done();
    return true;
}

void record(const Engine& engine, const std::string& body) {
    static std::mutex mutex;
    std::lock_guard lock(mutex);
    bool isJson = json::accept(body) && body.find('\n') == std::string::npos;
    std::ofstream(engine.folder / "requests.jsonl", std::ios::binary | std::ios::app)
        << (isJson ? body : json(body).dump(-1, ' ', false, json::error_handler_t::replace)) + "\n";
}

void answerChat(Engine& engine, const httplib::Request& request, httplib::Response& response) {
    record(engine, request.body);
    json body;
    try {
        body = json::parse(request.body);
    } catch (const json::parse_error& error) {
        return setError(response, 400, error.what(), "invalid_request_error");
    }
    if (!body.is_object() || !body.contains("messages"))
        return setError(response, 400, "'messages' is required", "invalid_request_error");
    if (!body["messages"].is_array())
        return setError(response, 400, "Expected 'messages' to be an array", "invalid_request_error");
    if (!body.value("stream", false))
        return setError(response, 400, "this stand-in can only stream", "invalid_request_error");

    int32_t tokens = promptTokensOf(body["messages"]);
    int32_t context = engine.options.context;
    if (tokens > context) {
        std::string message = "request (" + std::to_string(tokens) +
                              " tokens) exceeds the available context size (" + std::to_string(context) +
                              " tokens), try increasing it";
        return setJson(response, 400,
                       {{"error",
                         {{"code", 400},
                          {"message", message},
                          {"type", "exceed_context_size_error"},
                          {"n_prompt_tokens", tokens},
                          {"n_ctx", context}}}});
    }

    ScriptedReply reply = engine.script.replyTo(body);
    if (reply.status != 200) return setError(response, reply.status, reply.text, "server_error");

    ReplyStream stream(reply, body, engine.options.model, tokens);
    // Freed with the response, on this same thread, when the last byte is out or the client has gone.
    auto slot = std::make_shared<std::unique_lock<std::mutex>>(engine.slot);
    response.set_header("X-Accel-Buffering", "no");
    response.set_chunked_content_provider(
        "text/event-stream",
        [slot, stream = std::move(stream), reply = std::move(reply)](size_t, httplib::DataSink& sink) {
            return sendStream(stream, reply, sink);
        });
}

void setRoutes(Engine& engine) {
    using httplib::Request;
    using httplib::Response;
    auto whenReady = [&engine](httplib::Server::Handler handler) -> httplib::Server::Handler {
        return [&engine, handler = std::move(handler)](const Request& request, Response& response) {
            if (engine.isReady) return handler(request, response);
            setJson(
                response, 503,
                {{"error", {{"message", "Loading model"}, {"type", "unavailable_error"}, {"code", 503}}}});
        };
    };
    auto notFound = whenReady([](const Request&, Response& response) {
        setJson(response, 404,
                {{"error", {{"message", "File Not Found"}, {"type", "not_found_error"}, {"code", 404}}}});
    });
    httplib::Server& server = engine.server;
    server.Get("/health", whenReady([](const Request&, Response& response) {
                   setJson(response, 200, {{"status", "ok"}});
               }));
    server.Post("/v1/chat/completions", whenReady([&engine](const Request& request, Response& response) {
                    answerChat(engine, request, response);
                }));
    server.Get(".*", notFound).Post(".*", notFound);
    server.set_default_headers({{"Server", "llama.cpp"}, {"Access-Control-Allow-Origin", ""}});
    server.set_tcp_nodelay(true);
    // A port that someone listens on stays theirs; one that was just left may be taken again.
    server.set_socket_options([](socket_t socket) {
        int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
}

/// What the real server spends on reading its model.
void load(Engine& engine) {
    if (!fs::is_regular_file(engine.options.model))
        fail("failed to load model, '" + engine.options.model + "'");
    std::this_thread::sleep_for(std::chrono::milliseconds(engine.script.loadMs));
    if (engine.script.exitWhileLoading) {
        std::fprintf(stderr, "stand-in: ending while loading, as the script says\n");
        std::_Exit(*engine.script.exitWhileLoading);
    }
    if (engine.script.neverReady) return;
    engine.isReady = true;
    std::fprintf(stderr, "stand-in for llama-server, without a language model, on http://%s:%d\n",
                 engine.options.host.c_str(), static_cast<int>(engine.options.port));
}

}  // namespace

int main(int argc, char** argv) {
    // Ending is asked for by a signal, which a thread of its own waits for. All other threads inherit this
    // mask.
    sigset_t endings;
    sigemptyset(&endings);
    sigaddset(&endings, SIGTERM);
    sigaddset(&endings, SIGINT);
    pthread_sigmask(SIG_BLOCK, &endings, nullptr);
    signal(SIGPIPE, SIG_IGN);

    Engine engine;
    std::vector<std::string> arguments(argv + 1, argv + argc);
    engine.folder = recordCommand(arguments);
    std::string error;
    if (!readLlamaOptions(arguments, engine.options, error)) fail(error);
    readScript(engine.folder, engine.script);

    setRoutes(engine);
    if (!engine.server.bind_to_port(engine.options.host, engine.options.port))
        fail("couldn't bind HTTP server socket, hostname: " + engine.options.host +
             ", port: " + std::to_string(engine.options.port));
    std::thread([&engine] { load(engine); }).detach();
    std::thread([&engine, endings] {
        int received = 0;
        sigwait(&endings, &received);
        std::lock_guard lock(engine.slot);  // a reply that is being written is finished first
        std::_Exit(0);
    }).detach();
    engine.server.listen_after_bind();
    fail("the listening socket was lost");
}
