#pragma once

#include <string>

// Folders below the data folder. Threads: any.

/// Returns the path of the folder of this name in the data folder, and creates the folder if it is missing.
std::string createdFolder(const std::string& name);

/// Returns the folder of all engines' models; created on every call so that callers can write to it.
std::string modelsFolder();
