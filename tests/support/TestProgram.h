#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

/// A program that a test runs beside itself, in this process's environment. It ends with the object, and
/// with the thread that started it, however that one ends.
///
/// Threads: one at a time.
class TestProgram {
public:
    /// Starts `words[0]`, looked for along PATH, with the rest as its arguments. Both its outputs go to the
    /// file `log`. A program that can't be started ends with 127.
    TestProgram(std::vector<std::string> words, const std::string& log);
    ~TestProgram();  ///< asks it to end, and kills it if it doesn't
    TestProgram(const TestProgram&) = delete;
    TestProgram& operator=(const TestProgram&) = delete;

    void signal(int number) const;

    /// Returns its exit code, or minus the signal that ended it; nothing while it runs.
    std::optional<int> result();

    /// Blocks until there is a `result`. Returns nothing when it doesn't end in time.
    std::optional<int> wait();

    pid_t pid = -1;

private:
    std::optional<int> ended;
};
