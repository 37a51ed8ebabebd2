#pragma once

#include <cstdint>
#include <mutex>

#include "foundation/Callbacks.h"

/// Returns milliseconds of a monotonic clock. It is never 0, so that a field of 0 can mean "not set".
uint64_t tickCount();

/// Sleeps; ends within 50 ms of `cancel` (may be null) turning true. Returns false when it was cancelled.
bool pauseUnlessCancelled(uint64_t milliseconds, CancelFlag* cancel);

/// Waits for the mutex; ends within 50 ms of `cancel` (may be null) turning true, and then holds nothing. A
/// free mutex is locked all the same.
std::unique_lock<std::mutex> lockUnlessCancelled(std::mutex& mutex, CancelFlag* cancel);
