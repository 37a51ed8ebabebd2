#include "platform/microphone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>

#include "support/Soon.h"
#include "support/SoundServer.h"
#include "support/Speech.h"
#include "support/Timing.h"

namespace {

using State = MicrophoneState;
using std::chrono::milliseconds;

constexpr double hertz = 443.7;  // its waves don't fit into 100 ms
constexpr int32_t amplitude = 8000;

class Microphone : public testing::Test {
protected:
    struct Listener {
        ::Microphone microphone;
        std::vector<int16_t> chunk;

        State open(const std::string& id = "") { return microphone.open(id); }

        /// The next chunk, or how it ends.
        State next() {
            State state = State::running;
            EXPECT_TRUE(soon([&] {
                state = microphone.read(chunk, 200);
                return state != State::running || !chunk.empty();
            }));
            EXPECT_EQ(chunk.size(), state == State::running ? 1600U : 0U);
            return state;
        }

        /// Whether what is heard is a tone, or silence, before long.
        bool becomes(bool isTone) {
            const auto isLoud = [](int16_t sample) { return std::abs(sample) > amplitude / 2; };
            return soon([&] {
                return next() == State::running && std::any_of(chunk.begin(), chunk.end(), isLoud) == isTone;
            });
        }

        /// How it ends, within two seconds and some for a busy machine.
        State end() {
            State state = State::running;
            const auto hasEnded = [&] { return (state = microphone.read(chunk, 200)) != State::running; };
            EXPECT_LT(durationOf([&] { EXPECT_TRUE(soon(hasEnded)); }), milliseconds(3500));
            return state;
        }
    };

    void openAndHear() {
        ASSERT_EQ(listener.open(), State::running);
        ASSERT_TRUE(listener.becomes(false));
    }

