#pragma once

#include <string>
#include <string_view>
#include <vector>

/// What the program was started for.
enum class RunMode { search, wavTest, micCapture, faceTest, cameraTest, ask, capture, window };

/// A mode and what stands behind its switch on the command line.
struct ModeChoice {
    RunMode mode = RunMode::window;
    std::string arguments;
};

/// The command line as one text, without the program's name: the arguments joined by blanks, those that hold
/// a blank in double quotes, which a shell has eaten by then. Text that isn't UTF-8 is repaired.
std::string commandLineText(const std::vector<std::string>& arguments);

/// The first switch of the fixed order that is found anywhere in the text wins, wherever it stands and
/// whatever follows it. The blank behind a switch is part of it, but for "--shot", which takes no text.
ModeChoice chooseMode(const std::string& commandLine);

/// The text without the double quotes around it, if it has both; otherwise as it is.
std::string stripQuotes(std::string_view text);
