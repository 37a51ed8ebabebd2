#include "presence/BubbleLayout.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "presence/BubbleText.h"

namespace {

std::ostream& operator<<(std::ostream& words, const Rect& rect) {
    return words << rect.left << "," << rect.top << " " << rect.width() << "x" << rect.height();
}

/// Returns the window, the pointer's left end and tip, the text with its top, the status and the edit line.
std::string wordsOf(const BubbleLayout& layout) {
    std::ostringstream words;
    const Point left = layout.pointer[0];
    const Point tip = layout.pointer[2];
    words << layout.window << (layout.above ? " above " : " below ") << left.x << "," << left.y << " "
          << tip.x << "," << tip.y << " " << layout.text << " " << layout.textTop;
    if (layout.status.width() > 0) words << " " << layout.status;
    if (layout.edit.width() > 0) words << " " << layout.edit;
    return words.str();
}

TEST(BubbleLayout, ThePanelStandsWhereItFitsPointsAtTheHeadAndShowsTheNewestLines) {
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    constexpr Rect screen{0, 0, 1000, 700};
    const struct {
        int32_t textHeight;
        bool hasStatus, typing;
        int32_t headLeft, headTop;
        const char* expected;
        Rect area = screen;
        int32_t dpi = 96;
    } cases[] = {
        {0, false, false, 400, 300, "332,248 340x66 above 161,54 170,65 14,12 312x30 12"},
        {40, false, false, 400, 76, "332,16 340x74 above 161,62 170,73 14,12 312x38 10"},
        {40, false, false, 400, 75, "332,301 340x74 below 161,12 170,1 14,22 312x38 20"},
        {40, false, false, 400, 90, "332,316 340x74 below 161,12 170,1 14,22 312x38 20", {0, 30, 1000, 700}},
        {40, false, false, -150, 300, "6,240 340x74 above 21,62 30,73 14,12 312x38 10"},
        {40, false, false, 950, 300, "654,240 340x74 above 301,62 310,73 14,12 312x38 10"},
        {40, false, false, 400, 70, "332,266 340x74 below 161,12 170,1 14,22 312x38 20", {0, 0, 1000, 340}},
        {40, false, false, 0, 0, "6,0 340x74 below 87,12 96,1 14,22 312x38 20", {0, 0, 200, 60}},
        {40, false, false, most - 204, most - 240, "654,626 340x74 above 301,62 310,73 14,12 312x38 10"},
        {1000, false, false, 400, 400, "332,160 340x254 above 161,242 170,253 14,12 312x218 -770"},
        {1000, true, false, 400, 400,
         "332,140 340x274 above 161,262 170,273 14,12 312x220 -768 14,232 312x18"},
        {40, false, true, 400, 0, "332,226 340x110 below 161,12 170,1 14,22 312x38 20 14,76 312x24"},
        {60, true, true, 400, 400,
         "247,224 510x197 above 246,180 255,196 21,19 468x61 19 21,80 468x27 21,132 "
         "468x36",
         screen, 144},
    };
    for (const auto& item : cases) {
        const Rect head{item.headLeft, item.headTop, item.headLeft + 204, item.headTop + 240};
        const BubbleLayout layout =
            layOutBubble({item.textHeight, item.hasStatus, item.typing, head, item.area, item.dpi});
        EXPECT_EQ(wordsOf(layout), item.expected) << item.headLeft << "," << item.headTop;
    }
}

TEST(BubbleText, IsCutBetweenCharacters) {
    const std::string emoji = "\xF0\x9F\x98\x80";
    const std::string most(2046, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {"\t what now? ", "what now?"},     {most + "x\xC3\xA4y", most + "x\xC3\xA4"},
        {most + emoji + "y", most + emoji}, {most + "x" + emoji, most + "x"},
        {std::string(2048, ' ') + "x", ""},
    };
    for (const auto& [typed, question] : cases)
        EXPECT_EQ(typedQuestion(typed), question) << typed;

    EXPECT_EQ(newestPart(std::string(8192, 'x')).size(), 8192U);
    std::string text;
    for (int count = 0; count < 3000; ++count)
        text += "\xE2\x82\xAC";
    EXPECT_EQ(newestPart("x" + text), text.substr(text.size() - 4095));
}

}  // namespace
