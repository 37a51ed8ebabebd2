// The speech bubble on a desktop, with real keys and clicks.

#include "presence/Bubble.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QAccessible>
#include <QCoreApplication>

#include "desktop/OnDesktop.h"

namespace {

constexpr Colour sand{230, 200, 140};
constexpr Rect headPlace{500, 400, 704, 640};

class BubbleOnDesktop : public OnDesktop {
protected:
    BubbleOnDesktop() { makeBubble(); }

    void makeBubble() {
        display->paintBackdrop(sand, sand);
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

    XDesktop::Window panel() const { return display->findWindow("Velu says", getpid()); }

    bool isFocused(XDesktop::Window window) {
        return window != 0 && eventually([&] { return display->focus() == window; });
    }

    /// Opens the chat box and waits until keys come to it.
    void openChat() {
        bubble->openChat();
        ASSERT_TRUE(eventually([this] { return panel() != 0 && display->focus() == panel(); }));
    }

    /// The panel as it is on the screen, once it has its place and nothing changes any more.
    Screenshot picture() {
        Screenshot last;
        int steady = 0;
        EXPECT_TRUE(eventually([&] {
            const Rect place = panel() == 0 ? Rect{} : display->rectangle(panel());
            Screenshot now = display->picture(place);
            steady = !now.pixels.empty() && now.pixels == last.pixels ? steady + 1 : 0;
            last = std::move(now);
            return steady == 10;
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

    std::unique_ptr<Bubble> bubble;
    std::vector<std::string> questions;
    int dismissals = 0;
};

TEST_F(BubbleOnDesktop, TakesAQuestionAndLeavesTheKeyboardWithTheUserBesides) {
    for (const XDesktop::Kind kind : {XDesktop::Kind::managed, XDesktop::Kind::bare}) {
        bubble.reset();
        connect(kind);
        makeBubble();
        const XDesktop::Window user = display->openUserWindow();
        bubble->showText("Hi!");
        ASSERT_TRUE(eventually([this] { return panel() != 0; }));
        picture();
        EXPECT_EQ(display->focus(), user);

        openChat();
        display->act("key space Tab space Return space h e l l o");
        bubble->appendSentence("A sentence doesn't disturb the typing.");
        display->act("type &you");
        display->act("key space Return");
        EXPECT_TRUE(eventually([this] { return !questions.empty(); }));
        EXPECT_EQ(std::exchange(questions, {}), std::vector<std::string>{"hello&you"});
        EXPECT_TRUE(isFocused(user));
        EXPECT_TRUE(bubble->isVisible());
        EXPECT_FALSE(bubble->typing);
        EXPECT_EQ(dismissals, 0);
    }
}

TEST_F(BubbleOnDesktop, EscapeAndAnotherWindowDismissTheChatBox) {
    openChat();
    bubble->endTyping();
    EXPECT_TRUE(eventually([this] { return panel() != 0 && display->focus() != panel(); }));
    const XDesktop::Window user = display->openUserWindow();
    const Rect place = display->rectangle(user);
    for (const int road : {1, 2}) {
        openChat();
        road == 1 ? display->act("key Escape") : clickAt(place.left + 10, place.top + 10);
        EXPECT_TRUE(eventually([this] { return panel() == 0; }));
        EXPECT_TRUE(isFocused(user));
        EXPECT_EQ(dismissals, road);
    }
    // A window that takes the keyboard meanwhile keeps it.
    openChat();
    const XDesktop::Window other = display->openUserWindow();
    EXPECT_TRUE(eventually([this] { return panel() == 0; }));
    EXPECT_EQ(dismissals, 3);
    EXPECT_TRUE(isFocused(other));
}

TEST_F(BubbleOnDesktop, AClickDismissesAMessageButNotTheChatBox) {
    bubble->showText("Click me away.");
    picture();
    const Rect place = display->rectangle(panel());
    // Beside the pointer there is no panel.
    clickAt(place.left + 20, place.bottom - 4);
    EXPECT_TRUE(eventually([this] { return display->backdropPresses() == 1; }));
    EXPECT_TRUE(bubble->isVisible());
    clickAt(place.left + 60, place.top + 10);
    EXPECT_TRUE(eventually([this] { return panel() == 0; }));
    openChat();
    clickAt(place.left + 60, place.top + 10);
    display->act("type x");
    picture();
    EXPECT_TRUE(bubble->typing);
    EXPECT_EQ(dismissals, 0);
}

TEST_F(BubbleOnDesktop, TheNewestLinesAreInViewAndEveryCharacterStandsForItself) {
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

}  // namespace
