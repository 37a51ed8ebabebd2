#include "foundation/Log.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <thread>
#include <vector>

#include "foundation/Files.h"
#include "foundation/Paths.h"

namespace {

TEST(Log, ManyThreadsGiveWholeStampedLines) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 10; ++i)
        threads.emplace_back([i] { logLine("thread %d %s", i, std::string(100, 'x').c_str()); });
    for (std::thread& thread : threads)
        thread.join();
    logLine("%s", ("two\nlines" + std::string(5000, 'y')).c_str());

    std::string log;
    ASSERT_TRUE(readWholeFile(joinPath(dataFolder(), "velu.log"), log));
    std::istringstream lines(log);
    const std::regex whole("\\d\\d:\\d\\d:\\d\\d thread \\d x{100}");
    std::string line;
    for (int i = 0; i < 10; ++i) {
        ASSERT_TRUE(std::getline(lines, line));
        EXPECT_TRUE(std::regex_match(line, whole)) << line;
    }
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(line.substr(9), "two lines" + std::string(2038, 'y'));
    EXPECT_FALSE(std::getline(lines, line));
}

}  // namespace
