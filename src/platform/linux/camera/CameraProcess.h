#pragma once

#include <string>
#include <vector>

#include "platform/linux/processes/FileDescriptor.h"
#include "platform/process.h"

/// `velu-camera`, which lies beside this program and does for it what needs GStreamer. In a process of its
/// own, for a library or a driver that hangs can be ended there, and one that crashes takes nothing along.
///
/// Threads: one at a time for each object.
class CameraProcess {
public:
    /// Starts it. False when it isn't there or can't be started.
    [[nodiscard]] bool start(const std::vector<std::string>& arguments);

    /// Until `end`.
    [[nodiscard]] bool isStarted() const { return channel.isOpen(); }

    /// Ends it, whatever it is at, and waits that long at most for it to be gone, and the device free.
    void end(int waitMs);

    FileDescriptor channel;  ///< to talk with it; at its end when the program has ended

private:
    ChildProcess program;
};
