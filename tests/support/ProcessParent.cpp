// A program for the process tests to start. It prints a number, 0 on failure, then waits.
//
//   process-parent abort|throw|exit    starts a child, prints its number, and ends that way on SIGUSR1
//   process-parent listen ADDRESS      listens on a free port of the IPv4 or IPv6 address, and prints the
//   port
#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "platform/process.h"

namespace {

void say(int64_t number) {
    std::puts(std::to_string(number).c_str());
    std::fflush(stdout);
}

int die(const std::string& how) {
    sigset_t go;
    sigemptyset(&go);
    sigaddset(&go, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &go, nullptr);
    ChildProcess child;
    const bool isStarted = child.start({.executable = "/bin/sleep", .arguments = {"600"}});
    say(isStarted ? child.id() : 0);
    int number = 0;
    sigwait(&go, &number);
    if (how == "abort") std::abort();
    if (how == "throw") throw std::runtime_error("nobody catches this");
    std::exit(0);  // NOLINT(concurrency-mt-unsafe): `child` is not destroyed, and that is the point
}

int listen(const char* address) {
    sockaddr_in6 where = {};
    auto* const v4 = reinterpret_cast<sockaddr_in*>(&where);
    const bool isV4 = inet_pton(AF_INET, address, &v4->sin_addr) == 1;
    if (!isV4) inet_pton(AF_INET6, address, &where.sin6_addr);
    where.sin6_family = isV4 ? AF_INET : AF_INET6;  // both kinds have it, and the port, in the same place
    socklen_t size = isV4 ? sizeof *v4 : sizeof where;
    auto* const any = reinterpret_cast<sockaddr*>(&where);
    const int listener = socket(where.sin6_family, SOCK_STREAM, 0);
    const bool listens = bind(listener, any, size) == 0 && ::listen(listener, 1) == 0 &&
                         getsockname(listener, any, &size) == 0;
    say(listens ? ntohs(where.sin6_port) : 0);
    return pause();
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): one of the ways to end
int main(int count, char** arguments) {
    const std::string mode = count > 1 ? arguments[1] : "";
    return mode == "listen" && count > 2 ? listen(arguments[2]) : die(mode);
}
