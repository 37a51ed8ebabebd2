#include "platform/process.h"

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <vector>

#include "platform/linux/processes/FileDescriptor.h"
#include "platform/linux/processes/PortOwner.h"
#include "platform/linux/processes/Spawner.h"

namespace {

/// Children that took longer to die than anybody waited. They keep their numbers until they have been waited
/// for.
class LateChildren {
public:
    void add(pid_t child) {
        const std::lock_guard lock(mutex);
        children.push_back(child);
    }

    /// Lets go of those that have died by now.
    void reap() {
        const std::lock_guard lock(mutex);
        children.erase(std::remove_if(children.begin(), children.end(),
                                      [](pid_t child) { return waitpid(child, nullptr, WNOHANG) != 0; }),
                       children.end());
    }

private:
    std::mutex mutex;
    std::vector<pid_t> children;
};

LateChildren& lateChildren() {
    static auto& children = *new LateChildren;
    return children;
}

}  // namespace

struct ChildProcess::State {
    pid_t child;            // Stays ours, and is given to nobody else, until it has been waited for.
    FileDescriptor handle;  // Readable when the child has ended.

    [[nodiscard]] bool waitUntilEnded(int milliseconds) const {
        using Clock = std::chrono::steady_clock;
        const auto deadline = Clock::now() + std::chrono::milliseconds(std::max(milliseconds, 0));
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            pollfd watched = {handle.number, POLLIN, 0};
            const int count = poll(&watched, 1, static_cast<int>(std::max<int64_t>(left, 0)));
            if (count >= 0 || errno != EINTR) {
                return count > 0 && (watched.revents & POLLIN) != 0;
            }
        }
    }
};

ChildProcess::ChildProcess() = default;

ChildProcess::~ChildProcess() {
    end();
}

ChildProcess::ChildProcess(ChildProcess&&) noexcept = default;

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    if (this != &other) {
        end();
        state = std::move(other.state);
    }
    return *this;
}

bool ChildProcess::start(const ProcessOptions& options) {
    end();
    lateChildren().reap();
    const pid_t child = spawnProcess(options);
    if (child < 0) {
        return false;
    }
    FileDescriptor handle =
        aboveStandard(FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, child, 0))));
    if (!handle.isOpen()) {
        kill(-child, SIGKILL);
        reapProcess(child);
        return false;
    }
    state = std::make_unique<State>(State{child, std::move(handle)});
    return true;
}

bool ChildProcess::isHeld() const {
    return state != nullptr;
}

bool ChildProcess::hasExited() {
    return waitForExit(0);
}

bool ChildProcess::waitForExit(int milliseconds) {
    if (state == nullptr) {
        return true;
    }
    if (!state->waitUntilEnded(milliseconds)) {
        return false;
    }
    reapProcess(state->child);
    state.reset();
    return true;
}

bool ChildProcess::listensOn(int32_t port) const {
    if (state == nullptr) {
        return false;
    }
    const std::optional<bool> listens = listensOnPort(state->child, port);
    // Of a child that has just ended the kernel tells nothing either; that one doesn't listen for certain.
    return listens.value_or(true) && !state->waitUntilEnded(0);
}

void ChildProcess::end(int milliseconds) {
    if (state == nullptr) {
        return;
    }
    kill(-state->child, SIGKILL);
    // It may have moved to another group.
    syscall(SYS_pidfd_send_signal, state->handle.number, SIGKILL, nullptr, 0);
    if (state->waitUntilEnded(milliseconds)) {
        reapProcess(state->child);
    } else {
        lateChildren().add(state->child);
    }
    state.reset();
}

int64_t ChildProcess::id() const {
    return state == nullptr ? 0 : state->child;
}
