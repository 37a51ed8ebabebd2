#pragma once

#include <string>

// Threads: everything here may be called from any thread; the first call of `dataFolder` fixes its answer.

/// The folder that holds all that the program keeps: VELU_HOME if that is set and not empty, else "Velu" in
/// this user's data folder. Only its last level is created.
const std::string& dataFolder();

/// The folder of the executable.
const std::string& exeFolder();

/// The read-only asset of this name; they lie beside the executable.
std::string assetPath(const std::string& name);
