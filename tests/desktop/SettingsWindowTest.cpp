// The settings window under the hands of a user with a keyboard.

#include "presence/SettingsWindow.h"

#include <unistd.h>

#include <QAccessible>
#include <QApplication>
#include <QWidget>

#include "desktop/OnDesktop.h"

namespace {

class SettingsOnDesktop : public OnDesktop {
protected:
    ~SettingsOnDesktop() override { window.close(); }

    void open() {
        SettingsCallbacks callbacks;
        callbacks.clearConversation = [this] { told += "clear "; };
        callbacks.forget = [this] { told += "forget "; };
        callbacks.saved = [this](bool modelChanged) { told += modelChanged ? "saved, model " : "saved "; };
        window.open(*desktop, settings, {{"small", "middle"}, {"Ann & Bob", "Eve"}, {"Yeti"}},
                    desktop->workAreaNearest({0, 0}), 96, callbacks);
        ASSERT_TRUE(isAt("Your name (what Velu calls you)"));
    }

    bool closes() {
        return eventually([this] { return !window.isOpen(); });
    }

    /// Returns whether a screen reader finds the keyboard at this control; a list's own name is its entry.
    bool isAt(const std::string& name) {
        return eventually([&] {
            QWidget* widget = QApplication::focusWidget();
            if (widget == nullptr || !widget->isActiveWindow()) return false;
            const QAccessibleInterface* control = QAccessible::queryAccessibleInterface(widget);
            const auto labels = control->relations(QAccessible::Label);
            const QAccessibleInterface* named = labels.isEmpty() ? control : labels.front().first;
            return named->text(QAccessible::Name).toStdString() == name;
        });
    }

    void press(const std::string& keys) { display->act("key " + keys); }

    Settings& settings = Settings::instance();
    SettingsWindow window;
    std::string told;
};

TEST_F(SettingsOnDesktop, TheTabKeyGoesThroughAllThatEnterSaves) {
    const std::pair<const char*, const char*> steps[] = {
        {"Your name (what Velu calls you)", "ctrl+a Z o e Tab"},
        {"Brain (local model, runs on this PC)", "Down Tab"},
        {"Size", "Down Tab"},
        {"Voice", "Down Tab"},
        {"Speak replies out loud", "space Tab"},
        {"Keep Velu above other windows", "Tab"},
        {"Let Velu research on the internet", "Tab"},
        {"Start Velu when Windows starts", "Tab"},
        {"Listen for \"Velu\" through the microphone", "Tab"},
        {"Use the camera to see and recognise people (stays on this PC)", "Tab"},
        {"Microphone", "Down Tab"},
        {"Clear conversation", "Tab"},
        {"Forget what I know about me", "Tab"},
        {"Save", "Tab"},
        {"Cancel", "Tab"},
        {"Your name (what Velu calls you)", "Return"}};
    open();
    for (const auto& [name, keys] : steps) {
        ASSERT_TRUE(isAt(name)) << name;
        press(keys);
    }
    ASSERT_TRUE(closes());
    EXPECT_EQ(settings.userName.get(), "Zoe");
    EXPECT_TRUE(settings.modelIndex == 1 && settings.sizePx == 320 && !settings.voiceOn);
    EXPECT_EQ(settings.voiceName.get(), "Ann & Bob");
    EXPECT_EQ(settings.micDevice.get(), "Yeti");
    open();
    press("Return");
    EXPECT_TRUE(closes());
    EXPECT_EQ(told, "saved, model saved ");
}

TEST_F(SettingsOnDesktop, EscapeTheCrossAndCancelChangeNothingButButtonsActAtOnce) {
    for (const std::string way : {"Escape", "cross", "shift+Tab space"}) {
        open();
        const XDesktop::Window shown = display->findWindow("Velu Settings", getpid());
        EXPECT_EQ(display->atomsOf(shown, "_NET_WM_STATE"), std::vector<std::string>{"_NET_WM_STATE_ABOVE"});
        press("ctrl+a Z o e");
        open();  // the same window, with what has been entered
        way == "cross" ? display->close(shown) : press(way);
        EXPECT_TRUE(closes()) << way;
        EXPECT_EQ(settings.userName.get() + told, "") << way;
    }
    open();
    press("shift+Tab shift+Tab shift+Tab shift+Tab space");
    ASSERT_TRUE(isAt("OK"));
    EXPECT_EQ(told, "clear ");
    press("Return");
    ASSERT_TRUE(isAt("Clear conversation"));
    press("Tab");
    for (const std::string answer : {"Return", "Escape", "Tab Return"}) {
        told.clear();
        press("space");
        ASSERT_TRUE(isAt("No")) << answer;
        press(answer);
        ASSERT_TRUE(isAt("Forget what I know about me")) << answer;
        EXPECT_EQ(told, answer == "Tab Return" ? "forget " : "") << answer;
    }
}

}  // namespace
