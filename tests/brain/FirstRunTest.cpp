// The first start on an empty data folder: listing, archive, unpacking, model, launch, answer, and what can
// go wrong on the way.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <mutex>

#include "SmallDisk.h"
#include "brain/Brain.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "platform/texts.h"
#include "support/ArchiveFile.h"
#include "support/EngineFolder.h"
#include "support/LoopbackServer.h"
#include "support/TemporaryFolder.h"

namespace {

using Lines = std::vector<std::string>;

/// An archive as the releases have it: everything in one top folder. With a link to `linkTarget`.
std::string engineArchive(const std::string& linkTarget = "libllama.so.1") {
    const TemporaryFolder folder;
    installFakeEngine(folder.path, false, "");
    std::string program;
    EXPECT_TRUE(readWholeFile(joinPath(folder.path, "llama/llama-server"), program));
    const std::string path = joinPath(folder.path, "engine.tar.gz");
    makeArchive(path, ArchiveKind::tarGz,
                {{ArchiveEntry::folder, "llama-b9999", "", 0755},
                 {ArchiveEntry::file, "llama-b9999/llama-server", program, 0755},
                 {ArchiveEntry::file, "llama-b9999/libllama.so.1", "library", 0644},
                 {ArchiveEntry::symlink, "llama-b9999/libllama.so", linkTarget, 0777}});
    std::string bytes;
    EXPECT_TRUE(readWholeFile(path, bytes));
    return bytes;
}

/// The hosts that a first run talks to. Every answer can be replaced before the start.
class FirstRun : public testing::Test {
protected:
    FirstRun()
        : server([this](const Received& received) {
              const std::scoped_lock lock(mutex);
              if (received.path.rfind("/repos/", 0) == 0) return listing(received);
              if (received.path.rfind("/archive", 0) == 0) return archive(received);
              return model(received);
          }),
          brain(Endpoints{server.url(), server.url()},
                {{"Fast - small", "small.gguf", "/models/small.gguf", 400000}}) {
        brain.port = freePort();
        brain.probeGpu = [] { return false; };
        brain.downloadPauseMs = 10;
    }

    bool start() {
        return brain.start(
            0,
            [this](const std::string& line) {
                lines.push_back(line);
                if (!cancelAt.empty() && line.rfind(cancelAt, 0) == 0) cancel = true;
            },
            &cancel);
    }

    std::string asset(const std::string& name) const {
        return R"({"name":")" + name + R"(","browser_download_url":")" + server.url("/archive/" + name) +
               R"("})";
    }

    /// What was said, each progress line only once.
    Lines distinctLines() const {
        Lines distinct;
        for (const std::string& line : lines) {
            const std::string start = line.substr(0, line.find("..."));
            if (distinct.empty() || distinct.back() != start) distinct.push_back(start);
        }
        return distinct;
    }

    std::string log() const {
        std::string bytes;
        return readWholeFile(joinPath(dataFolder(), "velu.log"), bytes) ? bytes : "";
    }

    std::string archiveFile() const { return joinPath(engineFolder(false), "engine.zip"); }
    std::string modelFile() const { return joinPath(modelsFolder(), "small.gguf"); }

    std::mutex mutex;
    std::string packed = engineArchive();
    std::string weights = std::string(400000, 'w');
    std::string assetName = std::string("llama-b9999-") + platformTexts.cpuEngineAsset;
    LoopbackServer::Handler listing = [this](const Received&) {
        return makeReply(200, "[{\"assets\":[" + asset("llama-b9999-bin-other.zip") + "]},{\"assets\":[" +
                                  asset("cudart-" + assetName) + "," + asset(assetName) + "]}]");
    };
    LoopbackServer::Handler archive = [this](const Received&) { return makeReply(200, packed); };
    LoopbackServer::Handler model = [this](const Received& received) {
        return rangeReply(weights, received);
    };
    LoopbackServer server;
    Brain brain;
    Lines lines;
    std::atomic<bool> cancel = false;
    std::string cancelAt;  ///< beginning of the status line at which the user quits
};

