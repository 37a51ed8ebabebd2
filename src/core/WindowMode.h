#pragma once

class Companion;

/// The normal mode: the head on the desktop, until the user or the system ends it. Returns the exit code: 1
/// when there is no display or the head can't be drawn, which the user is told; else 0.
int runWindowMode(Companion& companion);
