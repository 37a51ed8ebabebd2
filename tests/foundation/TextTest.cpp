#include "foundation/Text.h"

#include <gtest/gtest.h>

namespace {

TEST(Text, RepairsExactlyWhatIsNotUtf8) {
    const std::string bad = "\xEF\xBF\xBD";
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"plain", "plain"},
        {"caf\xC3\xA9 \xE2\x80\x93 \xF0\x9F\x98\x80", "caf\xC3\xA9 \xE2\x80\x93 \xF0\x9F\x98\x80"},
        {"cut \xC3", "cut " + bad},
        {"cut \xF0\x9F\x98", "cut " + bad},
        {"\xF0\x9F\x98next", bad + "next"},
        {"\x80\xBF", bad + bad},
        {"\xC0\xAF", bad + bad},                      // overlong
        {"\xE0\x80\x80", bad + bad + bad},            // overlong
        {"\xED\xA0\x80", bad + bad + bad},            // a surrogate
        {"\xF4\x90\x80\x80", bad + bad + bad + bad},  // beyond the last character
        {"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},     // the last character
        {std::string("a\0b", 3), std::string("a\0b", 3)},
    };
    for (const auto& [text, repaired] : cases)
        EXPECT_EQ(repairUtf8(text), repaired) << testing::PrintToString(text);
}

TEST(Text, CutsBetweenCharacters) {
    const std::string face = "\xF0\x9F\x98\x80";
    const std::string text = "ab\xC3\xA9" + face;
    const std::pair<size_t, std::string> cases[] = {
        {0, ""},           {2, "ab"},         {3, "ab"}, {4, "ab\xC3\xA9"},
        {5, "ab\xC3\xA9"}, {7, "ab\xC3\xA9"}, {8, text}, {99, text},
    };
    for (const auto& [bytes, cut] : cases)
        EXPECT_EQ(cutUtf8(text, bytes), cut) << bytes;
    // U+20AC is one unit, the face two.
    const std::string units = "a\xC3\xA9\xE2\x82\xAC" + face;
    for (const auto& [count, bytes] : {std::pair{0, 0}, {1, 1}, {2, 3}, {3, 6}, {4, 6}, {5, 10}, {9, 10}})
        EXPECT_EQ(cutToUnits(units, count).size(), bytes) << count;
}

}  // namespace
