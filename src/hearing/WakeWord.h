#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The phrases that the wake recogniser tells apart: the name, what it is easily mistaken for, and "[unk]"
/// for all other speech.
const std::vector<std::string>& wakePhrases();

/// Returns the folder of the wake-word model, beside the executable. Threads: any.
std::string wakeModelFolder();

/// Returns whether one of the `words`, which single blanks separate, is the name. Threads: any.
bool heardWakeWord(std::string_view words);
