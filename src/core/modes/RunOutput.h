#pragma once

#include <string>

/// Where a run mode leaves its findings: the file "ask-output.txt" in the data folder, which scripts read,
/// and standard output, for a person at a terminal. Each line is in both as soon as it is added. Threads:
/// one.
class RunOutput {
public:
    /// For a mode that has all it says at once: the text, unchanged, is the whole output.
    static void writeWhole(const std::string& text);

    /// Begins the file afresh.
    RunOutput();

    /// Adds one line; the line feed is added here. A file that can't be opened loses it without a word.
    void add(const std::string& line) const;

private:
    std::string path;
};