    SoundServer server;
    Listener listener;
};

TEST_F(Microphone, HearsATonePlayedInTheRoomWithoutGaps) {
    const auto player = server.playToRoom(tone(hertz, 60));
    ASSERT_EQ(listener.open(), State::running);
    ASSERT_TRUE(listener.becomes(true));
    std::vector<int16_t> heard;
    const auto time = durationOf([&] {
        while (heard.size() < 32000) {
            // What is read late is there all the same.
            if (heard.size() == 8000) std::this_thread::sleep_for(milliseconds(1000));
            ASSERT_EQ(listener.next(), State::running);
            heard.insert(heard.end(), listener.chunk.begin(), listener.chunk.end());
        }
    });
    EXPECT_GT(time, milliseconds(1600));
    // A sine of this frequency, and of no other, tells each sample from the two before it.
    const double step = 2 * std::numbers::pi * hertz / 16000;
    int32_t jumps = 0;
    double power = 0;
    for (size_t i = 2; i < heard.size(); ++i) {
        if (std::abs(heard[i] + heard[i - 2] - 2 * std::cos(step) * heard[i - 1]) > amplitude / 20.0) ++jumps;
        power += std::pow(heard[i], 2);
    }
    EXPECT_EQ(jumps, 0);
    EXPECT_NEAR(std::sqrt(2 * power / static_cast<double>(heard.size())), amplitude, amplitude / 10.0);
}

TEST_F(Microphone, IsListedByItsHumanNameWithoutMonitors) {
    server.addMicrophone("desk", "Mikrofon für den Tisch");
    std::vector<MicrophoneDevice> devices;
    ASSERT_TRUE(soon([&] { return (devices = listMicrophones(5000, nullptr)).size() == 2; }));
    EXPECT_EQ(devices[0].id + ": " + devices[0].name, "microphone: Room microphone");
    EXPECT_EQ(devices[1].id + ": " + devices[1].name, "desk: Mikrofon für den Tisch");

    server.pause();
    const std::atomic<bool> isCancelled = true;
    EXPECT_LT(durationOf([] { EXPECT_TRUE(listMicrophones(500, nullptr).empty()); }), milliseconds(1500));
    EXPECT_LT(durationOf([&] { EXPECT_TRUE(listMicrophones(20000, &isCancelled).empty()); }),
              milliseconds(1000));
    server.stop();
    EXPECT_TRUE(listMicrophones(500, nullptr).empty());
}

TEST_F(Microphone, TheChosenDeviceIsHeardOrThePreferredOne) {
    server.addMicrophone("desk", "Desk");
    const auto player = server.playToRoom(tone(hertz, 60));
    server.control({"set-source-mute", "microphone", "1"});
    Listener chosen;
    ASSERT_EQ(chosen.open("desk"), State::running);
    ASSERT_TRUE(chosen.becomes(true));
    openAndHear();
    // The user prefers another.
    server.control({"set-default-source", "desk"});
    EXPECT_TRUE(listener.becomes(true));
    // One that sleeps is silent, and heard again when it wakes.
    server.control({"suspend-source", "desk", "1"});
    EXPECT_TRUE(chosen.becomes(false));
    std::this_thread::sleep_for(milliseconds(1800));
    EXPECT_TRUE(chosen.becomes(false));
    server.control({"suspend-source", "desk", "0"});
    EXPECT_TRUE(chosen.becomes(true));
}

TEST_F(Microphone, ADeviceThatIsTakenAwayIsNotFound) {
    server.addMicrophone("desk", "Desk");
    Listener chosen;
    ASSERT_EQ(chosen.open("desk"), State::running);
    openAndHear();
    ASSERT_TRUE(chosen.becomes(false));

    server.removeMicrophone("desk");
    EXPECT_EQ(chosen.end(), State::notFound);
    EXPECT_EQ(chosen.open("desk"), State::notFound);
    EXPECT_EQ(chosen.microphone.errorCode(), 5U);

    // What the server puts in the preferred one's place is what the speaker plays: no microphone.
    server.removeMicrophone("microphone");
    EXPECT_EQ(listener.end(), State::notFound);
    EXPECT_EQ(listener.open(), State::notFound);
    server.addMicrophone("desk", "Desk");
    EXPECT_EQ(listener.open(), State::running);
}

TEST_F(Microphone, AServerThatDiesOrIsMissingIsNotFound) {
    openAndHear();
    server.stop();
    EXPECT_EQ(listener.end(), State::notFound);
    EXPECT_EQ(listener.open(), State::notFound);
    EXPECT_EQ(listener.microphone.errorCode(), 6U);
    server.start();
    openAndHear();
}

TEST_F(Microphone, AServerThatHangsIsUnusable) {
    openAndHear();
    server.pause();
    EXPECT_EQ(listener.end(), State::unusable);
    const auto time = durationOf([&] { EXPECT_EQ(listener.open(), State::unusable); });
    EXPECT_GE(time, milliseconds(3000));
    EXPECT_LT(time, milliseconds(4500));

    server.resume();
    openAndHear();
    // Nobody waits for it when it is let go.
    server.pause();
    EXPECT_LT(durationOf([&] { listener.microphone.close(); }), milliseconds(1000));
    server.resume();
}

TEST_F(Microphone, WhatWaitsIsCalledOffFromAnotherThread) {
    const auto interrupt = [&] { listener.microphone.interrupt(); };
    interrupt();
    EXPECT_EQ(listener.open(), State::interrupted);
    openAndHear();
    interrupt();
    EXPECT_EQ(listener.microphone.read(listener.chunk, 200), State::interrupted);
    ASSERT_EQ(listener.next(), State::running);

    // Against a server that hangs, or there would be something to read instead.
    server.pause();
    const auto read = [&] {
        State state = State::running;
        while (state == State::running)
            state = listener.microphone.read(listener.chunk, 10000);
        return state;
    };
    expectCalledOff(interrupt, read, State::interrupted);
    expectCalledOff(
        interrupt, [&] { return listener.open(); }, State::interrupted);
    server.resume();
    EXPECT_EQ(listener.open(), State::running);
}

}  // namespace
