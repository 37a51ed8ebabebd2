#include "core/TaskSlot.h"

#include <atomic>
#include <thread>
#include <utility>

struct TaskSlot::Run {
    std::atomic<bool> isCancelled = false;
    std::atomic<bool> hasEnded = false;
    std::thread thread;
};

TaskSlot::~TaskSlot() {
    cancel();
    join();
}

void TaskSlot::start(Task task) {
    cancel();
    auto run = std::make_shared<Run>();
    run->thread =
        std::thread([raw = run.get(), before = std::move(current), task = std::move(task)]() mutable {
            if (before) before->thread.join();
            before.reset();
            if (!raw->isCancelled) task(&raw->isCancelled);
            raw->hasEnded = true;
        });
    current = std::move(run);
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
