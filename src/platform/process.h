#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// What a child process is started with. Paths are UTF-8. The empty initialisers let a caller name only what
/// it sets.
struct ProcessOptions {
    /// Full path; there is no search along PATH.
    std::string executable = {};
    /// Without the program's own name; handed over as they are, with no shell between.
    std::vector<std::string> arguments = {};
    /// Empty: that of this process.
    std::string workingFolder = {};
    /// For standard output and error, begun afresh. Empty, or not to be opened: both are inherited.
    std::string logFile = {};
    /// The system's number of an open file that becomes the child's standard input; it stays the caller's.
    /// -1: an empty one.
    int standardInput = -1;
    /// Asks for more than the normal share of the processor; refusal is not an error.
    bool raisePriority = false;
};

/// One child process, without a window.
///
/// The child dies when this program dies, however it dies (children of its own may outlive it then), and
/// lives on when the thread that started it ends. It leads a process group of its own, so that a Ctrl+C at
/// our terminal doesn't reach it and ending it takes its own children along.
///
/// Threads: one at a time for each object; different objects may be used on different threads.
class ChildProcess {
public:
    ChildProcess();
    ~ChildProcess();  ///< ends the child
    ChildProcess(ChildProcess&&) noexcept;
    ChildProcess& operator=(ChildProcess&&) noexcept;

    /// Starts the program; a child that this object still holds is ended first. False when it can't be
    /// created (no such file, not executable, no memory); the object then holds none.
    [[nodiscard]] bool start(const ProcessOptions& options);

    /// True while the object holds a child: from a good `start` until `end`, or until `hasExited` said yes.
    [[nodiscard]] bool isHeld() const;

    /// Whether the held child has ended by itself; if so it is let go. True also when none is held.
    /// Doesn't block.
    [[nodiscard]] bool hasExited();

    /// Waits up to `milliseconds` for the held child to end by itself; returns at once when it does. Like
    /// `hasExited` otherwise.
    [[nodiscard]] bool waitForExit(int milliseconds);

    /// Whether the held child itself listens on this TCP port. It tells our own server from a stranger that
    /// took the port before it. True as well when the system doesn't tell whose port it is.
    [[nodiscard]] bool listensOn(int32_t port) const;

    /// Ends the child and its group at once, without asking, and waits that long at most for it to be gone.
    /// Death takes longer than a few milliseconds only when the system is stuck in a driver.
    void end(int milliseconds = 3000);

    /// The system's number of the held child, 0 for none.
    [[nodiscard]] int64_t id() const;

private:
    struct State;
    std::unique_ptr<State> state;
};

/// Whether anything listens on this TCP port of the loopback interface. Programs that share their ports would
/// otherwise split its callers among them without a word. Connections that are only dying on the port don't
/// count. False as well when it can't be found out. Any thread; blocks for a second at most, and only when
/// the listener is stuck.
bool isPortTaken(int32_t port);
