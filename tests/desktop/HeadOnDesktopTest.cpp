// The built program as it looks and behaves on a desktop.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "brain/ModelCatalogue.h"
#include "foundation/Files.h"
#include "support/EngineFolder.h"
#include "support/Soon.h"
#include "support/TestData.h"
#include "support/TestProgram.h"
#include "support/XDesktop.h"

namespace {

using nlohmann::json;

constexpr Colour sand{230, 200, 140};
constexpr Colour plum{110, 20, 90};
constexpr Colour green{0, 255, 0};
constexpr int32_t headWidth = 204;
constexpr int32_t headHeight = 240;
constexpr Rect firstPlace{XDesktop::width - headWidth - 24, XDesktop::height - headHeight - 12,
                          XDesktop::width - 24, XDesktop::height - 12};

std::string inHome(const std::string& name) {
    return std::string(getenv("VELU_HOME")) + "/" + name;
}

/// With the microphone off: the ears' engine isn't part of this.
void writeSettings(json settings) {
    settings["micOn"] = false;
    writeWholeFile(inHome("settings.json"), settings.dump());
}

json readSettings() {
    return json::parse(dataText("settings.json"), nullptr, false);
}

std::string placeWords(int32_t x, int32_t y) {
    return std::to_string(x) + " " + std::to_string(y) + " ";
}

/// How green a colour is: 255 for the backdrop, nothing for the head, which has more blue than green
/// anywhere.
int32_t greenness(const Colour& colour) {
    return colour.green - std::max(colour.red, colour.blue);
}

/// The program with its head on a desktop.
class HeadOnDesktop : public testing::Test {
protected:
    /// Makes the desktop with a checkered backdrop. The engine is a stand-in, so that nothing is fetched.
    void prepare(XDesktop::Kind kind) {
        for (const bool useGpu : {false, true})
            installFakeEngine(getenv("VELU_HOME"), useGpu, "{}");
        const ModelInfo& model = modelCatalogue().front();
        placeModel(joinPath(modelsFolder(), model.file), model.size);
        writeSettings({});
        desktop = std::make_unique<XDesktop>(kind);
        desktop->paintBackdrop(sand, plum);
    }

    void start(const std::string& executable = VELU_PROGRAM) {
        velu.reset();
        for (const char* folder : {"llama", "llama-vulkan"})
            removeFile(inHome(folder) + "/requests.jsonl");
        velu = std::make_unique<TestProgram>(std::vector{executable}, desktop->folder.path + "/velu");
    }

    /// Starts the program and waits until its head is seen at a place.
    void startAt(const Rect& place) {
        start();
        ASSERT_TRUE(soon([&] { return (head = desktop->findWindow("Velu", velu->pid)) != 0; })) << said();
        EXPECT_TRUE(soon([&] { return desktop->rectangle(head) == place; }));
        EXPECT_TRUE(soon([&] { return showsHead(place); })) << said();
        // The greeting goes when the engine is up, which is then asked to read ahead.
        EXPECT_TRUE(soon([&] {
            return !(dataText("llama/requests.jsonl") + dataText("llama-vulkan/requests.jsonl")).empty();
        }));
        EXPECT_TRUE(soon([&] { return desktop->findWindow("Velu says", velu->pid) == 0; }));
    }

    void endBy(int number) {
        number == 0 ? desktop->close(head) : velu->signal(number);
        EXPECT_EQ(velu->wait(), 0) << number;
    }

    /// Whether the middle of a place has neither the backdrop nor blackness.
    bool showsHead(const Rect& place) const {
        const int32_t x = place.left + place.width() / 2;
        const int32_t y = place.top + place.height() / 2;
        const Screenshot middle = desktop->picture({x - 5, y - 5, x + 5, y + 5});
        return std::all_of(middle.pixels.begin(), middle.pixels.end(), [](const Colour& colour) {
            return colour != sand && colour != plum && colour.red + colour.green + colour.blue > 60;
        });
    }

