// The built program as it looks and behaves on a desktop.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "brain/ModelCatalogue.h"
#include "foundation/Files.h"
#include "support/EngineFolder.h"
#include "support/Soon.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"
#include "support/TestProgram.h"
#include "support/XDesktop.h"

namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

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
    std::ofstream(inHome("settings.json")) << settings;
}

json readSettings() {
    return json::parse(dataText("settings.json"), nullptr, false);
}

bool contains(const Strings& names, const std::string& name) {
    return std::count(names.begin(), names.end(), name) != 0;
}

std::string placeWords(int32_t x, int32_t y) {
    return std::to_string(x) + " " + std::to_string(y) + " ";
}

bool isChecker(const Colour& colour) {
    return colour == sand || colour == plum;
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
        std::filesystem::remove(inHome("llama/requests.jsonl"));
        std::filesystem::remove(inHome("llama-vulkan/requests.jsonl"));
        velu = std::make_unique<TestProgram>(Strings{executable}, desktop->folder.path + "/velu");
    }

    /// Starts the program and waits until its head is seen at a place.
    void startAt(const Rect& place) {
        start();
        ASSERT_TRUE(soon([&] { return (head = desktop->findWindow("Velu", velu->pid)) != 0; })) << said();
        EXPECT_TRUE(soon([&] { return desktop->rectangle(head) == place; })) << whereItIs();
        EXPECT_TRUE(soon([&] { return showsHead(place); })) << said();
        // The greeting goes when the engine is up, which is then asked to read ahead.
        EXPECT_TRUE(soon([&] {
            return isFile(inHome("llama/requests.jsonl")) || isFile(inHome("llama-vulkan/requests.jsonl"));
        }));
        EXPECT_TRUE(soon([&] { return desktop->findWindow("Velu says", velu->pid) == 0; }));
    }

    /// Whether the middle of a place has neither the backdrop nor blackness.
    bool showsHead(const Rect& place) const {
        const int32_t x = place.left + place.width() / 2;
        const int32_t y = place.top + place.height() / 2;
        const Screenshot middle = desktop->picture({x - 5, y - 5, x + 5, y + 5});
        return std::all_of(middle.pixels.begin(), middle.pixels.end(), [](const Colour& colour) {
            return !isChecker(colour) && colour.red + colour.green + colour.blue > 60;
        });
    }

    /// The checkers that lie open in the four corners of a place, of 4 x 10 x 10 pixels.
    int32_t openCheckers(const Rect& place) const {
        const Screenshot picture = desktop->picture();
        int32_t count = 0;
        for (const int32_t left : {place.left, place.right - 10}) {
            for (const int32_t top : {place.top, place.bottom - 10}) {
                for (int32_t index = 0; index < 100; ++index) {
                    const int32_t x = left + index % 10;
                    const int32_t y = top + index / 10;
                    const bool isFirst = (x / XDesktop::square + y / XDesktop::square) % 2 == 0;
                    count += picture.at(x, y) == (isFirst ? sand : plum) ? 1 : 0;
                }
            }
        }
        return count;
    }

    Strings states() const { return desktop->atomsOf(head, "_NET_WM_STATE"); }

    std::string said() const { return fileText(desktop->folder.path + "/velu") + dataText("velu.log"); }

    std::string whereItIs() const {
        const Rect place = desktop->rectangle(head);
        return placeWords(place.left, place.top) + placeWords(place.width(), place.height());
    }

    /// Presses at a place on the screen, moves by these steps and lets go.
    void drag(int32_t x, int32_t y, const std::vector<Point>& steps) const {
        std::string words = "mousemove " + placeWords(x, y) + "mousedown 1 ";
        for (const Point& step : steps)
            words += "mousemove_relative -- " + placeWords(step.x, step.y);
        desktop->act(words + "mouseup 1");
    }

    /// A failure leaves what was on the screen beside the test program.
    void TearDown() override {
        if (!HasFailure() || !desktop) return;
        desktop->picture().save(std::string(testing::UnitTest::GetInstance()->current_test_info()->name()) +
                                ".png");
    }

    std::unique_ptr<XDesktop> desktop;
    std::unique_ptr<TestProgram> velu;
    XDesktop::Window head = 0;
};

