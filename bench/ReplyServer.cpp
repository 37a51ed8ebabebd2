#include "ReplyServer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <utility>

#include "Figures.h"
#include "Sockets.h"

namespace {

/// Returns a piece of the reply as the engine sends it: one event in one chunk.
std::string chunk(const std::string& content) {
    const std::string event =
        R"(data: {"choices":[{"finish_reason":null,"index":0,"delta":{"content":")" + content +
        R"("}}],"created":1,"id":"chatcmpl-1","model":"m","object":"chat.completion.chunk"})"
        "\n\n";
    char length[32];
    std::snprintf(length, sizeof length, "%zx\r\n", event.size());
    return length + event + "\r\n";
}

}  // namespace

ReplyServer::ReplyServer(std::vector<std::string> firstSentence, std::vector<std::string> rest, int32_t pause)
    : beginning(std::move(firstSentence)),
      ending(std::move(rest)),
      pauseMs(pause),
      listener(listenOnLoopback(port)),
      thread([this] { serve(); }) {}

ReplyServer::~ReplyServer() {
    shutdown(listener, SHUT_RDWR);
    thread.join();
    close(listener);
}

void ReplyServer::serve() {
    for (int connection = 0; (connection = acceptConnection(listener)) >= 0; close(connection)) {
        if (readRequest(connection).empty()) continue;
        askedAt = nanoseconds();
        reply(connection);
    }
}

void ReplyServer::reply(int connection) {
    std::string opening =
        "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nTransfer-Encoding: chunked\r\n"
        "Connection: close\r\n\r\n";
    for (const std::string& piece : beginning)
        opening += chunk(piece);
    sendAll(connection, opening);
    // The pause varies, so that it can't fall into step with the client's own pauses.
    std::this_thread::sleep_for(std::chrono::microseconds(20000 + random() % 30000));
    sentAt = nanoseconds();
    sendAll(connection, chunk(" So"));
    for (const std::string& piece : ending) {
        std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
        sendAll(connection, chunk(piece));
    }
    sendAll(connection, "0\r\n\r\n");
}
