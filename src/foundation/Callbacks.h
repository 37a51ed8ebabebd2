#pragma once

#include <atomic>
#include <functional>
#include <string>

/// Takes one progress line meant for the user, in UTF-8. Runs on the thread of the operation that reports.
using StatusFn = std::function<void(const std::string& line)>;

/// A flag, owned by whoever may want to stop an operation, that the operation watches. Set from any thread.
using CancelFlag = const std::atomic<bool>;
