// The speech bubble on a desktop, with real keys and clicks.

#include "presence/Bubble.h"

#include <unistd.h>

#include <QAccessible>
#include <QCoreApplication>

#include "desktop/OnDesktop.h"

namespace {

constexpr Colour sand{230, 200, 140};

class BubbleOnDesktop : public OnDesktop {
protected:
    BubbleOnDesktop() {
        display->paintBackdrop(sand, sand);
        bubble.create(*desktop, 96);
        bubble.onSubmit = [this](const std::string& question) {
            asked = question;
            bubble.endTyping();
        };
        bubble.onDismiss = [this] {
            ++dismissals;
            bubble.hide();
        };
        bubble.anchor({500, 400, 704, 640});
    }

    XDesktop::Window panel() const { return display->findWindow("Velu says", getpid()); }

    bool isFocused(XDesktop::Window window) {
        return eventually([&] { return display->focus() == window; });
    }

    bool closes() {
        return eventually([this] { return panel() == 0; });
    }

    /// Opens the chat box and waits until keys come to it.
    void openChat() {
        bubble.openChat();
        ASSERT_TRUE(eventually([this] { return panel() != 0 && display->focus() == panel(); }));
    }

    /// The panel as it is on the screen, once it has its place and nothing changes any more.
    Screenshot picture() {
        Screenshot last;
        int steady = 0;
        EXPECT_TRUE(eventually([&] {
            Screenshot now = display->picture(panel() == 0 ? Rect{} : display->rectangle(panel()));
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

    Bubble bubble;
    std::string asked;
    int dismissals = 0;
};

TEST_F(BubbleOnDesktop, TakesAQuestionAndIsDismissedInManyWays) {
    bubble.showText("Click me away.");
    picture();
    const Rect place = display->rectangle(panel());
    clickAt(place.left + 20, place.bottom - 4);  // beside the pointer there is no panel
    EXPECT_TRUE(eventually([this] { return display->backdropPresses() == 1; }));
    EXPECT_TRUE(bubble.isVisible());
    clickAt(place.left + 60, place.top + 10);
    EXPECT_TRUE(closes());
    const XDesktop::Window user = display->openUserWindow();
    const Rect elsewhere = display->rectangle(user);
    openChat();
    clickAt(place.left + 60, place.top + 10);  // doesn't close the chat box
    display->act("key space Tab space Return space h e l l o");
    bubble.appendSentence("A sentence doesn't disturb the typing.");
    display->act("type &you");
    display->act("key space Return");
    EXPECT_TRUE(eventually([this] { return asked == "hello&you"; })) << asked;
    EXPECT_TRUE(isFocused(user) && bubble.isVisible() && !bubble.typing);
    EXPECT_EQ(dismissals, 0);
    openChat();
    display->act("key Escape");
    EXPECT_TRUE(closes() && isFocused(user));
    EXPECT_EQ(dismissals, 1);
    openChat();
    clickAt(elsewhere.left + 10, elsewhere.top + 10);
    EXPECT_TRUE(closes() && isFocused(user));
    EXPECT_EQ(dismissals, 2);
    openChat();
    const XDesktop::Window other = display->openUserWindow();
    EXPECT_TRUE(closes() && isFocused(other)) << "a window that takes the keyboard keeps it";
    EXPECT_EQ(dismissals, 3);
}

TEST_F(BubbleOnDesktop, TheNewestLinesAreInViewAndEveryCharacterStandsForItself) {
    bubble.showText("&");
    EXPECT_GT(brightPixels(picture(), {14, 12, 326, 56}), 20);
    std::string lines;
    for (int line = 0; line < 30; ++line)
        lines += ".\n";
    bubble.showText(lines + "WWWWWWWWWWWWWWWW");
    Screenshot seen = picture();
    const int32_t bottom = seen.height - 10 - 14;
    EXPECT_EQ(seen.height, 220 - 4 + 28 + 10);
    EXPECT_GT(brightPixels(seen, {100, bottom - 24, 326, bottom}), 300);
    EXPECT_EQ(brightPixels(seen, {100, 2, 326, bottom - 24}), 0);
    // Nothing runs out at the side, also of a word that is wider than the panel.
    bubble.showText(std::string(100, 'W'));
    seen = picture();
    EXPECT_GT(seen.height, 100);
    EXPECT_EQ(brightPixels(seen, {327, 12, 338, seen.height - 24}), 0);
    EXPECT_EQ(seen.at(0, 0), sand);
    // A screen reader finds the words.
    bubble.setStatus("Thinking...");
    bubble.openChat();
    desktop->processEvents();
    const QAccessibleInterface* words =
        QAccessible::queryAccessibleInterface(QCoreApplication::instance())->child(0);
    EXPECT_EQ(words->text(QAccessible::Name).toStdString(), std::string(100, 'W') + "\nThinking...");
    ASSERT_EQ(words->childCount(), 1);
    EXPECT_EQ(words->child(0)->text(QAccessible::Name), "Ask Velu anything...");
}

}  // namespace
