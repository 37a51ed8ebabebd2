#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "core/Companion.h"
#include "core/WindowMode.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Settings.h"
#include "support/EngineFolder.h"
#include "support/SoundServer.h"
#include "support/XDesktop.h"

inline const std::vector<ModelInfo> sessionModels = {{"Small model", "small.gguf", "/small.gguf", 1000},
                                                     {"Large model", "large.gguf", "/large.gguf", 2000},
                                                     {"Other model", "other.gguf", "/other.gguf", 3000}};

inline constexpr const char* sessionScript = R"({"replies": [
    {"when": "story", "pieceMs": 120, "text": "Once upon a time there was a robot. It had a very large head. It told very long stories to everybody who asked. Nobody ever heard the end of them. They went on and on and on."},
    {"when": "remind", "role": "user", "calls": [{"name": "set_timer", "arguments": {"minutes": 0.001, "label": "turn off the oven"}}]},
    {"when": "slow", "pieceMs": 500, "text": "This answer takes its time. It really does take a lot of time, word by word by word by word."}],
    "default": {"text": "I am fine, thank you. The sun is shining today.", "pieceMs": 20}})";

/// The companion as its user meets it: on a private desktop with a sound server, and with a stand-in for the
/// language model. The test runs the companion's loop itself, so that it can look at everything between
/// frames. The microphone is switched off.
class Session : public testing::Test {
protected:
    Session() {
        for (const bool useGpu : {false, true})
            installFakeEngine(dataFolder(), useGpu, sessionScript);
        for (const ModelInfo& model : sessionModels)
            placeModel(joinPath(modelsFolder(), model.file), model.size);
        Settings::instance().micOn = false;
        Endpoints nowhere;
        nowhere.releases = nowhere.models = "http://127.0.0.1:1";
        velu = std::make_unique<Companion>(nowhere, sessionModels);
        velu->brain.port = freePort();
        velu->brain.probeGpu = [] { return false; };
    }

    ~Session() override {
        if (velu->window) shutDownCompanion(*velu);
    }

    void start() { ASSERT_TRUE(startCompanion(*velu)); }

    /// Started, with the engine up and the greeting over.
    void startReady() {
        start();
        ASSERT_TRUE(until([this] { return velu->bringUp.brainReady; }));
        velu->conversation.stopSpeaking();
        velu->bubble.hide();
    }

    template <typename Condition>
    bool until(Condition condition, std::chrono::milliseconds patience = std::chrono::milliseconds(60000)) {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            velu->pass();
        }
        return true;
    }

    void click(const std::string& button = "1") const {
        const Rect head = velu->window->rect();
        desktop.act("mousemove " + std::to_string((head.left + head.right) / 2) + " " +
                    std::to_string((head.top + head.bottom) / 2) + " click " + button);
    }

    /// The chat box opened by a click, with the keyboard.
    void openChat() {
        click();
        ASSERT_TRUE(until([this] { return velu->bubble.typing && desktop.focus() == panel(); }));
    }

    /// Typed by hand into the chat box.
    void ask(const std::string& word) {
        openChat();
        desktop.act("type " + word);
        desktop.act("key Return");
        ASSERT_TRUE(until([this] { return !velu->bubble.typing; }));
    }

    XDesktop::Window panel() const { return desktop.findWindow("Velu says", getpid()); }
    bool shows(const std::string& words) const { return velu->bubble.text.find(words) != std::string::npos; }
    bool isQuiet() const { return velu->voice.pending == 0 && !velu->conversation.thinking; }

    static std::string contentOf(const std::string& name) {
        std::string text;
        EXPECT_TRUE(readWholeFile(joinPath(dataFolder(), name), text));
        return text;
    }

    XDesktop desktop{XDesktop::Kind::composited};
    SoundServer sound;
    std::unique_ptr<Companion> velu;
};
