#pragma once

#include <functional>

class Companion;

/// Makes what shows, hears and speaks, in this order: window and renderer, without which there is no
/// companion; then bubble, voice and menu; the threads last. Returns false when the head can't be shown; the
/// user has been told then.
[[nodiscard]] bool startCompanion(Companion& companion);

/// Ends a companion, also one of which only a part was started: takes it off the screen, cancels what runs,
/// joins the threads, and stops the engines last, because the threads may wait for them.
void shutDownCompanion(Companion& companion);

/// Runs `work` and then shuts the companion down, also if `work` throws; that is logged then. Returns the
/// exit code of `work`, or 1.
int runAndShutDown(Companion& companion, const std::function<int()>& work);

/// The normal mode: shows the head on the desktop until the user or the system ends it. Returns the exit
/// code: 1 when there is no display or the head can't be drawn, which the user is told; else 0.
int runWindowMode(Companion& companion);
