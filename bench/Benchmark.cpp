#include "Benchmark.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

int runBenchmark(const char* name, const std::function<int()>& measure) {
    try {
        return measure();
    } catch (const std::exception& error) {
        std::printf("%s: not measured; %s\n", name, error.what());
        return 1;
    }
}

void setVariable(const char* name, const std::string& value) {
    setenv(name, value.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): no other thread runs yet
}
