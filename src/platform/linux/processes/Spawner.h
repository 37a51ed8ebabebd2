#pragma once

#include <sys/types.h>

#include "platform/process.h"

/// Starts a child that dies with this program. Returns its number once it runs the new program, and the
/// caller must reap it in the end; returns -1 when it can't be started.
///
/// Threads: any; callers wait for each other.
pid_t spawnProcess(const ProcessOptions& options);

/// Blocks until a child has ended and releases its number, which may then belong to another process.
void reapProcess(pid_t child);

/// Ends a child that has no new program. Async-signal-safe, unlike ThreadSanitizer's replacement of `_exit`,
/// which waits for locks that another thread held at the fork.
[[noreturn]] void exitFork(int code);

/// Resets ignored and blocked signals in a child, because its new program would inherit them.
/// Async-signal-safe.
void resetSignals();
