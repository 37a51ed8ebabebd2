#include "platform/camera.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "support/CameraServer.h"
#include "support/Children.h"
#include "support/Soon.h"
#include "support/Timing.h"

namespace {

using State = CameraState;
using Colour = std::array<int32_t, 4>;  // blue, green, red, alpha, of which a camera may make anything
using std::chrono::milliseconds;

constexpr Colour red{20, 30, 220, 255}, green{10, 200, 40, 255}, blue{230, 20, 10, 255},
    white{255, 255, 255, 255};

/// Four fields: above left and right, below left and right.
CameraFrame fields(int32_t width, int32_t height, const std::array<Colour, 4>& colours) {
    CameraFrame frame{width, height, {}};
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            for (const int32_t part : colours[(y >= height / 2 ? 2U : 0U) + (x >= width / 2 ? 1U : 0U)])
                frame.pixels.push_back(static_cast<uint8_t>(part));
    return frame;
}

bool isNear(const CameraFrame& frame, int32_t x, int32_t y, const Colour& colour, int32_t tolerance) {
    const auto at = static_cast<size_t>(y * frame.width + x) * 4;
    for (size_t i = 0; i < 3; ++i)
        if (std::abs(frame.pixels.at(at + i) - colour[i]) > tolerance) return false;
    return true;
}

std::vector<CameraDevice> allCameras() {
    return listCameras(5000, nullptr);
}

/// The camera of this name, once it is there.
CameraDevice named(const std::string& name) {
    CameraDevice found;
    EXPECT_TRUE(soon([&] {
        for (const CameraDevice& device : allCameras())
            if (device.name == name) found = device;
        return found.name == name;
    })) << name;
    return found;
}

/// The processes that take pictures now.
std::vector<pid_t> programs() {
    return childrenCalled("velu-camera");
}

class Camera : public testing::Test {
protected:
    struct Viewer {
        ::Camera camera;
        CameraFrame frame;

        State open(const std::string& name) {
            const CameraDevice device = named(name);
            return camera.open(device, device.sizes.empty() ? CameraSize{} : device.sizes[0]);
        }

        State read(int32_t pauseMs, int32_t waitMs) { return camera.read(frame, pauseMs, waitMs); }

        /// Takes a picture; how it ends when none comes.
        State next() {
            State state = State::running;
            EXPECT_TRUE(
                soon([&] { return (state = read(0, 1000)) != State::running || !frame.pixels.empty(); }));
            return state;
        }

        bool sees(const Colour& colour) {
            return next() == State::running && isNear(frame, frame.width / 2, frame.height / 2, colour, 12);
        }
    };

    void show(const Colour& colour) { server.show("Desk", fields(4, 4, {colour, colour, colour, colour})); }

    void openDesk() {
        ASSERT_EQ(viewer.open("Desk"), State::running);
        ASSERT_EQ(viewer.next(), State::running);
    }

