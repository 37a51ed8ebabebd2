#pragma once

#include <string>

// Where the desktop's conventions have a user's files. Threads: any.

/// The value of `variable` when it is an absolute path, else `below` in the user's home folder, which starts
/// with a slash. Empty when there is neither.
std::string userFolder(const char* variable, const char* below);

/// Creates the folder and those above it that are missing, readable for this user only.
void createPrivateFolders(const std::string& path);
