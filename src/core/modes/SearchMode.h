#pragma once

#include <string>

class Companion;

/// The run mode `--search`: one web search; its text is the whole output. Returns the exit code 0, whatever
/// was found.
int runSearchMode(const Companion& companion, const std::string& query);
