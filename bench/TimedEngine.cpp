// An engine that is ready at once and records its events in "times.txt" beside the program: each line has a
// word and the monotonic clock in nanoseconds.

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "Figures.h"
#include "Sockets.h"

namespace {

std::string ownFolder() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    const std::string program(path, length < 0 ? 0 : static_cast<size_t>(length));
    return program.substr(0, program.rfind('/') + 1);
}

/// Writes without buffering, because the process is killed without warning.
void note(int file, const char* what, int64_t when) {
    const std::string line = std::string(what) + " " + std::to_string(when) + "\n";
    if (write(file, line.data(), line.size()) < 0) _exit(1);
}

void answer(int connection, const char* type, const std::string& body) {
    sendAll(connection, std::string("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Type: ") + type +
                            "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
}

}  // namespace

int main(int argc, char** argv) {
    const int64_t began = nanoseconds();
    int32_t port = 0;
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::string(argv[i]) == "--port") port = std::atoi(argv[i + 1]);
    }
    const int listener = listenOnLoopback(port);
    if (listener < 0) return 1;
    const int64_t listening = nanoseconds();
    const int file =
        open((ownFolder() + "times.txt").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    note(file, "began", began);
    note(file, "listening", listening);
    for (;;) {
        const int connection = acceptConnection(listener);
        const std::string request = readRequest(connection);
        const int64_t arrived = nanoseconds();
        if (request.rfind("GET /health ", 0) == 0) {
            note(file, "health", arrived);
            answer(connection, "application/json", R"({"status":"ok"})");
        } else if (!request.empty()) {
            note(file, "chat", arrived);
            answer(connection, "text/event-stream",
                   "data: {\"choices\":[{\"delta\":{\"content\":\"Here I am.\"}}]}\n\ndata: [DONE]\n\n");
        }
        close(connection);
    }
}
