#pragma once

#include <string>

class Companion;

/// The run mode `--ask`: starts the engine with the chosen model, asks one question, stops the engine. Writes
/// "[status] ...", "[say Nms] ...", "[act] ..." and "[done Nms]" lines, times counted from the moment of the
/// question. Returns the exit code: 1 with "[error] engine failed" when the engine doesn't come up, else 0.
int runAskMode(Companion& companion, const std::string& question);
