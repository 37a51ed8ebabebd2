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

TEST(BubbleLayout, ThePanelStandsWhereItFitsAndPointsAtTheHead) {
    struct Case {
        const char* name;
        int32_t textHeight;
        bool hasStatus, typing;
        Point head;
        Rect window;
        bool above;
        int32_t pointerX;
        Rect area = screen;
        int32_t dpi = 96;
    };
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    const Case cases[] = {
        {"above", 40, false, false, {400, 300}, {332, 240, 672, 314}, true, 170},
        {"empty", 0, false, false, {400, 300}, {332, 248, 672, 314}, true, 170},
        {"just fits", 40, false, false, {400, 76}, {332, 16, 672, 90}, true, 170},
        {"doesn't fit", 40, false, false, {400, 75}, {332, 301, 672, 375}, false, 170},
        {"dock", 40, false, false, {400, 90}, {332, 316, 672, 390}, false, 170, {0, 30, 1000, 700}},
        {"left", 40, false, false, {0, 300}, {6, 240, 346, 314}, true, 96},
        {"far left", 40, false, false, {-150, 300}, {6, 240, 346, 314}, true, 30},
        {"far right", 40, false, false, {950, 300}, {654, 240, 994, 314}, true, 310},
        {"ten lines", 230, false, false, {400, 300}, {332, 60, 672, 314}, true, 170},
        {"status", 40, true, false, {400, 300}, {332, 220, 672, 314}, true, 170},
        {"chat", 40, false, true, {400, 300}, {332, 204, 672, 314}, true, 170},
        {"chat below", 40, true, true, {400, 0}, {332, 226, 672, 356}, false, 170},
        {"bottom", 40, false, false, {400, 70}, {332, 266, 672, 340}, false, 170, {0, 0, 1000, 340}},
        {"tiny", 40, false, false, {0, 0}, {6, 0, 346, 74}, false, 96, {0, 0, 200, 60}},
        {"144", 60, false, false, {400, 300}, {247, 208, 757, 321}, true, 255, screen, 144},
        {"beyond", 40, false, false, {most - 204, most - 240}, {654, 626, 994, 700}, true, 310},
    };
    for (const Case& item : cases) {
        const Rect head{item.head.x, item.head.y, item.head.x + 204, item.head.y + 240};
        const BubbleLayout layout =
            layOutBubble({item.textHeight, item.hasStatus, item.typing, head, item.area, item.dpi});
        EXPECT_EQ(words(layout.window), words(item.window)) << item.name;
        EXPECT_EQ(layout.above, item.above) << item.name;
        const int32_t height = item.window.height();
        const int32_t tail = item.dpi == 96 ? 10 : 15;
        const int32_t width = item.window.width();
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
    struct Case {
        const char* name;
        int32_t textHeight;
        bool hasStatus, typing;
        int32_t headTop, dpi;
        Rect text;
        int32_t textTop;
        Rect status, edit;
    };
    const Case cases[] = {
        {"one line", 20, false, false, 400, 96, {14, 12, 326, 42}, 12, {}, {}},
        {"two lines", 40, false, false, 400, 96, {14, 12, 326, 50}, 10, {}, {}},
        {"ten lines", 230, false, false, 400, 96, {14, 12, 326, 230}, 0, {}, {}},
        {"long", 1000, false, false, 400, 96, {14, 12, 326, 230}, -770, {}, {}},
        {"status", 40, true, false, 400, 96, {14, 12, 326, 52}, 12, {14, 52, 326, 70}, {}},
        {"status alone", 0, true, false, 400, 96, {14, 12, 326, 24}, 12, {14, 24, 326, 42}, {}},
        {"long, status", 1000, true, false, 400, 96, {14, 12, 326, 232}, -768, {14, 232, 326, 250}, {}},
        {"chat", 40, true, true, 400, 96, {14, 12, 326, 52}, 12, {14, 52, 326, 70}, {14, 86, 326, 110}},
        {"empty chat", 0, false, true, 400, 96, {14, 12, 326, 12}, 10, {}, {14, 26, 326, 50}},
        {"below", 40, false, true, 0, 96, {14, 22, 326, 60}, 20, {}, {14, 76, 326, 100}},
        {"144", 60, true, true, 400, 144, {21, 19, 489, 80}, 19, {21, 80, 489, 107}, {21, 132, 489, 168}},
    };
    for (const Case& item : cases) {
        const Rect head{400, item.headTop, 604, item.headTop + 240};
        const BubbleLayout layout =
            layOutBubble({item.textHeight, item.hasStatus, item.typing, head, screen, item.dpi});
        EXPECT_EQ(words(layout.text), words(item.text)) << item.name;
        EXPECT_EQ(layout.textTop, item.textTop) << item.name;
        EXPECT_EQ(words(layout.status), words(item.status)) << item.name;
        EXPECT_EQ(words(layout.edit), words(item.edit)) << item.name;
    }
}

TEST(BubbleText, AQuestionIsWhatWasTypedWithoutTheBlanksAroundIt) {
    const std::string emoji = "\xF0\x9F\x98\x80";
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {" \t ", ""},
        {"\t what now? ", "what now?"},
        {std::string(3000, 'x'), std::string(2048, 'x')},
        {std::string(2047, 'x') + "\xC3\xA4y", std::string(2047, 'x') + "\xC3\xA4"},
        {std::string(2046, 'x') + emoji + "y", std::string(2046, 'x') + emoji},
        {std::string(2047, 'x') + emoji, std::string(2047, 'x')},
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
    const std::string kept = newestPart("x" + text);
    EXPECT_EQ(kept.size(), 4095U);
    EXPECT_EQ(kept, text.substr(text.size() - 4095));
}

}  // namespace