    CameraServer server;
    Viewer viewer;
};

TEST_F(Camera, IsListedByItsNameWithItsSizesInItsOrder) {
    server.plugIn("Coded", {"H264:640x480@15"});
    server.plugIn("Kamera über dem Tisch",
                  {"MJPG:1280x720@30", "YUY2:640x480@30", "YUY2:640x480@15", "YUY2:320x240@30"});
    server.plugIn("Night view", {"GRAY8:322x240@15"});
    std::vector<CameraDevice> devices;
    ASSERT_TRUE(soon([&] { return (devices = allCameras()).size() == 3; }));
    EXPECT_EQ(devices[0].name, "Kamera über dem Tisch");
    EXPECT_EQ(devices[0].sizes, (std::vector<CameraSize>{{1280, 720}, {640, 480}, {320, 240}}));
    EXPECT_FALSE(devices[0].isGrey);
    EXPECT_EQ(devices[1].name, "Night view");
    EXPECT_TRUE(devices[1].isGrey);
    // What can't be read isn't in the way of what can.
    EXPECT_EQ(devices[2].name, "Coded");
    EXPECT_TRUE(devices[2].sizes.empty());

    server.pause();
    const std::atomic<bool> isCancelled = true;
    EXPECT_LT(durationOf([] { EXPECT_TRUE(listCameras(300, nullptr).empty()); }), milliseconds(1300));
    EXPECT_LT(durationOf([&] { EXPECT_TRUE(listCameras(20000, &isCancelled).empty()); }), milliseconds(1000));
    server.resume();
    EXPECT_TRUE(soon([] { return allCameras().size() == 3; }));
    server.stop();
    EXPECT_TRUE(allCameras().empty());
}

TEST_F(Camera, PicturesComeOutToThePixel) {
    for (const auto& [offer, tolerance] :
         {std::pair{"RGBx:322x240@30", 0}, std::pair{"RGB:322x241@30", 0}, std::pair{"YUY2:640x480@15", 12},
          std::pair{"YUY2:322x240@15", 12}, std::pair{"MJPG:321x243@30", 12},
          std::pair{"GRAY8:322x240@15", 4}}) {
        SCOPED_TRACE(offer);
        server.plugIn(offer, {offer});
        const CameraDevice device = named(offer);
        ASSERT_EQ(viewer.camera.open(device, device.sizes.at(0)), State::running);
        const auto [width, height] = viewer.camera.size();
        EXPECT_EQ((CameraSize{width, height}), device.sizes[0]);
        server.show(offer, fields(width, height, {red, green, blue, white}));
        const CameraFrame& frame = viewer.frame;
        const auto has = [&](int32_t x, int32_t y, Colour colour) {
            if (device.isGrey) colour.fill((29 * colour[0] + 150 * colour[1] + 77 * colour[2]) / 256);
            return isNear(frame, x, y, colour, tolerance);
        };
        ASSERT_TRUE(soon([&] { return viewer.next() == State::running && has(0, 0, red); }));
        ASSERT_EQ(frame.pixels.size(), static_cast<size_t>(width * height * 4));
        EXPECT_TRUE(has(width - 1, 0, green) && has(width - 1, height / 2 - 9, green));
        EXPECT_TRUE(has(0, height - 1, blue) && has(0, height / 2 - 9, red));
        EXPECT_TRUE(has(width - 1, height - 1, white));
        server.unplug(offer);
    }
}

TEST_F(Camera, WhatIsReadIsNewAndTheRestIsLetGoBy) {
    server.plugIn("Desk", {"YUY2:640x480@30", "MJPG:1280x720@30"});
    show(red);
    openDesk();
    // Nothing is read until the camera shows something new, and then nothing older comes. A camera that gets
    // no time on a busy machine has more than one try.
    bool isNew = false;
    for (size_t i = 0; i < 5 && !isNew; ++i) {
        const Colour& colour = i % 2 == 0 ? blue : red;
        show(colour);
        std::this_thread::sleep_for(milliseconds(500));
        isNew = viewer.sees(colour);
    }
    EXPECT_TRUE(isNew);
    show(green);
    EXPECT_TRUE(soon([&] { return viewer.sees(green); }));
    const auto pause = durationOf([&] { EXPECT_EQ(viewer.read(600, 5000), State::running); });
    EXPECT_FALSE(viewer.frame.pixels.empty());
    EXPECT_GE(pause, milliseconds(600));
    EXPECT_LT(pause, milliseconds(3000));

    server.pauseCamera("Desk");
    while (viewer.read(0, 300) == State::running && !viewer.frame.pixels.empty()) {
    }
    EXPECT_LT(durationOf([&] { EXPECT_EQ(viewer.read(100, 300), State::running); }), milliseconds(1500));
    EXPECT_TRUE(viewer.frame.pixels.empty());
    server.resumeCamera("Desk");
    EXPECT_EQ(viewer.next(), State::running);
    viewer.camera.close();
    EXPECT_EQ(viewer.read(0, 100), State::notActivated);
    openDesk();
    EXPECT_TRUE(viewer.sees(green));
}

TEST_F(Camera, OneThatIsTakenAwayOrHangsEndsAndCanBeOpenedAgain) {
    const std::vector<std::string> offers{"YUY2:640x480@15"};
    server.plugIn("Other", offers);
    server.plugIn("Desk", offers);
    const auto signalProgram = [](int number) { kill(programs().at(0), number); };
    struct Case {
        const char* what;
        std::function<void()> lose, restore;
        std::vector<uint32_t> partOfError;  ///< any of these; 0 for a camera that only fell silent
    };
    const Case cases[] = {
        {"unplugged", [&] { server.unplug("Desk"); }, [&] { server.plugIn("Desk", offers); }, {3, 5}},
        {"hung", [&] { server.pauseCamera("Desk"); }, [&] { server.resumeCamera("Desk"); }, {0}},
        {"without PipeWire", [&] { server.stop(); }, [&] { server.start(); }, {3, 5}},
        {"a library crashed", [&] { signalProgram(SIGSEGV); }, [] {}, {5}},
        {"a library hangs", [&] { signalProgram(SIGSTOP); }, [] {}, {0}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        openDesk();
        c.lose();
        State state = State::running;
        const auto time = durationOf(
            [&] { EXPECT_TRUE(soon([&] { return (state = viewer.read(250, 250)) != State::running; })); });
        EXPECT_EQ(state, State::ended);
        const uint32_t part = viewer.camera.errorCode() >> 16U;
        EXPECT_EQ(std::count(c.partOfError.begin(), c.partOfError.end(), part), 1) << part;
        EXPECT_GE(time, milliseconds(part == 0 ? 4900 : 0));
        EXPECT_LT(time, milliseconds(part == 0 ? 7500 : 3000));
        EXPECT_EQ(viewer.read(250, 250), State::ended);
        EXPECT_TRUE(soon([] { return programs().empty(); }));
        c.restore();
    }
    openDesk();
}

TEST_F(Camera, OneThatCannotBeOpenedTellsWhy) {
    server.plugIn("Desk", {"YUY2:640x480@15"});
    server.plugIn("Coded", {"H264:640x480@15"});
    const CameraDevice desk = named("Desk");
    EXPECT_EQ(viewer.open("Coded"), State::noSuchFormat);
    EXPECT_EQ(viewer.camera.open(desk, {800, 600}), State::noSuchFormat);
    server.unplug("Desk");
    ASSERT_TRUE(soon([] { return allCameras().size() == 1; }));
    EXPECT_EQ(viewer.camera.open(desk, desk.sizes.at(0)), State::notActivated);
    EXPECT_EQ(viewer.camera.errorCode(), 0x30003U);
    EXPECT_EQ(viewer.read(0, 0), State::notActivated);
}

TEST_F(Camera, WhatWaitsIsCalledOffAlsoWhenPipeWireHangs) {
    server.plugIn("Desk", {"YUY2:640x480@15"});
    server.plugIn("Other", {"YUY2:640x480@15"});
    const CameraDevice other = named("Other");
    Viewer late;
    viewer.camera.interrupt();
    EXPECT_EQ(viewer.open("Desk"), State::interrupted);
    openDesk();
    viewer.camera.interrupt();
    EXPECT_EQ(viewer.read(0, 1000), State::interrupted);
    ASSERT_EQ(viewer.next(), State::running);

    server.pause();
    expectCalledOff([&] { viewer.camera.interrupt(); }, [&] { return viewer.read(20000, 0); },
                    State::interrupted);
    expectCalledOff([&] { late.camera.interrupt(); },
                    [&] { return late.camera.open(other, other.sizes.at(0)); }, State::interrupted);
    EXPECT_LT(durationOf([&] { viewer.camera.close(); }), milliseconds(1000));
    EXPECT_LT(durationOf([&] { late.camera.close(); }), milliseconds(1000));
    EXPECT_TRUE(soon([] { return programs().empty(); }));
    server.resume();
    for (Viewer* const each : {&viewer, &late}) {
        EXPECT_EQ(each->open("Other"), State::running);
        EXPECT_EQ(each->next(), State::running);
    }
}

}  // namespace