    /// Whether the checkers lie open in the four corners of a place, each of 10 x 10 pixels.
    bool areCornersOpen(const Rect& place) const {
        const Screenshot picture = desktop->picture();
        bool areOpen = true;
        for (int32_t index = 0; index < 400; ++index) {
            const int32_t x = (index % 20 < 10 ? place.left : place.right - 20) + index % 20;
            const int32_t y = (index / 20 < 10 ? place.top : place.bottom - 20) + index / 20;
            const bool isFirst = (x / XDesktop::square + y / XDesktop::square) % 2 == 0;
            areOpen = areOpen && picture.at(x, y) == (isFirst ? sand : plum);
        }
        return areOpen;
    }

    bool hasState(const std::string& name) const {
        const std::vector<std::string> states = desktop->atomsOf(head, "_NET_WM_STATE");
        return std::count(states.begin(), states.end(), name) != 0;
    }

    std::string said() const { return fileText(desktop->folder.path + "/velu") + dataText("velu.log"); }

    /// Presses at a place on the screen, moves by these steps and lets go.
    void drag(int32_t x, int32_t y, const std::vector<Point>& steps) const {
        std::string words = "mousemove " + placeWords(x, y) + "mousedown 1 ";
        for (const Point& step : steps)
            words += "mousemove_relative -- " + placeWords(step.x, step.y);
        desktop->act(words + "mouseup 1");
    }

