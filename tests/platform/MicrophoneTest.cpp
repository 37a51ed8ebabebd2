#include "platform/microphone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <thread>

#include "platform/linux/sound/PulseConnection.h"
#include "support/Soon.h"
#include "support/SoundServer.h"

namespace {

using Clock = std::chrono::steady_clock;
using State = MicrophoneState;
using std::chrono::milliseconds;

constexpr double step = 2 * std::numbers::pi * 443.7 / 16000;  // its waves don't fit into 100 ms
constexpr int32_t amplitude = 10000;

std::vector<int16_t> tone(int32_t seconds) {
    std::vector<int16_t> samples(static_cast<size_t>(seconds) * 16000);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int16_t>(amplitude * std::sin(step * static_cast<double>(i)));
    return samples;
}

struct Listener {
    Microphone microphone;
    std::vector<int16_t> chunk;

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
        const auto begin = Clock::now();
        State state = State::running;
        EXPECT_TRUE(soon([&] { return (state = microphone.read(chunk, 200)) != State::running; }));
        EXPECT_LT(Clock::now() - begin, milliseconds(3500));
        return state;
    }
};

// It did not, when it came between a look at what is to be done and the wait for more.
TEST(PulseConnection, AWakeUpBeforeAWaitEndsIt) {
    PulseConnection connection;
    connection.wake();
    const auto begin = Clock::now();
    connection.wait(std::chrono::seconds(20));
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(10));
}

TEST(Microphone, HearsATonePlayedInTheRoomWithoutGaps) {
    SoundServer server;
    const auto player = server.playToRoom(tone(60));
    Listener listener;
    ASSERT_EQ(listener.microphone.open(""), State::running);
    ASSERT_TRUE(listener.becomes(true));
    std::vector<int16_t> heard;
    const auto begin = Clock::now();
    while (heard.size() < 48000) {
        // What is read late is there all the same.
        if (heard.size() == 16000) std::this_thread::sleep_for(milliseconds(2000));
        ASSERT_EQ(listener.next(), State::running);
        heard.insert(heard.end(), listener.chunk.begin(), listener.chunk.end());
    }
    EXPECT_GT(Clock::now() - begin, milliseconds(2500));
    // A sine of this frequency, and of no other, tells each sample from the two before it.
    int32_t jumps = 0;
    double power = 0;
    for (size_t i = 2; i < heard.size(); ++i) {
        if (std::abs(heard[i] + heard[i - 2] - 2 * std::cos(step) * heard[i - 1]) > amplitude / 20.0) ++jumps;
        power += std::pow(heard[i], 2);
    }
    EXPECT_EQ(jumps, 0);
    EXPECT_NEAR(std::sqrt(2 * power / static_cast<double>(heard.size())), amplitude, amplitude / 10.0);
}

TEST(Microphone, IsListedByItsHumanNameWithoutMonitors) {
    SoundServer server;
    server.addMicrophone("desk", "Mikrofon für den Tisch");
    std::vector<MicrophoneDevice> devices;
    ASSERT_TRUE(soon([&] { return (devices = listMicrophones(5000, nullptr)).size() == 2; }));
    EXPECT_EQ(devices[0].id, "microphone");
    EXPECT_EQ(devices[0].name, "Room microphone");
    EXPECT_EQ(devices[1].id, "desk");
    EXPECT_EQ(devices[1].name, "Mikrofon für den Tisch");

    server.pause();
    const auto begin = Clock::now();
    EXPECT_TRUE(listMicrophones(500, nullptr).empty());
    EXPECT_LT(Clock::now() - begin, milliseconds(1500));
    server.stop();
    EXPECT_TRUE(listMicrophones(500, nullptr).empty());
}

TEST(Microphone, TheChosenDeviceIsHeardOrThePreferredOne) {
    SoundServer server;
    server.addMicrophone("desk", "Desk");
    const auto player = server.playToRoom(tone(60));
    server.control({"set-source-mute", "microphone", "1"});
    Listener chosen, preferred;
    ASSERT_EQ(chosen.microphone.open("desk"), State::running);
    ASSERT_TRUE(chosen.becomes(true));
    ASSERT_EQ(preferred.microphone.open(""), State::running);
    ASSERT_TRUE(preferred.becomes(false));
    // The user prefers another.
    server.control({"set-default-source", "desk"});
    EXPECT_TRUE(preferred.becomes(true));
    // One that sleeps is silent, and heard again when it wakes.
    server.control({"suspend-source", "desk", "1"});
    EXPECT_TRUE(chosen.becomes(false));
    std::this_thread::sleep_for(milliseconds(1800));
    EXPECT_TRUE(chosen.becomes(false));
    server.control({"suspend-source", "desk", "0"});
    EXPECT_TRUE(chosen.becomes(true));
}

