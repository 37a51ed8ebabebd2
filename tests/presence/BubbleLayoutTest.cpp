#include "presence/BubbleLayout.h"

#include <gtest/gtest.h>

#include <limits>

#include "presence/BubbleText.h"

namespace {

constexpr Rect screen{0, 0, 1000, 700};

std::string words(const Rect& rect) {
    return std::to_string(rect.left) + "," + std::to_string(rect.top) + " " + std::to_string(rect.width()) +
           "x" + std::to_string(rect.height());
}

BubbleLayout layoutAt(Point head, int32_t textHeight, bool hasStatus, bool typing, const Rect& area = screen,
                      int32_t dpi = 96) {
    return layOutBubble(
        {textHeight, hasStatus, typing, {head.x, head.y, head.x + 204, head.y + 240}, area, dpi});
}

TEST(BubbleLayout, ThePanelStandsWhereItFitsAndPointsAtTheHead) {
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    const struct {
        const char* name;
        int32_t textHeight;
        bool hasStatus, typing;
        Point head;
        const char* window;
        bool above;
        int32_t pointerX;
        Rect area = screen;
        int32_t dpi = 96;
    } cases[] = {
        {"empty", 0, false, false, {400, 300}, "332,248 340x66", true, 170},
        {"just fits", 40, false, false, {400, 76}, "332,16 340x74", true, 170},
        {"doesn't fit", 40, false, false, {400, 75}, "332,301 340x74", false, 170},
        {"dock", 40, false, false, {400, 90}, "332,316 340x74", false, 170, {0, 30, 1000, 700}},
        {"left", 40, false, false, {0, 300}, "6,240 340x74", true, 96},
        {"far left", 40, false, false, {-150, 300}, "6,240 340x74", true, 30},
        {"far right", 40, false, false, {950, 300}, "654,240 340x74", true, 310},
        {"ten lines", 230, false, false, {400, 300}, "332,60 340x254", true, 170},
        {"status", 40, true, false, {400, 300}, "332,220 340x94", true, 170},
        {"chat", 40, false, true, {400, 300}, "332,204 340x110", true, 170},
        {"bottom", 40, false, false, {400, 70}, "332,266 340x74", false, 170, {0, 0, 1000, 340}},
        {"tiny", 40, false, false, {0, 0}, "6,0 340x74", false, 96, {0, 0, 200, 60}},
        {"144", 60, false, false, {400, 300}, "247,208 510x113", true, 255, screen, 144},
        {"beyond", 40, false, false, {most - 204, most - 240}, "654,626 340x74", true, 310},
    };
    for (const auto& item : cases) {
        const BubbleLayout layout =
            layoutAt(item.head, item.textHeight, item.hasStatus, item.typing, item.area, item.dpi);
        EXPECT_EQ(words(layout.window), item.window) << item.name;
        EXPECT_EQ(layout.above, item.above) << item.name;
        const int32_t width = layout.window.width();
        const int32_t height = layout.window.height();
        const int32_t tail = item.dpi == 96 ? 10 : 15;
        const Rect body = item.above ? Rect{0, 0, width, height - tail} : Rect{0, tail, width, height};
        EXPECT_EQ(words(layout.body), words(body)) << item.name;
        const int32_t base = item.above ? height - tail - 2 : tail + 2;
        const int32_t x = item.pointerX;
        const std::array<Point, 3> pointer{Point{x - 9, base}, Point{x + 9, base},
                                           Point{x, item.above ? height - 1 : 1}};
        EXPECT_EQ(layout.pointer, pointer) << item.name;
    }
}

TEST(BubbleLayout, TextStatusAndEditLineShareTheBodyAndTheNewestLinesAreInView) {
    const struct {
        int32_t textHeight;
        bool hasStatus, typing;
        int32_t headTop, dpi;
        const char* text;
        int32_t textTop;
        const char* status;
        const char* edit;
    } cases[] = {
        {20, false, false, 400, 96, "14,12 312x30", 12, "0,0 0x0", "0,0 0x0"},
        {40, false, false, 400, 96, "14,12 312x38", 10, "0,0 0x0", "0,0 0x0"},
        {1000, false, false, 400, 96, "14,12 312x218", -770, "0,0 0x0", "0,0 0x0"},
        {0, true, false, 400, 96, "14,12 312x12", 12, "14,24 312x18", "0,0 0x0"},
        {1000, true, false, 400, 96, "14,12 312x220", -768, "14,232 312x18", "0,0 0x0"},
        {40, true, true, 400, 96, "14,12 312x40", 12, "14,52 312x18", "14,86 312x24"},
        {0, false, true, 400, 96, "14,12 312x0", 10, "0,0 0x0", "14,26 312x24"},
        {40, false, true, 0, 96, "14,22 312x38", 20, "0,0 0x0", "14,76 312x24"},
        {60, true, true, 400, 144, "21,19 468x61", 19, "21,80 468x27", "21,132 468x36"},
    };
    for (const auto& item : cases) {
        const BubbleLayout layout =
            layoutAt({400, item.headTop}, item.textHeight, item.hasStatus, item.typing, screen, item.dpi);
        EXPECT_EQ(words(layout.text), item.text);
        EXPECT_EQ(layout.textTop, item.textTop) << item.text;
        EXPECT_EQ(words(layout.status), item.status) << item.text;
        EXPECT_EQ(words(layout.edit), item.edit) << item.text;
    }
}

TEST(BubbleText, AQuestionIsWhatWasTypedWithoutTheBlanksAroundIt) {
    const std::string emoji = "\xF0\x9F\x98\x80";
    const std::string most(2046, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {" \t ", ""},
        {"\t what now? ", "what now?"},
        {most + "xxx", most + "xx"},
        {most + "x\xC3\xA4y", most + "x\xC3\xA4"},
        {most + emoji + "y", most + emoji},
        {most + "x" + emoji, most + "x"},
        {std::string(2048, ' ') + "x", ""},
    };
    for (const auto& [typed, question] : cases)
        EXPECT_EQ(typedQuestion(typed), question) << typed;
}

TEST(BubbleText, OfAnEndlessTextTheNewestPartIsKept) {
    EXPECT_EQ(newestPart(std::string(8192, 'x')).size(), 8192U);
    std::string text;
    for (int count = 0; count < 3000; ++count)
        text += "\xE2\x82\xAC";
    EXPECT_EQ(newestPart("x" + text), text.substr(text.size() - 4095));
}

}  // namespace
