#include "platform/camera.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <thread>

#include "support/CameraServer.h"
#include "support/Children.h"
#include "support/Soon.h"

namespace {

using Clock = std::chrono::steady_clock;
using State = CameraState;
using Colour = std::array<int32_t, 4>;  // blue, green, red, alpha, of which a camera may make anything
using std::chrono::milliseconds;

constexpr Colour red{20, 30, 220, 255}, green{10, 200, 40, 255}, blue{230, 20, 10, 255},
    white{255, 255, 255, 255};

constexpr const char* program = "velu-camera";

/// Four fields: above left and right, below left and right.
CameraFrame fields(int32_t width, int32_t height, const std::array<Colour, 4>& colours) {
    CameraFrame frame{width, height, {}};
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            for (const int32_t part : colours[(y >= height / 2 ? 2U : 0U) + (x >= width / 2 ? 1U : 0U)])
                frame.pixels.push_back(static_cast<uint8_t>(part));
    return frame;
}

CameraFrame plain(const Colour& colour) {
    return fields(2, 2, {colour, colour, colour, colour});
}

bool isNear(const CameraFrame& frame, int32_t x, int32_t y, const Colour& colour, int32_t tolerance) {
    const auto at = static_cast<size_t>(y * frame.width + x) * 4;
    for (size_t i = 0; i < 3; ++i)
        if (std::abs(frame.pixels.at(at + i) - colour[i]) > tolerance) return false;
    return true;
}

/// The camera of this name, once it is there.
CameraDevice named(const std::string& name) {
    CameraDevice found;
    EXPECT_TRUE(soon([&] {
        for (const CameraDevice& device : listCameras(5000, nullptr))
            if (device.name == name) found = device;
        return found.name == name;
    })) << name;
    return found;
}

struct Viewer {
    Camera camera;
    CameraFrame frame;

    State open(const std::string& name) {
        const CameraDevice device = named(name);
        return camera.open(device, device.sizes.empty() ? CameraSize{} : device.sizes[0]);
    }

    /// Takes a picture; how it ends when none comes.
    State next() {
        State state = State::running;
        EXPECT_TRUE(soon([&] {
            state = camera.read(frame, 0, 1000);
            return state != State::running || !frame.pixels.empty();
        }));
        return state;
    }