TEST_F(HeadOnDesktop, FloatsOverTheUsersWindowsWithoutGettingInTheirWay) {
    prepare(XDesktop::Kind::composited);
    const XDesktop::Window user = desktop->openUserWindow();
    startAt(firstPlace);
    EXPECT_TRUE(soon([&] { return openCheckers(firstPlace) == 400; }));
    for (const char* state :
         {"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"})
        EXPECT_TRUE(soon([&] { return contains(states(), state); })) << state;

    // A press in the ellipse isn't for the backdrop, one in each corner is. It leaves the focus alone.
    const std::string middle = placeWords(firstPlace.left + headWidth / 2, firstPlace.top + headHeight / 2);
    desktop->act("mousemove " + middle + "mousedown 1 mousemove_relative -- -30 0 mouseup 1");
    ASSERT_TRUE(soon([&] { return desktop->rectangle(head).left == firstPlace.left - 30; })) << whereItIs();
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
    Screenshot picture;
    const auto count = [&](int32_t least, int32_t most) {
        picture = desktop->picture(firstPlace);
        return std::count_if(picture.pixels.begin(), picture.pixels.end(), [=](const Colour& colour) {
            return greenness(colour) >= least && greenness(colour) <= most;
        });
    };
    const auto isHard = [&] { return count(255, 255) > 5000 && count(20, 235) == 0; };
    EXPECT_TRUE(soon(isHard)) << count(255, 255) << " " << count(20, 235);
    desktop->startCompositor();
    EXPECT_TRUE(soon([&] { return count(255, 255) > 5000 && count(20, 235) > 50; })) << count(20, 235);
    // The backdrop has no red and no blue, so an edge's pixel has as much of the head's as it lacks green.
    double mixed = 0;
    double expected = 0;
    for (int32_t y = 0; y < picture.height; ++y) {
        int32_t edge = 0;
        while (edge < picture.width - 10 && greenness(picture.at(edge, y)) > 235)
            ++edge;
        const Colour inside = picture.at(edge + 3, y);
        const Colour seen = picture.at(edge, y);
        if (greenness(seen) < 20 || greenness(inside) > 0) continue;
        const double covered = double(255 - greenness(seen)) / (255 - greenness(inside));
        mixed += seen.red + seen.blue;
        expected += covered * (inside.red + inside.blue);
    }
    EXPECT_GT(expected, 0);
    EXPECT_GT(mixed / expected, 0.7);
    EXPECT_LT(mixed / expected, 1.4);
    desktop->stopCompositor();
    EXPECT_TRUE(soon(isHard)) << count(255, 255) << " " << count(20, 235);
}

TEST_F(HeadOnDesktop, FollowsADragAndComesBackToWhereItWasLeft) {
    prepare(XDesktop::Kind::managed);
    startAt(firstPlace);
    const auto isAt = [this](int32_t left, int32_t top) {
        return soon([&] {
            const Rect place = desktop->rectangle(head);
            return place.left == left && place.top == top;
        });
    };
    const auto isSaved = [](int32_t x, int32_t y) {
        return soon([&] {
            const json settings = readSettings();
            return settings.is_object() && settings.value("posX", -1) == x && settings.value("posY", -1) == y;
        });
    };
    const int32_t x = firstPlace.left;
    const int32_t y = firstPlace.top;
    // Each press is away from the one before, so that no two of them are a double click. Had the first moved
    // the head, the second wouldn't leave it where it does.
    drag(x + 80, y + 80, {{4, 0}, {0, 4}, {-8, -8}});
    drag(x + 120, y + 120, {{5, 0}});
    EXPECT_TRUE(isAt(x + 5, y)) << whereItIs();
    EXPECT_TRUE(isSaved(x + 5, y)) << readSettings();
    drag(x + 90, y + 160, {{-100, 0}, {-300, -200}, {-1, -7}});
    EXPECT_TRUE(isAt(x - 396, y - 207)) << whereItIs();
    EXPECT_TRUE(isSaved(x - 396, y - 207)) << readSettings();
    EXPECT_TRUE(soon([&] { return openCheckers(firstPlace) == 400; }));

    const std::vector<std::pair<Point, Point>> startsAndPlaces = {
        {{x - 396, y - 207}, {x - 396, y - 207}},
        {{5000, 5000}, {XDesktop::width - 3 * headWidth / 4, XDesktop::height - 7 * headHeight / 8}},
        {{-5000, -5000}, {-headWidth / 4, -headHeight / 8}}};
    for (const auto& [saved, place] : startsAndPlaces) {
        velu->signal(SIGTERM);
        EXPECT_EQ(velu->wait(), 0);
        json settings = readSettings();
        settings["posX"] = saved.x;
        settings["posY"] = saved.y;
        writeSettings(settings);
        startAt({place.x, place.y, place.x + headWidth, place.y + headHeight});
    }
}

