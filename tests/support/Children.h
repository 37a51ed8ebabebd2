#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// The living children of this process whose program has this name, of which the system knows 15 letters.
std::vector<pid_t> childrenCalled(const std::string& program);
