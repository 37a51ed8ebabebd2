#pragma once

#include <string>

/// The output of a run mode: the file "ask-output.txt" in the data folder, for scripts, and standard output,
/// for a person at a terminal. Each line is in both as soon as it is added.
///
/// Threads: one at a time.
class RunOutput {
public:
    /// Writes `text`, unchanged, as the whole output.
    static void writeWhole(const std::string& text);

    /// Empties the file.
    RunOutput();

    /// Adds `line` and a line feed. A file that can't be opened misses the line; nothing reports that.
    void add(const std::string& line) const;

private:
    std::string path;
};