TEST_F(HeadOnDesktop, StaysOnTopWhileThatIsWanted) {
    prepare(XDesktop::Kind::managed);
    startAt(firstPlace);
    const auto isAbove = [this] { return contains(states(), "_NET_WM_STATE_ABOVE"); };
    EXPECT_TRUE(soon(isAbove));
    // It may be back before we look, so until it has been seen gone.
    EXPECT_TRUE(soon([&] {
        desktop->removeState(head, "_NET_WM_STATE_ABOVE");
        return soon([&] { return !isAbove(); }, std::chrono::seconds(1));
    }));
    EXPECT_TRUE(soon(isAbove));

    desktop->close(head);
    EXPECT_EQ(velu->wait(), 0);
    writeSettings({{"alwaysOnTop", false}});
    startAt(firstPlace);
    EXPECT_TRUE(soon([&] { return contains(states(), "_NET_WM_STATE_SKIP_TASKBAR"); }));
    EXPECT_FALSE(isAbove());
}

TEST_F(HeadOnDesktop, NeedsNeitherACompositorNorAWindowManager) {
    prepare(XDesktop::Kind::bare);
    startAt(firstPlace);
    EXPECT_TRUE(soon([&] { return openCheckers(firstPlace) == 400; })) << openCheckers(firstPlace);
    desktop->act("mousemove " + placeWords(firstPlace.left + 2, firstPlace.top + 2) + "click 1");
    EXPECT_TRUE(soon([&] { return desktop->backdropPresses() == 1; }));
    velu->signal(SIGINT);
    EXPECT_EQ(velu->wait(), 0);
    EXPECT_TRUE(soon([&] { return !showsHead(firstPlace); }));
}

TEST_F(HeadOnDesktop, NamesTheDisplayThatItCannotOpen) {
    desktop = std::make_unique<XDesktop>(XDesktop::Kind::bare);
    unsetenv("DISPLAY");
    for (const char* display : {"", ":7777"}) {
        if (*display != '\0') setenv("DISPLAY", display, 1);
        start();
        EXPECT_EQ(velu->wait(), 1);
        const std::string line = fileText(desktop->folder.path + "/velu");
        EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
        EXPECT_NE(line.find(*display != '\0' ? display : "DISPLAY"), std::string::npos) << line;
    }
}

TEST_F(HeadOnDesktop, TellsOfAModelThatItCannotRead) {
    prepare(XDesktop::Kind::managed);
    const TemporaryFolder copy;
    const std::filesystem::path program = VELU_PROGRAM;
    std::filesystem::copy(program, copy.path);
    std::filesystem::copy(program.parent_path() / "assets", copy.path + "/assets",
                          std::filesystem::copy_options::recursive);
    std::ofstream(copy.path + "/assets/models/VeluHead.glb") << "not a head";
    start(copy.path + "/" + program.filename().string());
    XDesktop::Window box = 0;
    ASSERT_TRUE(soon([&] { return (box = desktop->findWindow("Velu", velu->pid)) != 0; })) << said();
    EXPECT_FALSE(velu->result());
    desktop->close(box);
    EXPECT_EQ(velu->wait(), 1);
    EXPECT_NE(dataText("velu.log").find("gltf parse failed"), std::string::npos) << said();
}

}  // namespace
