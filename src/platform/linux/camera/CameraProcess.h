#pragma once

#include <string>
#include <vector>

#include "platform/linux/processes/FileDescriptor.h"
#include "platform/process.h"

/// The program `velu-camera` beside this program, which does everything that needs GStreamer. It is a process
/// of its own because a library or driver that hangs can be killed there, and a crash harms nothing else.
///
/// Threads: one at a time for each object.
class CameraProcess {
public:
    /// Starts it. Returns false when it is missing or can't be started.
    [[nodiscard]] bool start(const std::vector<std::string>& arguments);

    /// Returns true from a successful `start` until `end`.
    [[nodiscard]] bool isStarted() const { return channel.isOpen(); }

    /// Kills it, and blocks for at most `waitMs` until it is gone and the device is free.
    void end(int waitMs);

    FileDescriptor channel;  ///< the socket to it; ends when the program ends

private:
    ChildProcess program;
};