    std::unique_ptr<XDesktop> desktop;
    std::unique_ptr<TestProgram> velu;
    XDesktop::Window head = 0;
};

TEST_F(HeadOnDesktop, FloatsOverTheUsersWindowsWithoutGettingInTheirWay) {
    prepare(XDesktop::Kind::composited);
    const XDesktop::Window user = desktop->openUserWindow();
    startAt(firstPlace);
    EXPECT_TRUE(soon([&] { return areCornersOpen(firstPlace); }));
    for (const char* state :
         {"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"})
        EXPECT_TRUE(soon([&] { return hasState(state); })) << state;
    // A press in the ellipse isn't for the backdrop, one in each corner is. It leaves the focus alone.
    drag(firstPlace.left + headWidth / 2, firstPlace.top + headHeight / 2, {{-30, 0}});
    ASSERT_TRUE(soon([&] { return desktop->rectangle(head).left == firstPlace.left - 30; }));
    EXPECT_EQ(desktop->focus(), user);
    EXPECT_EQ(desktop->activeWindow(), user);
    const Rect place = desktop->rectangle(head);
    for (const int32_t x : {place.left + 2, place.right - 3}) {
        for (const int32_t y : {place.top + 2, place.bottom - 3})
            desktop->act("mousemove " + placeWords(x, y) + "click 1");
    }
    EXPECT_TRUE(soon([&] { return desktop->backdropPresses() >= 4; })) << desktop->backdropPresses();
    EXPECT_EQ(desktop->backdropPresses(), 4);

    TestProgram second({VELU_PROGRAM}, desktop->folder.path + "/second");
    EXPECT_EQ(second.wait(), 0);
    EXPECT_FALSE(velu->result());
    EXPECT_TRUE(showsHead(place));
}

TEST_F(HeadOnDesktop, ItsEdgeIsSoftAsLongAsThereIsACompositor) {
    prepare(XDesktop::Kind::managed);
    startAt(firstPlace);
    desktop->paintBackdrop(green, green);
    const auto count = [&](int32_t least, int32_t most) {
        const Screenshot picture = desktop->picture(firstPlace);
        return std::count_if(picture.pixels.begin(), picture.pixels.end(), [=](const Colour& colour) {
            return greenness(colour) >= least && greenness(colour) <= most;
        });
    };
    const auto isHard = [&] { return count(255, 255) > 5000 && count(20, 235) == 0; };
    EXPECT_TRUE(soon(isHard)) << count(255, 255) << " " << count(20, 235);
    desktop->startCompositor();
    EXPECT_TRUE(soon([&] { return count(255, 255) > 5000 && count(20, 235) > 50; })) << count(20, 235);
    desktop->stopCompositor();
    EXPECT_TRUE(soon(isHard)) << count(255, 255) << " " << count(20, 235);
}

TEST_F(HeadOnDesktop, FollowsADragAndStaysOnTopWhileThatIsWanted) {
    prepare(XDesktop::Kind::managed);
    startAt(firstPlace);
    const auto isAbove = [this] { return hasState("_NET_WM_STATE_ABOVE"); };
    EXPECT_TRUE(soon(isAbove));
    // It may be back before we look, so until it has been seen gone.
    EXPECT_TRUE(soon([&] {
        desktop->removeState(head, "_NET_WM_STATE_ABOVE");
        return soon([&] { return !isAbove(); }, std::chrono::seconds(1));
    }));
    EXPECT_TRUE(soon(isAbove));
    const auto isAtAndSaved = [this](int32_t left, int32_t top) {
        return soon([&] {
            const Rect place = desktop->rectangle(head);
            const json settings = readSettings();
            return place.left == left && place.top == top && settings.is_object() &&
                   settings.value("posX", -1) == left && settings.value("posY", -1) == top;
        });
    };
    const int32_t x = firstPlace.left;
    const int32_t y = firstPlace.top;
    // Each press is away from the one before, so that no two of them are a double click. Had the first moved
    // the head, the second wouldn't leave it where it does.
    drag(x + 80, y + 80, {{4, 0}, {0, 4}, {-8, -8}});
    drag(x + 120, y + 120, {{5, 0}});
    EXPECT_TRUE(isAtAndSaved(x + 5, y));
    drag(x + 90, y + 160, {{-100, 0}, {-300, -200}, {-1, -7}});
    EXPECT_TRUE(isAtAndSaved(x - 396, y - 207));
    EXPECT_TRUE(soon([&] { return areCornersOpen(firstPlace); }));

    // It comes back to where it was left, as far as that is on the screen.
    endBy(SIGTERM);
    startAt({x - 396, y - 207, x - 396 + headWidth, y - 207 + headHeight});
    endBy(0);
    writeSettings({{"alwaysOnTop", false}, {"posX", 5000}, {"posY", 5000}});
    constexpr Point last{XDesktop::width - 3 * headWidth / 4, XDesktop::height - 7 * headHeight / 8};
    startAt({last.x, last.y, last.x + headWidth, last.y + headHeight});
    EXPECT_TRUE(soon([&] { return hasState("_NET_WM_STATE_SKIP_TASKBAR"); }));
    EXPECT_FALSE(isAbove());
}

TEST_F(HeadOnDesktop, NeedsNeitherACompositorNorAWindowManager) {
    prepare(XDesktop::Kind::bare);
    startAt(firstPlace);
    EXPECT_TRUE(soon([&] { return areCornersOpen(firstPlace); }));
    desktop->act("mousemove " + placeWords(firstPlace.left + 2, firstPlace.top + 2) + "click 1");
    EXPECT_TRUE(soon([&] { return desktop->backdropPresses() == 1; }));
    endBy(SIGINT);
    EXPECT_TRUE(soon([&] { return !showsHead(firstPlace); }));
}

TEST_F(HeadOnDesktop, TellsOfADisplayOrAModelThatItCannotRead) {
    prepare(XDesktop::Kind::managed);
    const std::filesystem::path program = VELU_PROGRAM;
    const std::string copy = inHome("copy");
    std::filesystem::create_directory(copy);
    std::filesystem::copy(program, copy);
    std::filesystem::copy(program.parent_path() / "assets", copy + "/assets",
                          std::filesystem::copy_options::recursive);
    writeWholeFile(copy + "/assets/models/VeluHead.glb", "not a head");
    start(copy + "/" + program.filename().string());
    XDesktop::Window box = 0;
    ASSERT_TRUE(soon([&] { return (box = desktop->findWindow("Velu", velu->pid)) != 0; })) << said();
    EXPECT_FALSE(velu->result());
    desktop->close(box);
    EXPECT_EQ(velu->wait(), 1);
    EXPECT_NE(dataText("velu.log").find("gltf parse failed"), std::string::npos) << said();

    unsetenv("DISPLAY");
    for (const std::string display : {"", ":7777"}) {
        if (!display.empty()) setenv("DISPLAY", display.c_str(), 1);
        start();
        EXPECT_EQ(velu->wait(), 1);
        const std::string line = fileText(desktop->folder.path + "/velu");
        EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
        EXPECT_NE(line.find(display.empty() ? "DISPLAY" : display), std::string::npos) << line;
    }
}

}  // namespace
