#include "support/TestData.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

std::string testDataPath(const std::string& name) {
    return std::string(TEST_DATA "/") + name;
}

std::string readTestData(const std::string& name) {
    std::ifstream file(testDataPath(name), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << testDataPath(name);
    return {std::istreambuf_iterator<char>(file), {}};
}
