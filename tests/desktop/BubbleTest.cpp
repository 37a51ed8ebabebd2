// The speech bubble on a desktop, with real keys and clicks.

#include "presence/Bubble.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QAccessible>
#include <QCoreApplication>

#include "support/Soon.h"
#include "support/XDesktop.h"

namespace {

constexpr Colour sand{230, 200, 140};
constexpr Rect headPlace{500, 400, 704, 640};

std::string placeWords(int32_t x, int32_t y) {
    return "mousemove " + std::to_string(x) + " " + std::to_string(y) + " ";
}

class BubbleOnDesktop : public testing::Test {
protected:
    void prepare(XDesktop::Kind kind) {
        display = std::make_unique<XDesktop>(kind);
        display->paintBackdrop(sand, sand);
        std::string problem;
        desktop = Desktop::connect(problem);
        ASSERT_NE(desktop, nullptr) << problem;
        bubble = std::make_unique<Bubble>();
        bubble->create(*desktop, 96);
        bubble->onSubmit = [this](const std::string& question) {
            questions.push_back(question);
            bubble->endTyping();
        };
        bubble->onDismiss = [this] {
            ++dismissals;
            bubble->hide();
        };
        bubble->anchor(headPlace);
    }

    /// Whether something comes true while the desktop's events are handled.
    template <typename Condition>
    bool comes(Condition condition) {
        return soon([&] {
            desktop->processEvents();
            return condition();
        });
    }

    XDesktop::Window panel() const { return display->findWindow("Velu says", getpid()); }

    bool isFocused(XDesktop::Window window) {
        return window != 0 && comes([&] { return display->focus() == window; });
    }

    /// Opens the chat box and waits until keys come to it.
    void openChat() {
        bubble->openChat();
        ASSERT_TRUE(comes([this] { return panel() != 0 && display->focus() == panel(); }));
    }

    /// The panel as it is on the screen, once it has its place and nothing changes any more.
    Screenshot picture() {
        Screenshot last;
        int steady = 0;
        EXPECT_TRUE(comes([&] {
            const Rect place = panel() == 0 ? Rect{} : display->rectangle(panel());
            Screenshot now = display->picture(place);
            steady = !now.pixels.empty() && now.pixels == last.pixels ? steady + 1 : 0;
            last = std::move(now);
            return steady == 20;
        }));
        return last;
    }

    /// The pixels of a picture's part that are as bright as the main text.
    static int64_t brightPixels(const Screenshot& picture, const Rect& part) {
        int64_t count = 0;
        for (int32_t y = part.top; y < part.bottom; ++y) {
            for (int32_t x = part.left; x < part.right; ++x)
                count += picture.at(x, y).red > 160 ? 1 : 0;
        }
        return count;
    }