TEST_F(FirstRun, FetchesUnpacksResumesLaunchesAndAnswers) {
    int transfers = 0;
    model = [&](const Received& received) {
        Reply reply = rangeReply(weights, received);
        if (++transfers == 1) {
            reply.declaredLength = weights.size();
            reply.chunks = {{weights.substr(0, 150000)}};
            reply.cut = true;
        }
        return reply;
    };
    ASSERT_TRUE(start()) << testing::PrintToString(lines);
    EXPECT_EQ(distinctLines(),
              (Lines{"Finding the latest local-AI engine", "Downloading engine", "Unpacking engine",
                     "Downloading brain (Fast )", "Waking up my brain"}));
    const std::string megabytes = std::to_string(packed.size() >> 20);
    EXPECT_NE(
        std::find(lines.begin(), lines.end(), "Downloading engine... " + megabytes + "/" + megabytes + " MB"),
        lines.end());
    EXPECT_FALSE(isFile(archiveFile()));
    EXPECT_TRUE(isFile(joinPath(engineFolder(false), "libllama.so"))) << "the libraries are lifted along";
    EXPECT_FALSE(std::filesystem::exists(joinPath(engineFolder(false), "llama-b9999")));
    EXPECT_EQ(fileSize(modelFile()), weights.size());
    EXPECT_EQ(transfers, 2);

    const auto requests = server.requests();
    EXPECT_EQ(requests.at(0).path, "/repos/ggml-org/llama.cpp/releases?per_page=8");
    EXPECT_EQ(requests.at(0).header("Accept"), "application/vnd.github+json");
    EXPECT_EQ(requests.at(1).path, "/archive/" + assetName);
    EXPECT_EQ(requests.at(2).path, "/models/small.gguf");

    std::string reply;
    const ChatResult answer = brain.chatClient().chat({{{"role", "user"}, {"content", "hello"}}}, nullptr,
                                                      400, {}, &cancel, "auto");
    EXPECT_TRUE(answer.ok);
    EXPECT_NE(answer.text.find("stand-in"), std::string::npos);

    // From now on the network isn't needed.
    brain.stop();
    ASSERT_TRUE(start());
    EXPECT_EQ(server.requests().size(), 4u);
}

TEST_F(FirstRun, TheListingsFailuresAreTold) {
    const std::string none = "No Windows CPU build found in the latest release.";
    const std::pair<Reply, std::string> cases[] = {
        {makeReply(403, "rate limit"), "Couldn't reach GitHub ()"},
        {makeReply(200, "[]"), none},
        {makeReply(200, "<html>"), none},
        {makeReply(200, "{\"assets\":[]}"), none},
        {makeReply(200, "[{\"assets\":[" + asset("llama-b1-bin-other.zip") + "]}]"), none},
    };
    for (const auto& [reply, line] : cases) {
        lines.clear();
        listing = [&reply = reply](const Received&) { return reply; };
        EXPECT_FALSE(start());
        EXPECT_EQ(lines, (Lines{"Finding the latest local-AI engine...", line}));
    }
    Brain offline(Endpoints{"http://127.0.0.1:" + std::to_string(freePort()), ""}, brain.catalogue);
    offline.gpuMode = 0;
    lines.clear();
    EXPECT_FALSE(offline.start(
        0, [this](const std::string& line) { lines.push_back(line); }, &cancel));
    EXPECT_EQ(lines.back(), "Couldn't reach GitHub (request failed (7))");
}

TEST_F(FirstRun, WithoutAGpuBuildTheProcessorsIsTaken) {
    brain.probeGpu = [] { return true; };
    ASSERT_TRUE(start()) << testing::PrintToString(lines);
    EXPECT_EQ(brain.gpuMode, 0);
    EXPECT_NE(log().find("gpu: no Vulkan build in recent releases, using CPU engine\n"), std::string::npos);
    EXPECT_EQ(lines[0], lines[1]) << "the CPU attempt has its own lines";
}

