#pragma once

#include <functional>
#include <memory>

#include "foundation/Callbacks.h"

/// Runs tasks on threads of their own, one at a time: a new task cancels the one before it and begins when
/// that has ended. Nothing but `join` waits, so a task that takes its time to notice its flag doesn't hold up
/// the caller.
///
/// Threads: the owner's; the tasks run on theirs.
class TaskSlot {
public:
    /// What is to be done. The flag, which outlives the call, turns true when the task is to end early.
    /// Nothing may be thrown.
    using Task = std::function<void(CancelFlag* cancel)>;

    TaskSlot() = default;
    ~TaskSlot();  ///< cancels, and waits
    TaskSlot(const TaskSlot&) = delete;
    TaskSlot& operator=(const TaskSlot&) = delete;

    /// Replaces the task that runs. One that hadn't begun when it was replaced never begins.
    void start(Task task);

    void cancel();

    /// Waits until everything that was started has ended.
    void join();

    /// Releases the thread of a task that has ended; does nothing while one runs.
    void reap();

private:
    struct Run;
    std::shared_ptr<Run> current;  ///< the newest; it knows the one that it has to wait for
};
