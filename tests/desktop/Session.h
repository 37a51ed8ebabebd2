#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "core/Companion.h"
#include "core/MenuCommands.h"
#include "core/WindowMode.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Ticks.h"
#include "support/EngineFolder.h"
#include "support/Soon.h"
#include "support/SoundServer.h"
#include "support/TestData.h"
#include "support/XDesktop.h"

inline constexpr const char* sessionScript = R"({"replies": [
    {"when": "story", "pieceMs": 60, "text": "Once upon a time there was a robot. It had a very large head. It told very long stories to everybody who asked."},
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
        for (const ModelInfo& model : models)
            placeModel(joinPath(modelsFolder(), model.file), model.size);
        settings.micOn = false;
        makeCompanion();
    }

    ~Session() override { shutDownCompanion(*velu); }

    void makeCompanion(const std::string& modelHost = "http://127.0.0.1:1") {
        Endpoints endpoints;
        endpoints.releases = "http://127.0.0.1:1";
        endpoints.models = modelHost;
        velu = std::make_unique<Companion>(settings, endpoints, models);
        velu->brain.port = freePort();
        velu->brain.probeGpu = [] { return false; };
        velu->speech.port = freePort();
        velu->speech.probeCuda = [] { return false; };
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
    bool until(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds(60)) {
        return soon(condition, patience, [this] { velu->pass(); });
    }

    void runFor(int ms) {
        (void)until([] { return false; }, std::chrono::milliseconds(ms));
    }

    void click(const std::string& button = "1") {
        lastClick = tickCount();
        const Rect head = velu->window->rect();
        desktop.act("mousemove " + std::to_string((head.left + head.right) / 2) + " " +
                    std::to_string((head.top + head.bottom) / 2) + " click " + button);
    }

    /// The chat box opened by a click that isn't the second half of a double click, with the keyboard.
    void openChat() {
        ASSERT_TRUE(until([this] { return tickCount() > lastClick + 500; }));
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

    void openSettings() {
        carryOut(*velu, MenuCommand::settings);
        ASSERT_TRUE(until(
            [this] { return desktop.findWindow("Velu Settings", getpid()) == desktop.activeWindow(); }));
    }

    XDesktop::Window panel() const { return desktop.findWindow("Velu says", getpid()); }
    bool shows(const std::string& words) const { return velu->bubble.text.find(words) != std::string::npos; }
    bool isQuiet() const { return velu->voice.pending == 0 && !velu->conversation.thinking; }

    /// How many hundredths of a second were loud, of those that were recorded from `begin` on.
    int64_t loudTime(size_t begin = 0) const {
        const std::vector<double> loudness = sound.loudness();
        return std::count_if(loudness.begin() + static_cast<std::ptrdiff_t>(begin), loudness.end(),
                             [](double l) { return l > 0.01; });
    }

    static inline const std::vector<ModelInfo> models = {{"Small model", "small.gguf", "/small.gguf", 1000},
                                                         {"Large model", "large.gguf", "/large.gguf", 2000}};
    Settings& settings = Settings::instance();
    XDesktop desktop{XDesktop::Kind::composited};
    SoundServer sound;
    std::unique_ptr<Companion> velu;
    uint64_t lastClick = 0;
};
