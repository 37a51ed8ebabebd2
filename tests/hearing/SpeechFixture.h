#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "engines/EngineFolders.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "hearing/SpeechEngine.h"
#include "hearing/SpeechEngineBuilds.h"
#include "support/EngineFolder.h"

/// A speech engine on ports of its own, and what it leaves in the data folder.
class SpeechFixture : public testing::Test {
protected:
    explicit SpeechFixture(Endpoints hosts = {"http://127.0.0.1:1", "http://127.0.0.1:1"})
        : engine(std::move(hosts)) {
        engine.port = freePortPair();
        engine.probeCuda = [] { return false; };
        engine.downloadPauseMs = 10;
    }

    bool start() {
        problems.clear();
        return engine.start(
            [this](const std::string& line) {
                lines.push_back(line);
                if (!cancelAt.empty() && line.rfind(cancelAt, 0) == 0) cancel = true;
            },
            [this](const std::string& line) { problems.push_back(line); }, &cancel);
    }

    std::string transcribeTone(int32_t hertz) {
        std::vector<int16_t> samples(16000);
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] =
                static_cast<int16_t>(8000 * std::sin(2 * M_PI * hertz * static_cast<double>(i) / 16000));
        return engine.transcribe(samples, &cancel);
    }

    static std::string content(const std::string& path) {
        std::string bytes;
        return readWholeFile(path, bytes) ? bytes : "";
    }

    static bool isLogged(const std::string& line) {
        return content(joinPath(dataFolder(), "velu.log")).find(" " + line + "\n") != std::string::npos;
    }

    /// How many requests the stand-in in this folder has had.
    static auto requestsTo(const std::string& folder) {
        const std::string bytes = content(joinPath(folder, "requests.jsonl"));
        return std::count(bytes.begin(), bytes.end(), '\n');
    }

    static std::string modelFile() { return joinPath(modelsFolder(), "ggml-base.en.bin"); }

    using Lines = std::vector<std::string>;
    SpeechEngine engine;
    Lines lines;     ///< of progress
    Lines problems;  ///< of the last start
    std::atomic<bool> cancel = false;
    std::string cancelAt;  ///< beginning of the status line at which the user quits
};