    bool sees(const Colour& colour) {
        return next() == State::running && isNear(frame, frame.width / 2, frame.height / 2, colour, 12);
    }
};

/// What becomes of the one process that takes pictures now.
void signalProgram(int number) {
    const std::vector<pid_t> programs = childrenCalled(program);
    ASSERT_EQ(programs.size(), 1U);
    kill(programs[0], number);
}

milliseconds durationOf(const std::function<void()>& action) {
    const auto begin = Clock::now();
    action();
    return std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
}

TEST(Camera, IsListedByItsNameWithItsSizesInItsOrder) {
    CameraServer server;
    server.plugIn("Coded", {"H264:640x480@15"});
    server.plugIn("Kamera über dem Tisch",
                  {"MJPG:1280x720@30", "YUY2:640x480@30", "YUY2:640x480@15", "YUY2:320x240@30"});
    server.plugIn("Night view", {"GRAY8:322x240@15"});
    std::vector<CameraDevice> devices;
    ASSERT_TRUE(soon([&] { return (devices = listCameras(5000, nullptr)).size() == 3; }));
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
    EXPECT_TRUE(soon([] { return listCameras(5000, nullptr).size() == 3; }));
    server.stop();
    EXPECT_TRUE(listCameras(5000, nullptr).empty());
}

TEST(Camera, PicturesComeOutToThePixel) {
    struct Case {
        const char* offer;
        int32_t tolerance;
        bool isGrey;
    };
    CameraServer server;
    for (const Case& c : {Case{"RGBx:322x240@30", 0, false}, Case{"RGB:322x241@30", 0, false},
                          Case{"YUY2:640x480@15", 12, false}, Case{"YUY2:322x240@15", 12, false},
                          Case{"MJPG:321x243@30", 12, false}, Case{"GRAY8:322x240@15", 4, true}}) {
        SCOPED_TRACE(c.offer);
        server.plugIn(c.offer, {c.offer});
        Viewer viewer;
        const CameraDevice device = named(c.offer);
        ASSERT_EQ(viewer.camera.open(device, device.sizes.at(0)), State::running);
        const auto [width, height] = viewer.camera.size();
        EXPECT_EQ((CameraSize{width, height}), device.sizes[0]);
        server.show(c.offer, fields(width, height, {red, green, blue, white}));
        const auto expected = [&](Colour colour) {
            if (c.isGrey) colour.fill((29 * colour[0] + 150 * colour[1] + 77 * colour[2]) / 256);
            return colour;
        };
        ASSERT_TRUE(soon([&] {
            return viewer.next() == State::running && isNear(viewer.frame, 0, 0, expected(red), c.tolerance);
        }));
        const CameraFrame& frame = viewer.frame;
        ASSERT_EQ(frame.pixels.size(), static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
        EXPECT_TRUE(isNear(frame, width - 1, 0, expected(green), c.tolerance));
        EXPECT_TRUE(isNear(frame, 0, height - 1, expected(blue), c.tolerance));
        EXPECT_TRUE(isNear(frame, width - 1, height - 1, expected(white), c.tolerance));
        EXPECT_TRUE(isNear(frame, 0, height / 2 - 9, expected(red), c.tolerance));
        EXPECT_TRUE(isNear(frame, width - 1, height / 2 - 9, expected(green), c.tolerance));
    }
}

TEST(Camera, WhatIsReadIsNewAndTheRestIsLetGoBy) {
    CameraServer server;
    server.plugIn("Desk", {"YUY2:640x480@30", "MJPG:1280x720@30"});
    server.show("Desk", plain(red));
    Viewer viewer;
    ASSERT_EQ(viewer.open("Desk"), State::running);
    // Nothing is read until the camera shows something new, and then nothing older comes. A camera that gets
    // no time on a busy machine has more than one try.
    bool isNew = false;
    for (const Colour& colour : {red, blue, white, red, blue}) {
        server.show("Desk", plain(colour));
        std::this_thread::sleep_for(milliseconds(500));
        isNew = isNew || viewer.sees(colour);
    }
    EXPECT_TRUE(isNew);
    server.show("Desk", plain(green));
    EXPECT_TRUE(soon([&] { return viewer.sees(green); }));
    const auto pause = durationOf([&] {
        EXPECT_EQ(viewer.camera.read(viewer.frame, 600, 5000), State::running);
        EXPECT_FALSE(viewer.frame.pixels.empty());
    });
    EXPECT_GE(pause, milliseconds(600));
    EXPECT_LT(pause, milliseconds(3000));

    server.pauseCamera("Desk");
    while (viewer.camera.read(viewer.frame, 0, 300) == State::running && !viewer.frame.pixels.empty()) {
    }
    EXPECT_LT(durationOf([&] { EXPECT_EQ(viewer.camera.read(viewer.frame, 100, 300), State::running); }),
              milliseconds(1500));
    EXPECT_TRUE(viewer.frame.pixels.empty());
    server.resumeCamera("Desk");
    EXPECT_EQ(viewer.next(), State::running);
    viewer.camera.close();
    EXPECT_EQ(viewer.camera.read(viewer.frame, 0, 100), State::notActivated);
    ASSERT_EQ(viewer.open("Desk"), State::running);
    EXPECT_TRUE(viewer.sees(green));
}

TEST(Camera, OneThatIsTakenAwayOrHangsEndsAndCanBeOpenedAgain) {
    struct Case {
        const char* what;
        void (*lose)(CameraServer&);
        void (*restore)(CameraServer&);
        bool isAtOnce;
        std::vector<uint32_t> partOfError;  ///< any of these
    };
    CameraServer server;
    server.plugIn("Other", {"YUY2:640x480@15"});
    server.plugIn("Desk", {"YUY2:640x480@15"});
    const std::vector<Case> cases{
        {"unplugged",
         [](CameraServer& s) { s.unplug("Desk"); },
         [](CameraServer& s) { s.plugIn("Desk", {"YUY2:640x480@15"}); },
         true,
         {3, 5}},
        {"hung",
         [](CameraServer& s) { s.pauseCamera("Desk"); },
         [](CameraServer& s) { s.resumeCamera("Desk"); },
         false,
         {0}},
        {"without PipeWire",
         [](CameraServer& s) { s.stop(); },
         [](CameraServer& s) { s.start(); },
         true,
         {3, 5}},
        {"a library crashed", [](CameraServer&) { signalProgram(SIGSEGV); }, [](CameraServer&) {}, true, {5}},
        {"a library hangs", [](CameraServer&) { signalProgram(SIGSTOP); }, [](CameraServer&) {}, false, {0}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Viewer viewer;
        const CameraDevice device = named("Desk");
        ASSERT_EQ(viewer.camera.open(device, device.sizes.at(0)), State::running);
        ASSERT_EQ(viewer.next(), State::running);
        c.lose(server);
        State state = State::running;
        const auto time = durationOf([&] {
            EXPECT_TRUE(
                soon([&] { return (state = viewer.camera.read(viewer.frame, 250, 250)) != State::running; }));
        });
        EXPECT_EQ(state, State::ended);
        const uint32_t part = viewer.camera.errorCode() >> 16U;
        EXPECT_EQ(std::count(c.partOfError.begin(), c.partOfError.end(), part), 1) << part;
        if (c.isAtOnce || part != 0) {
            EXPECT_LT(time, milliseconds(3000));
        } else {
            EXPECT_GE(time, milliseconds(4900));
            EXPECT_LT(time, milliseconds(7500));
        }
        EXPECT_EQ(viewer.camera.read(viewer.frame, 250, 250), State::ended);
        EXPECT_TRUE(soon([] { return childrenCalled(program).empty(); }));
        c.restore(server);
        EXPECT_EQ(viewer.open("Desk"), State::running);
        EXPECT_EQ(viewer.next(), State::running);
    }
}

TEST(Camera, OneThatCannotBeOpenedTellsWhy) {
    CameraServer server;
    server.plugIn("Desk", {"YUY2:640x480@15"});
    server.plugIn("Coded", {"H264:640x480@15"});
    Viewer viewer;
    const CameraDevice desk = named("Desk");
    EXPECT_EQ(viewer.open("Coded"), State::noSuchFormat);
    EXPECT_EQ(viewer.camera.open(desk, {800, 600}), State::noSuchFormat);
    server.unplug("Desk");
    ASSERT_TRUE(soon([] { return listCameras(5000, nullptr).size() == 1; }));
    EXPECT_EQ(viewer.camera.open(desk, desk.sizes.at(0)), State::notActivated);
    EXPECT_EQ(viewer.camera.errorCode(), 0x30003U);
    EXPECT_EQ(viewer.camera.read(viewer.frame, 0, 0), State::notActivated);
}

TEST(Camera, WhatWaitsIsCalledOffAlsoWhenPipeWireHangs) {
    CameraServer server;
    server.plugIn("Desk", {"YUY2:640x480@15"});
    server.plugIn("Other", {"YUY2:640x480@15"});
    const CameraDevice other = named("Other");
    Viewer viewer, late;
    viewer.camera.interrupt();
    EXPECT_EQ(viewer.open("Desk"), State::interrupted);
    ASSERT_EQ(viewer.open("Desk"), State::running);
    ASSERT_EQ(viewer.next(), State::running);
    viewer.camera.interrupt();
    EXPECT_EQ(viewer.camera.read(viewer.frame, 0, 1000), State::interrupted);
    ASSERT_EQ(viewer.next(), State::running);

    server.pause();
    const auto calledOff = [&](Camera& camera, const std::function<State()>& waiting) {
        std::atomic<Clock::time_point> at = Clock::time_point();
        std::thread caller([&] {
            std::this_thread::sleep_for(milliseconds(300));
            at = Clock::now();
            camera.interrupt();
        });
        EXPECT_EQ(waiting(), State::interrupted);
        const auto end = Clock::now();
        caller.join();
        EXPECT_LT(end - at.load(), milliseconds(1000));
    };
    calledOff(viewer.camera, [&] { return viewer.camera.read(viewer.frame, 20000, 0); });
    calledOff(late.camera, [&] { return late.camera.open(other, other.sizes.at(0)); });
    EXPECT_LT(durationOf([&] { viewer.camera.close(); }), milliseconds(1000));
    EXPECT_LT(durationOf([&] { late.camera.close(); }), milliseconds(1000));
    EXPECT_TRUE(soon([] { return childrenCalled(program).empty(); }));
    server.resume();
    for (Viewer* const each : {&viewer, &late}) {
        EXPECT_EQ(each->open("Other"), State::running);
        EXPECT_EQ(each->next(), State::running);
    }
}

}  // namespace
