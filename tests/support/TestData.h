#pragma once

#include <string>

/// The full path of a file in tests/data.
std::string testDataPath(const std::string& name);

/// The bytes of a file in tests/data. A missing file fails the current test and gives an empty text.
std::string readTestData(const std::string& name);
