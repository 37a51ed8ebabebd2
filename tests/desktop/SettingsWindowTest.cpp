// The settings window under the hands of a user with a keyboard.

#include "presence/SettingsWindow.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QAccessible>
#include <QApplication>
#include <QWidget>

#include "desktop/OnDesktop.h"

namespace {

class SettingsOnDesktop : public OnDesktop {
protected:
    SettingsOnDesktop() { Settings::instance().userName.set("Ann"); }
    ~SettingsOnDesktop() override { window.close(); }

    void open() {
        SettingsCallbacks callbacks;
        callbacks.clearConversation = [this] { told += "clear "; };
        callbacks.forget = [this] { told += "forget "; };
        callbacks.saved = [this](bool modelChanged) { told += modelChanged ? "saved, model " : "saved "; };
        window.open(*desktop, Settings::instance(), choices, desktop->workAreaNearest({0, 0}), 96, callbacks);
        ASSERT_TRUE(eventually([] { return focusName() == "Your name (what Velu calls you)"; }));
    }

    bool closes() {
        return eventually([this] { return !window.isOpen(); });
    }

    /// What a screen reader says of the control that has the keyboard; a list's own name is its entry.
    static std::string focusName() {
        QWidget* widget = QApplication::focusWidget();
        if (widget == nullptr || !widget->isActiveWindow()) return "";
        const QAccessibleInterface* control = QAccessible::queryAccessibleInterface(widget);
        const auto labels = control->relations(QAccessible::Label);
        const QAccessibleInterface* named = labels.isEmpty() ? control : labels.front().first;
        return named->text(QAccessible::Name).toStdString();
    }

    void press(const std::string& keys) { display->act("key " + keys); }

    bool boxOpens(const std::string& button) {
        return eventually(
            [&] { return QApplication::activeModalWidget() != nullptr && focusName() == button; });
    }

    bool boxCloses() {
        return eventually(
            [] { return QApplication::activeModalWidget() == nullptr && !focusName().empty(); });
    }

    const SettingsChoices choices{{"small", "middle", "big"}, {"Ann & Bob", "Eve"}, {"Yeti"}};
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
        {"Your name (what Velu calls you)", "Return"},
    };
    open();
    for (const auto& [name, keys] : steps) {
        ASSERT_TRUE(eventually([&, wanted = name] { return focusName() == wanted; })) << name << focusName();
        press(keys);
    }
    ASSERT_TRUE(closes());
    EXPECT_EQ(told, "saved, model ");
    const Settings& settings = Settings::instance();
    EXPECT_EQ(settings.userName.get(), "Zoe");
    EXPECT_EQ(settings.modelIndex, 1);
    EXPECT_EQ(settings.sizePx, 320);
    EXPECT_EQ(settings.voiceName.get(), "Ann & Bob");
    EXPECT_FALSE(settings.voiceOn);
    EXPECT_EQ(settings.micDevice.get(), "Yeti");

    open();
    press("Return");
    EXPECT_TRUE(closes());
    EXPECT_EQ(told, "saved, model saved ");
}

TEST_F(SettingsOnDesktop, EscapeTheCrossAndCancelChangeNothing) {
    for (const std::string way : {"Escape", "cross", "shift+Tab space"}) {
        open();
        const XDesktop::Window shown = display->findWindow("Velu Settings", getpid());
        EXPECT_EQ(display->atomsOf(shown, "_NET_WM_STATE"), std::vector<std::string>{"_NET_WM_STATE_ABOVE"});
        press("ctrl+a Z o e");
        open();  // the same window, with what has been entered
        way == "cross" ? display->close(shown) : press(way);
        EXPECT_TRUE(closes()) << way;
        EXPECT_EQ(Settings::instance().userName.get(), "Ann") << way;
        EXPECT_EQ(told, "") << way;
    }
}

TEST_F(SettingsOnDesktop, ItsButtonsActAtOnceAndAskFirstWhereItHurts) {
    open();
    press("shift+Tab shift+Tab shift+Tab shift+Tab space");
    ASSERT_TRUE(boxOpens("OK"));
    EXPECT_EQ(told, "clear ");
    press("Return");
    ASSERT_TRUE(boxCloses());
    press("Tab");
    for (const std::string answer : {"Return", "Escape", "Tab Return"}) {
        told.clear();
        press("space");
        ASSERT_TRUE(boxOpens("No")) << focusName();
        press(answer);
        ASSERT_TRUE(boxCloses()) << answer;
        EXPECT_EQ(told, answer == "Tab Return" ? "forget " : "") << answer;
        EXPECT_TRUE(window.isOpen());
    }
}

}  // namespace
