#pragma once

#include <sys/types.h>

#include <functional>

/// Returns the processor time that a process and all its threads have used, in seconds, counted in clock
/// ticks (usually 10 ms).
double processorSeconds(pid_t pid);

/// Returns the processor time that this process and all its threads have used, in milliseconds, exactly.
double ownProcessorMilliseconds();

/// Runs `work` and returns what share of one core it took, in percent. `processorSeconds` is read before and
/// after it.
double percentOfCore(const std::function<double()>& processorSeconds, const std::function<void()>& work);

/// Returns the resident memory of a process in MiB.
double residentMemory(pid_t pid);
