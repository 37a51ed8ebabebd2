// What the sound on Linux is made of: the mouth shapes of espeak-ng's mnemonics, and the connection to
// PulseAudio.

#include <gtest/gtest.h>

#include "platform/linux/sound/PulseConnection.h"
#include "platform/linux/sound/Visemes.h"

namespace {

TEST(Visemes, TheLongestBeginningOfAMnemonicCounts) {
    const std::pair<const char*, std::optional<int32_t>> cases[] = {
        {"_", 0},   {"_:", 0}, {"@", 1},   {"@L", 14}, {"@2", 1}, {"a", 1},  {"aI", 11}, {"aI@", 11},
        {"aU", 9},  {"A:", 2}, {"O:", 3},  {"OI", 10}, {"oU", 8}, {"e@", 4}, {"I2", 6},  {"t#", 19},
        {"tS", 16}, {"d", 19}, {"dZ", 16}, {"s", 15},  {"p", 21}, {"y", {}}, {"", {}}};
    for (const auto& [mnemonic, viseme] : cases)
        EXPECT_EQ(visemeOf(mnemonic), viseme) << mnemonic;
}

// It did not, when it came between a look at what is to be done and the wait for more.
TEST(PulseConnection, AWakeUpBeforeAWaitEndsIt) {
    PulseConnection connection;
    connection.wake();
    const auto begin = PulseConnection::Clock::now();
    connection.wait(std::chrono::seconds(20));
    EXPECT_LT(PulseConnection::Clock::now() - begin, std::chrono::seconds(10));
}

}  // namespace
