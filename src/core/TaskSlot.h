#pragma once

#include <functional>
#include <memory>

#include "foundation/Callbacks.h"

/// Runs tasks on threads of their own, one at a time: a new task cancels the one before it and begins when
/// that one has ended. Only `join` and the destructor block.
///
/// Threads: the owner's; each task runs on its own.
class TaskSlot {
public:
    /// The flag outlives the call. It turns true when the task should end early.
    using Task = std::function<void(CancelFlag* cancel)>;

    /// `name` must outlive the slot. The log names a task that fails by it.
    explicit TaskSlot(const char* theName) : name(theName) {}
    ~TaskSlot();  ///< cancels, and blocks until the task has ended
    TaskSlot(const TaskSlot&) = delete;
    TaskSlot& operator=(const TaskSlot&) = delete;

    /// Replaces the running task. A task that hadn't begun when it was replaced never begins.
    ///
    /// If the task throws or gets no thread, the log says so and `onFailure` is called: on the task's thread
    /// or, without one, on the caller's.
    void start(Task task, const std::function<void()>& onFailure);

    void cancel();

    /// Blocks until all started tasks have ended.
    void join();

    /// Releases the thread of a task that has ended. Does nothing while a task runs.
    void reap();

private:
    struct Run;

    const char* name;
    std::shared_ptr<Run> current;  ///< the newest
};
