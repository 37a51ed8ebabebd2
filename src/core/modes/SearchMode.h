#pragma once

#include <string>

class Companion;

/// The run mode `--search`: makes one web search and writes its text as the whole output. Always returns the
/// exit code 0.
int runSearchMode(const Companion& companion, const std::string& query);
