#include "support/TestData.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

std::string testDataPath(const std::string& name) {
    return std::string(TEST_DATA "/") + name;
}

std::string readTestData(const std::string& name) {
    EXPECT_TRUE(std::ifstream(testDataPath(name)).is_open()) << testDataPath(name);
    return fileText(testDataPath(name));
}

std::string fileText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();  // what can't be read, like a folder, is empty
    return text.str();
}

std::string dataText(const std::string& name) {
    return fileText(std::string(std::getenv("VELU_HOME")) + "/" + name);
}
