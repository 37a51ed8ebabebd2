#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// Returns the living children of this process whose program has this name, of at most 15 letters.
std::vector<pid_t> childrenCalled(const std::string& program);