TEST_F(FirstRun, TheGraphicsCardsBuildIsTakenWhereThereIsOne) {
    brain.probeGpu = [] { return true; };
    listing = [this](const Received&) {
        return makeReply(200, "[{\"assets\":[" + asset("llama-b1-bin-ubuntu-x64.tar.gz") + "," +
                                  asset("llama-b1-bin-ubuntu-arm64.tar.gz") + "," +
                                  asset("llama-b1-bin-ubuntu-vulkan-x64.tar.gz") + "," +
                                  asset("llama-b1-bin-ubuntu-vulkan-arm64.tar.gz") + "]}]");
    };
    ASSERT_TRUE(start()) << testing::PrintToString(lines);
    EXPECT_EQ(lines.back(), "Waking up my brain (GPU)...");
    const std::string wanted = server.requests().at(1).path;
    EXPECT_EQ(wanted.rfind("/archive/llama-b1-bin-ubuntu-vulkan-", 0), 0u) << wanted;
    EXPECT_TRUE(isFile(joinPath(dataFolder(), "llama-vulkan/llama-server")));
}

TEST_F(FirstRun, WhatAnInterruptedInstallationLeftIsNoHindrance) {
    createFolder(joinPath(engineFolder(false), ".unpacked"));
    createFolder(joinPath(engineFolder(false), ".unpacked/old"));
    writeWholeFile(joinPath(engineFolder(false), ".unpacked/old/llama-server"), "cut off");
    writeWholeFile(joinPath(engineFolder(false), ".program"), "cut off");
    EXPECT_TRUE(start()) << testing::PrintToString(lines);
    EXPECT_FALSE(std::filesystem::exists(joinPath(engineFolder(false), ".unpacked")));

    // A link that stays inside the archive but would leave the engine's folder once it is a level up.
    brain.stop();
    std::filesystem::remove_all(engineFolder(false));
    packed = engineArchive("..");
    EXPECT_FALSE(start());
    EXPECT_EQ(lines.back(), "Couldn't unpack the engine.");
}

TEST_F(FirstRun, ABrokenArchiveIsToldAndTheNextStartHealsIt) {
    archive = [&](const Received&) { return makeReply(200, packed.substr(0, packed.size() / 2)); };
    EXPECT_FALSE(start());
    EXPECT_EQ(lines.back(), "Couldn't unpack the engine.");
    EXPECT_TRUE(isFile(archiveFile()));

    archive = [](const Received&) { return makeReply(404, "not found"); };
    EXPECT_FALSE(start());
    EXPECT_EQ(lines.back(), "Engine download failed: ");
    EXPECT_FALSE(isFile(archiveFile()));

    archive = [&](const Received&) {
        Reply reply = makeReply(200, packed);
        reply.declaredLength = packed.size() + 1000;
        reply.cut = true;
        return reply;
    };
    EXPECT_FALSE(start());
    EXPECT_EQ(lines.back(), "Engine download failed: read failed");

    archive = [&](const Received&) { return makeReply(200, packed); };
    EXPECT_TRUE(start());
}

TEST_F(FirstRun, AModelThatCannotBeHadIsAskedForFourTimes) {
    model = [](const Received&) { return makeReply(404, "<html>gone</html>"); };
    EXPECT_FALSE(start());
    EXPECT_EQ(lines.back(), "Model download failed. Check your connection and try again.");
    EXPECT_EQ(server.requests().size(), 2u + 4u);
    for (int attempt = 0; attempt < 4; ++attempt) {
        const std::string line =
            "model download attempt " + std::to_string(attempt) + " failed: status=404 err=\n";
        EXPECT_NE(log().find(line), std::string::npos);
    }
    EXPECT_EQ(fileSize(modelFile() + ".part"), 0u);
}

