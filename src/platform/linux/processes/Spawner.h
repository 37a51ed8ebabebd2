#pragma once

#include <sys/types.h>

#include "platform/process.h"

/// Starts a child that dies with this program, and returns when it runs the new program. The number of the
/// child, which the caller must wait for in the end; -1 when it can't be started.
///
/// Threads: any; callers wait for each other.
pid_t spawnProcess(const ProcessOptions& options);

/// Waits for a child to end and lets the system forget it; its number may go to another process after that.
void reapProcess(pid_t child);

/// Ends a child that has no new program. Async-signal-safe, which `_exit` isn't where ThreadSanitizer puts
/// its own in place of it: that waits for what another thread held at the fork.
[[noreturn]] void exitFork(int code);

/// In a child before its new program: what is ignored or blocked would go on to the program, which expects
/// neither. Async-signal-safe.
void resetSignals();
