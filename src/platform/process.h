#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// How to start a child process. Paths are UTF-8. The empty initialisers let a caller name only the fields
/// that it sets.
struct ProcessOptions {
    /// Full path; PATH is not searched.
    std::string executable = {};
    /// Passed unchanged, without a shell; the program's own name is not among them.
    std::vector<std::string> arguments = {};
    /// Empty: the working folder of this process.
    std::string workingFolder = {};
    /// Receives standard output and error, and is emptied first. When it is empty or can't be opened, both
    /// outputs are inherited.
    std::string logFile = {};
    /// The system's number of an open file that becomes the child's standard input; the caller keeps it.
    /// -1: the child reads an empty file.
    int standardInput = -1;
    /// Asks for a higher priority than normal; a refusal is not an error.
    bool raisePriority = false;
};

/// One child process, without a window.
///
/// The child dies when this program dies, however it dies (its own children may survive then). It survives
/// the thread that started it. It leads a process group, so that a Ctrl+C at our terminal doesn't reach it,
/// and ending it ends its own children too.
///
/// Threads: one at a time for each object; different objects may be used on different threads.
class ChildProcess {
public:
    ChildProcess();
    ~ChildProcess();  ///< ends the child
    ChildProcess(ChildProcess&&) noexcept;
    ChildProcess& operator=(ChildProcess&&) noexcept;

    /// Ends the held child, if any, and starts the program. Returns false when that fails (no such file, not
    /// executable, no memory); the object then holds no child. Blocks until the program runs.
    [[nodiscard]] bool start(const ProcessOptions& options);

    /// Returns whether the object holds a child: from a successful `start` until `end`, or until `hasExited`
    /// returned true.
    [[nodiscard]] bool isHeld() const;

    /// Returns true when the held child has ended by itself, and releases it; also when no child is held.
    /// Doesn't block.
    [[nodiscard]] bool hasExited();

    /// Blocks until the held child has ended by itself, for at most `milliseconds`. Returns as `hasExited`.
    [[nodiscard]] bool waitForExit(int milliseconds);

    /// Returns whether the held child itself listens on this TCP port, and not another program that took the
    /// port first. Returns true when the system doesn't tell whose port it is; false without a child.
    [[nodiscard]] bool listensOn(int32_t port) const;

    /// Kills the child and its group, and blocks until it is gone, for at most `milliseconds`. That takes
    /// more than a few milliseconds only when the system is stuck in a driver. Does nothing without a child.
    void end(int milliseconds = 3000);

    /// Returns the system's number of the held child; 0 without one.
    [[nodiscard]] int64_t id() const;

private:
    struct State;
    std::unique_ptr<State> state;
};

/// Returns whether any program listens on this TCP port of the loopback interface; programs that share a port
/// would silently split its callers between them. Closing connections on the port don't count. Returns false
/// when it can't be found out. Threads: any; blocks for a second at most, and only when the listener is
/// stuck.
bool isPortTaken(int32_t port);
