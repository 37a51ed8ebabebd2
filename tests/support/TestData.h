#pragma once

#include <string>

/// Returns the full path of a file in tests/data.
std::string testDataPath(const std::string& name);

/// Returns the bytes of a file in tests/data. A missing file fails the current test.
std::string readTestData(const std::string& name);

/// Returns the bytes of any file, or of one in the data folder; empty when there is none.
std::string fileText(const std::string& path);
std::string dataText(const std::string& name);