    std::unique_ptr<XDesktop> display;
    std::unique_ptr<Desktop> desktop;
    std::unique_ptr<Bubble> bubble;
    std::vector<std::string> questions;
    int dismissals = 0;
};

TEST_F(BubbleOnDesktop, TakesAQuestionAndLeavesTheKeyboardWithTheUserBesides) {
    for (const XDesktop::Kind kind : {XDesktop::Kind::managed, XDesktop::Kind::bare}) {
        bubble.reset();
        desktop.reset();
        display.reset();
        questions.clear();
        prepare(kind);
        const XDesktop::Window user = display->openUserWindow();
        bubble->showText("Hi!");
        ASSERT_TRUE(comes([this] { return panel() != 0; }));
        picture();
        EXPECT_EQ(display->focus(), user);

        openChat();
        display->act("key space Tab space Return");
        display->act("key space");
        display->act("type hello&");
        bubble->appendSentence("A sentence doesn't disturb the typing.");
        display->act("type you");
        display->act("key space Return");
        EXPECT_TRUE(comes([this] { return !questions.empty(); }));
        EXPECT_EQ(questions, std::vector<std::string>{"hello&you"});
        EXPECT_TRUE(isFocused(user));
        EXPECT_TRUE(bubble->isVisible());
        EXPECT_FALSE(bubble->typing);
        EXPECT_EQ(dismissals, 0);
    }
}

TEST_F(BubbleOnDesktop, EscapeAndAnotherWindowDismissTheChatBox) {
    prepare(XDesktop::Kind::managed);
    openChat();
    bubble->endTyping();
    EXPECT_TRUE(comes([this] { return panel() != 0 && display->focus() != panel(); }));
    const XDesktop::Window user = display->openUserWindow();
    openChat();
    display->act("key Escape");
    EXPECT_TRUE(comes([this] { return panel() == 0; }));
    EXPECT_TRUE(isFocused(user));
    EXPECT_EQ(dismissals, 1);

    openChat();
    const Rect place = display->rectangle(user);
    display->act(placeWords(place.left + 10, place.top + 10) + "click 1");
    EXPECT_TRUE(comes([this] { return panel() == 0; }));
    EXPECT_TRUE(isFocused(user));
    EXPECT_EQ(dismissals, 2);

    // Who has the keyboard then keeps it.
    openChat();
    const XDesktop::Window other = display->openUserWindow();
    EXPECT_TRUE(comes([this] { return panel() == 0; }));
    EXPECT_EQ(dismissals, 3);
    EXPECT_TRUE(isFocused(other));
}

TEST_F(BubbleOnDesktop, AClickDismissesAMessageButNotTheChatBox) {
    prepare(XDesktop::Kind::composited);
    std::string problem;
    HeadWindowEvents events;
    int clicks = 0;
    bool pressed = false;
    events.pointer = [&](PointerAction action, Point) {
        const bool clicked = pressed && action == PointerAction::release;
        pressed = action == PointerAction::press;
        if (!clicked) return;
        ++clicks;
        bubble->typing ? bubble->hide() : bubble->openChat();
    };
    const auto head =
        HeadWindow::create(*desktop, "Velu", headPlace.width(), headPlace.height(), events, problem);
    ASSERT_NE(head, nullptr) << problem;
    head->setClickable({{0, 0, headPlace.width(), headPlace.height()}});
    head->place(headPlace, true);
    const std::string onHead = placeWords(600, 520) + "click 1";
    ASSERT_TRUE(comes([&] { return display->findWindow("Velu", getpid()) != 0; }));

    bubble->showText("Click me away.");
    picture();
    const Rect place = display->rectangle(panel());
    const std::string onPanel = placeWords(place.left + 60, place.top + 10) + "click 1";
    // Beside the pointer there is no panel.
    display->act(placeWords(place.left + 20, place.bottom - 4) + "click 1");
    EXPECT_TRUE(comes([this] { return display->backdropPresses() == 1; }));
    EXPECT_TRUE(bubble->isVisible());
    display->act(onPanel);
    EXPECT_TRUE(comes([this] { return panel() == 0; }));

    display->act(onHead);
    ASSERT_TRUE(comes([this] { return panel() != 0 && display->focus() == panel(); }));
    display->act(onPanel);
    display->act("type x");
    picture();
    EXPECT_TRUE(bubble->typing);
    display->act(onHead);
    EXPECT_TRUE(comes([&] { return clicks == 2; }));
    EXPECT_TRUE(comes([this] { return panel() == 0; }));
    EXPECT_FALSE(bubble->typing);
    EXPECT_EQ(dismissals, 0);
}

TEST_F(BubbleOnDesktop, TheNewestLinesAreInViewAndEveryCharacterStandsForItself) {
    prepare(XDesktop::Kind::managed);
    bubble->showText("&");
    Screenshot seen = picture();
    EXPECT_GT(brightPixels(seen, {14, 12, 326, 56}), 20);

    std::string lines;
    for (int line = 0; line < 30; ++line)
        lines += ".\n";
    bubble->showText(lines + "WWWWWWWWWWWWWWWW");
    seen = picture();
    const int32_t bottom = seen.height - 10 - 14;
    EXPECT_EQ(seen.height, 220 - 4 + 28 + 10);
    EXPECT_GT(brightPixels(seen, {100, bottom - 24, 326, bottom}), 300);
    EXPECT_EQ(brightPixels(seen, {100, 2, 326, bottom - 24}), 0);
    // Nothing runs out at the side, also of a word that is wider than the panel.
    bubble->showText(std::string(100, 'W'));
    seen = picture();
    EXPECT_GT(seen.height, 100);
    EXPECT_EQ(brightPixels(seen, {327, 12, 338, seen.height - 24}), 0);
    EXPECT_EQ(seen.at(0, 0), sand);
}

TEST_F(BubbleOnDesktop, AScreenReaderFindsTheWords) {
    prepare(XDesktop::Kind::bare);
    bubble->showText("Hi Anna!");
    bubble->openChat();
    bubble->setStatus("Thinking...");
    desktop->processEvents();
    QAccessibleInterface* program = QAccessible::queryAccessibleInterface(QCoreApplication::instance());
    ASSERT_EQ(program->childCount(), 1);
    const QAccessibleInterface* words = program->child(0);
    EXPECT_EQ(words->text(QAccessible::Name), "Hi Anna!\nThinking...");
    ASSERT_EQ(words->childCount(), 1);
    EXPECT_EQ(words->child(0)->text(QAccessible::Name), "Ask Velu anything...");
}

TEST(BubbleWithoutAPanel, DoesNothing) {
    Bubble bubble;
    bubble.anchor(headPlace);
    bubble.appendSentence("a");
    bubble.openChat();
    bubble.endTyping();
    bubble.hide();
    EXPECT_FALSE(bubble.isVisible());
    EXPECT_FALSE(bubble.typing);
}

}  // namespace
