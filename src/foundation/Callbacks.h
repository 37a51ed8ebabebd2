#pragma once

#include <atomic>
#include <functional>
#include <string>

/// Takes one progress line meant for the user, in UTF-8. Runs on the thread of the operation that reports.
using StatusFn = std::function<void(const std::string& line)>;

/// Ends an operation when it turns true. The owner of the operation sets it, from any thread.
using CancelFlag = const std::atomic<bool>;
