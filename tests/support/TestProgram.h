#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

/// A program that a test runs beside itself, with this process's environment. It goes when the object does,
/// and when the thread that started it ends, however that ends.
///
/// Threads: one at a time.
class TestProgram {
public:
    /// Starts `words[0]`, looked for along PATH, with the rest as its arguments; both its outputs go to the
    /// file `log`, begun afresh. One that can't be started ends with 127.
    TestProgram(std::vector<std::string> words, const std::string& log);
    ~TestProgram();  ///< asks it to end, and ends it when it doesn't
    TestProgram(const TestProgram&) = delete;
    TestProgram& operator=(const TestProgram&) = delete;

    void signal(int number) const;

    /// Its exit code, or minus the signal that ended it; nothing while it runs.
    std::optional<int> result();

    /// `result` once there is one; nothing when it doesn't end in time.
    std::optional<int> wait();

    pid_t pid = -1;

private:
    std::optional<int> ended;
};
