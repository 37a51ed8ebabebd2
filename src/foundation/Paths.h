#pragma once

#include <string>

// Threads: everything here may be called from any thread; the first call of `dataFolder` fixes its answer.

/// Returns the folder of all that the program stores: VELU_HOME if that is set and not empty, else "Velu" in
/// this user's data folder. Only its last level is created.
const std::string& dataFolder();

/// Returns the folder of the executable.
const std::string& exeFolder();

/// Returns the path of a read-only asset; the assets lie beside the executable.
std::string assetPath(const std::string& name);
