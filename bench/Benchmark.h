#pragma once

#include <functional>
#include <string>

/// Runs a benchmark's measurement and returns the program's exit code: what `measure` returns, or 1 after an
/// exception, which is printed behind the benchmark's name.
int runBenchmark(const char* name, const std::function<int()>& measure);

/// Sets an environment variable. Call it before any thread is started.
void setVariable(const char* name, const std::string& value);
