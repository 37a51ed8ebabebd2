#pragma once

class Companion;

/// Makes what shows, hears and speaks, in this order: window and renderer first, for without them there is no
/// companion; then what it says things with, each of which may be missing; the threads last. False when it
/// can't be shown, which the user has been told.
[[nodiscard]] bool startCompanion(Companion& companion);

/// First what is running is told to stop, then the threads are joined, and the engine that they may still
/// wait for ends last.
void shutDownCompanion(Companion& companion);

/// The normal mode: the head on the desktop, until the user or the system ends it. Returns the exit code: 1
/// when there is no display or the head can't be drawn, which the user is told; else 0.
int runWindowMode(Companion& companion);
