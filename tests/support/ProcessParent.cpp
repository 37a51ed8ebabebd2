// A program for the process tests to start. It says one line on standard output, then waits.
//
//   process-parent abort|throw|exit    starts a child, says its number, and ends that way on SIGUSR1
//   process-parent listen ADDRESS      listens on a free port of the IPv4 or IPv6 address and says its number
#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "platform/process.h"

namespace {

void say(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

int die(const std::string& how) {
    sigset_t go;
    sigemptyset(&go);
    sigaddset(&go, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &go, nullptr);

    ChildProcess child;
    if (!child.start({.executable = "/bin/sleep", .arguments = {"600"}})) {
        say("no child");
        return 1;
    }
    say(std::to_string(child.id()));
    int number = 0;
    sigwait(&go, &number);
    if (how == "abort") {
        std::abort();
    }
    if (how == "throw") {
        throw std::runtime_error("nobody catches this");
    }
    std::exit(0);  // NOLINT(concurrency-mt-unsafe): `child` is not destroyed, and that is the point
}

int listen(const char* address) {
    sockaddr_storage where = {};
    auto* const v4 = reinterpret_cast<sockaddr_in*>(&where);
    auto* const v6 = reinterpret_cast<sockaddr_in6*>(&where);
    if (inet_pton(AF_INET, address, &v4->sin_addr) == 1) {
        where.ss_family = AF_INET;
    } else if (inet_pton(AF_INET6, address, &v6->sin6_addr) == 1) {
        where.ss_family = AF_INET6;
    }
    const int listener = socket(where.ss_family, SOCK_STREAM, 0);
    socklen_t size = sizeof where;
    if (bind(listener, reinterpret_cast<sockaddr*>(&where), size) != 0 || ::listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&where), &size) != 0) {
        say("0");
        return 1;
    }
    say(std::to_string(ntohs(where.ss_family == AF_INET ? v4->sin_port : v6->sin6_port)));
    pause();
    return 0;
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): one of the ways to end
int main(int count, char** arguments) {
    const std::string mode = count > 1 ? arguments[1] : "";
    if (mode == "listen" && count > 2) {
        return listen(arguments[2]);
    }
    return die(mode);
}
