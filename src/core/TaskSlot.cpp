#include "core/TaskSlot.h"

#include <atomic>
#include <thread>
#include <utility>

#include "core/Guard.h"

struct TaskSlot::Run {
    std::atomic<bool> isCancelled = false;
    std::atomic<bool> hasEnded = false;
    std::thread thread;
    std::shared_ptr<Run> before;  ///< the run that has to end first
};

TaskSlot::~TaskSlot() {
    cancel();
    join();
}

void TaskSlot::start(Task task, const std::function<void()>& onFailure) {
    cancel();
    const auto run = std::make_shared<Run>();
    run->before = current;
    const auto body = [raw = run.get(), taskName = name, task = std::move(task), onFailure] {
        if (raw->before) raw->before->thread.join();
        raw->before.reset();
        const bool isDone = guarded(taskName, [&] {
            if (!raw->isCancelled) task(&raw->isCancelled);
        });
        if (!isDone) guarded(taskName, onFailure);
        raw->hasEnded = true;
    };
    // Without a thread the run before stays the newest one.
    if (guarded(name, [&] { run->thread = std::thread(body); })) {
        current = run;
    } else {
        onFailure();
    }
}

void TaskSlot::cancel() {
    if (current) current->isCancelled = true;
}

void TaskSlot::join() {
    if (!current) return;
    current->thread.join();
    current.reset();
}

void TaskSlot::reap() {
    if (current && current->hasEnded) join();
}
