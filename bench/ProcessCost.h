#pragma once

#include <sys/types.h>

/// Seconds of the processor that a process and all its threads have used.
double processorSeconds(pid_t pid);

/// Resident memory in MiB.
double residentMemory(pid_t pid);