TEST(Microphone, ADeviceThatIsTakenAwayIsNotFound) {
    SoundServer server;
    server.addMicrophone("desk", "Desk");
    Listener chosen, preferred;
    ASSERT_EQ(chosen.microphone.open("desk"), State::running);
    ASSERT_EQ(preferred.microphone.open(""), State::running);
    ASSERT_TRUE(chosen.becomes(false) && preferred.becomes(false));

    server.removeMicrophone("desk");
    EXPECT_EQ(chosen.end(), State::notFound);
    EXPECT_EQ(chosen.microphone.open("desk"), State::notFound);
    EXPECT_EQ(chosen.microphone.errorCode(), 5U);

    // What the server puts in the preferred one's place is what the speaker plays: no microphone.
    server.removeMicrophone("microphone");
    EXPECT_EQ(preferred.end(), State::notFound);
    EXPECT_EQ(preferred.microphone.open(""), State::notFound);
    server.addMicrophone("desk", "Desk");
    EXPECT_EQ(preferred.microphone.open(""), State::running);
}

TEST(Microphone, AServerThatDiesOrIsMissingIsNotFound) {
    SoundServer server;
    Listener listener;
    ASSERT_EQ(listener.microphone.open(""), State::running);
    ASSERT_TRUE(listener.becomes(false));
    server.stop();
    EXPECT_EQ(listener.end(), State::notFound);
    EXPECT_EQ(listener.microphone.open(""), State::notFound);
    EXPECT_EQ(listener.microphone.errorCode(), 6U);
    server.start();
    EXPECT_EQ(listener.microphone.open(""), State::running);
    EXPECT_TRUE(listener.becomes(false));
}

TEST(Microphone, AServerThatHangsIsUnusable) {
    SoundServer server;
    Listener listener;
    ASSERT_EQ(listener.microphone.open(""), State::running);
    ASSERT_TRUE(listener.becomes(false));
    server.pause();
    EXPECT_EQ(listener.end(), State::unusable);

    const auto begin = Clock::now();
    EXPECT_EQ(listener.microphone.open(""), State::unusable);
    EXPECT_GE(Clock::now() - begin, milliseconds(3000));
    EXPECT_LT(Clock::now() - begin, milliseconds(4500));

    server.resume();
    ASSERT_EQ(listener.microphone.open(""), State::running);
    ASSERT_TRUE(listener.becomes(false));
    // Nobody waits for it when it is let go.
    server.pause();
    const auto end = Clock::now();
    listener.microphone.close();
    EXPECT_LT(Clock::now() - end, milliseconds(1000));
    server.resume();
}

TEST(Microphone, WhatWaitsIsCalledOffFromAnotherThread) {
    SoundServer server;
    Listener listener;
    listener.microphone.interrupt();
    EXPECT_EQ(listener.microphone.open(""), State::interrupted);
    ASSERT_EQ(listener.microphone.open(""), State::running);
    ASSERT_TRUE(listener.becomes(false));
    listener.microphone.interrupt();
    EXPECT_EQ(listener.microphone.read(listener.chunk, 200), State::interrupted);
    ASSERT_EQ(listener.next(), State::running);

    // Against a server that hangs, or there would be something to read instead.
    server.pause();
    const auto calledOff = [&](auto waiting) {
        std::atomic<Clock::time_point> at = Clock::time_point();
        std::thread caller([&] {
            std::this_thread::sleep_for(milliseconds(300));
            at = Clock::now();
            listener.microphone.interrupt();
        });
        State state = State::running;
        while (state == State::running)
            state = waiting();
        const auto end = Clock::now();
        caller.join();
        EXPECT_EQ(state, State::interrupted);
        EXPECT_LT(end - at.load(), milliseconds(3000)) << "it would wait for longer";
    };
    calledOff([&] { return listener.microphone.read(listener.chunk, 10000); });
    calledOff([&] { return listener.microphone.open(""); });
    server.resume();
    EXPECT_EQ(listener.microphone.open(""), State::running);
}

}  // namespace
