#include "foundation/Log.h"

#include <gtest/gtest.h>

#include <regex>
#include <thread>

#include "foundation/Files.h"
#include "foundation/Paths.h"

namespace {

TEST(Log, ManyThreadsGiveWholeStampedLines) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 10; ++i)
        threads.emplace_back([i] { logLine("thread %d %s", i, std::string(100, 'x').c_str()); });
    for (std::thread& thread : threads)
        thread.join();
    logLine("%s", ("two\nlines\r" + std::string(5000, 'y')).c_str());

    std::string log;
    ASSERT_TRUE(readWholeFile(joinPath(dataFolder(), "velu.log"), log));
    const std::string time = "\\d\\d:\\d\\d:\\d\\d ";
    EXPECT_TRUE(std::regex_match(log.substr(0, log.find('y')),
                                 std::regex("(" + time + "thread \\d x{100}\n){10}" + time + "two lines ")));
    EXPECT_TRUE(log.ends_with(" two lines " + std::string(2037, 'y') + "\n"));
}

}  // namespace
