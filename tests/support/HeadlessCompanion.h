#pragma once

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "core/Companion.h"
#include "core/WindowMode.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/EngineFolder.h"
#include "support/Soon.h"

/// A companion without a desktop: its bubble only keeps its texts, its voice is mute. It reaches no host.
class HeadlessCompanion : public testing::Test {
protected:
    HeadlessCompanion() {
        placeModel(joinPath(modelsFolder(), models[0].file), models[0].size);
        velu.brain.port = freePort();
        velu.brain.probeGpu = [] { return false; };
        velu.speech.port = freePort();
        velu.speech.probeCuda = [] { return false; };
        settings.voiceOn = false;
    }

    ~HeadlessCompanion() override { shutDownCompanion(velu); }

    /// Handles the companion's messages until the condition holds.
    template <typename Condition>
    bool until(Condition condition) {
        return soon([&] {
            for (const Message& message : velu.messages.take()) {
                velu.windowProc(message);
                handled.push_back(message);
            }
            return condition();
        });
    }

    /// The messages of one kind among those that were handled.
    template <typename Kind>
    std::vector<Kind> all() const {
        std::vector<Kind> found;
        for (const Message& message : handled) {
            if (const Kind* one = std::get_if<Kind>(&message)) found.push_back(*one);
        }
        return found;
    }

    static inline const std::vector<ModelInfo> models = {{"Small model", "small.gguf", "/small.gguf", 1000}};
    Settings& settings = Settings::instance();
    Companion velu{settings, {"http://127.0.0.1:1", "http://127.0.0.1:1", "", "", "", "", ""}, models};
    std::vector<Message> handled;
};
