#pragma once

#include <string>
#include <string_view>
#include <vector>

/// What the program was started for.
enum class RunMode { search, wavTest, micCapture, faceTest, cameraTest, ask, capture, window };

/// A mode, and what follows its switch on the command line.
struct ModeChoice {
    RunMode mode = RunMode::window;
    std::string arguments;
};

/// Returns the arguments as one text, joined by blanks. Arguments that hold a blank get the double quotes
/// back that the shell has removed. Text that isn't UTF-8 is repaired.
std::string commandLineText(const std::vector<std::string>& arguments);

/// Returns the mode whose switch stands anywhere in the text. Of several switches the first in a fixed order
/// wins. The blank after a switch is part of it, except for "--shot", which takes no text.
ModeChoice chooseMode(const std::string& commandLine);

/// Returns the text without the double quotes around it, if it has both; otherwise unchanged.
std::string stripQuotes(std::string_view text);