TEST_F(FirstRun, IsCancelledAtEachStage) {
    struct Case {
        const char* at;
        const char* lastLine;
    };
    const Case cases[] = {
        {"Finding", "Couldn't reach GitHub (cancelled)"},
        {"Downloading engine", "Engine download failed: cancelled"},
        {"Unpacking", "Couldn't unpack the engine."},
        {"Downloading brain", "Downloading brain (Fast )..."},
        {"Waking", "Waking up my brain..."},
    };
    for (const Case& item : cases) {
        std::filesystem::remove_all(engineFolder(false));
        std::filesystem::remove_all(modelsFolder());
        lines.clear();
        cancel = false;
        cancelAt = item.at;
        EXPECT_FALSE(start()) << item.at;
        EXPECT_EQ(lines.back().rfind(item.lastLine, 0), 0u) << item.at << ": " << lines.back();
        EXPECT_FALSE(brain.ready);
    }
    // Nothing that came is lost: the next start goes on from there.
    cancel = false;
    cancelAt.clear();
    EXPECT_TRUE(start()) << testing::PrintToString(lines);
}

TEST_F(FirstRun, WhatIsOnDiskIsJudgedBySize) {
    brain.gpuMode = 0;
    const auto ensure = [&] {
        return brain.ensureModel(
            0, [this](const std::string& l) { lines.push_back(l); }, &cancel);
    };
    placeModel(modelFile(), 380000);  // 95 %
    EXPECT_TRUE(ensure());
    EXPECT_EQ(server.requests().size(), 0u);

    placeModel(modelFile(), 379999);
    EXPECT_TRUE(ensure());
    EXPECT_EQ(server.requests().size(), 1u);
    EXPECT_EQ(fileSize(modelFile()), 400000u);

    for (const uint64_t size : {400000, 400001}) {
        removeFile(modelFile());
        placeModel(modelFile() + ".part", size);
        EXPECT_TRUE(ensure());
        EXPECT_EQ(server.requests().size(), 1u) << "a finished part only needs its name";
        EXPECT_EQ(fileSize(modelFile()), size);
    }
}

TEST_F(FirstRun, AFullDiskIsTold) {
    createFolder(engineFolder(false));
    if (!mountSmallDisk(engineFolder(false), packed.size() / 2))
        GTEST_SKIP() << "this system lets nobody mount a disk";
    EXPECT_FALSE(start());
    EXPECT_EQ(lines.back(), "Engine download failed: aborted");
    EXPECT_FALSE(isFile(archiveFile()));

    const StatusFn onStatus = [this](const std::string& line) { lines.push_back(line); };
    ASSERT_TRUE(mountSmallDisk(modelsFolder(), 1 << 20));
    EXPECT_FALSE(brain.ensureModel(0, onStatus, &cancel));
    EXPECT_EQ(lines.back(), "Not enough disk space: the brain needs about 1 GB free on " + modelsFolder() +
                                " (set VELU_HOME to use another drive).");

    // Room at the start, but none left in the middle: four attempts, and what came is kept.
    Brain filled(brain.endpoints, {{"Fast - large", "large.gguf", "/models/large.gguf", 1}});
    filled.downloadPauseMs = 1;
    {
        const std::scoped_lock lock(mutex);
        weights.assign(4 << 20, 'w');
    }
    ASSERT_TRUE(mountSmallDisk(modelsFolder(), (256 << 20) + 65536));
    const StatusFn fillTheDisk = [&](const std::string& line) {
        if (line.rfind("Downloading", 0) == 0) takeRoom(joinPath(modelsFolder(), "other"), 256 << 20);
        onStatus(line);
    };
    EXPECT_FALSE(filled.ensureModel(0, fillTheDisk, &cancel));
    EXPECT_EQ(lines.back(), "Model download failed. Check your connection and try again.");
    EXPECT_NE(log().find("model download attempt 0 failed: status=200 err=aborted"), std::string::npos)
        << log();
    EXPECT_GT(fileSize(joinPath(modelsFolder(), "large.gguf.part")), 0u);
}

}  // namespace
