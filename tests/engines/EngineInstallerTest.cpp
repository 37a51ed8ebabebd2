#include "engines/EngineInstaller.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "FullDisk.h"
#include "foundation/Files.h"
#include "support/ArchiveFile.h"
#include "support/EngineFolder.h"
#include "support/ReleaseServer.h"
#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

using enum InstallResult;

class EngineInstaller : public testing::Test {
protected:
    EngineInstaller() {
        build.project = "owner/engine";
        build.isWanted = [](const std::string& name) { return name == "wanted"; };
        build.folder = engine;
        build.archive = joinPath(folder.path, "engine.zip");
        build.program = "server";
        build.searchDepth = 2;
        build.unpackLimitMs = 60000;
    }

    /// Removes what is installed, but not what lies beside it.
    void empty(Placement placement) {
        removeFolder(engine);
        build.placement = placement;
        if (placement != Placement::wholeFolder) createFolder(engine);
    }

    std::string packed(const std::string& program, const ArchiveEntry& other) const {
        const std::string path = joinPath(folder.path, "packed.tar.gz");
        makeArchive(path, ArchiveKind::tarGz, {{ArchiveEntry::file, program, "program", 0755}, other});
        return contentOf(path);
    }

    InstallResult install() {
        const Installation done = installEngine(build, releases.server.url(), callbacks, &cancel);
        error = done.response.error;
        return done.result;
    }

    const TemporaryFolder folder;
    const std::string engine = joinPath(folder.path, "engine");
    ReleaseServer releases;
    const Reply listed = releases.listing({"unwanted", "wanted"});
    const std::string good = packed("top/server", {ArchiveEntry::file, "top/library", "library"});
    EngineBuild build;
    InstallCallbacks callbacks;
    std::string error;
    std::atomic<bool> cancel = false;
};

TEST_F(EngineInstaller, PlacesWhatTheArchiveHolds) {
    const std::tuple<const char*, Placement, const char*> cases[] = {
        // the program in the archive, placement, the program in the folder
        {"server", Placement::flat, "server"},
        {"top/two/server", Placement::flat, "server"},
        {"1/2/server", Placement::asPacked, "1/2/server"},
        {"1/2/server", Placement::wholeFolder, "1/2/server"},
        {"1/2/3/server", Placement::asPacked, ""},
        {"1/2/3/server", Placement::wholeFolder, ""},
        {".old/server", Placement::flat, ""},
    };
    std::vector<std::string> steps;
    callbacks.onFound = [&](const std::string& url) { steps.push_back(url); };
    callbacks.onProgress = [&](uint64_t done, uint64_t total) {
        steps.push_back(std::to_string(done) + "/" + std::to_string(total));
    };
    callbacks.onUnpack = [&] { steps.emplace_back("unpack"); };
    for (const auto& [archived, placement, installed] : cases) {
        SCOPED_TRACE(archived);
        empty(placement);
        steps.clear();
        const std::string program = installed;
        const auto pathOfOther = fs::path(archived).parent_path() / "library";
        const std::string archive = packed(archived, {ArchiveEntry::file, pathOfOther, "library"});
        releases.serve(listed, makeReply(200, archive));
        EXPECT_EQ(install(), program.empty() ? noProgram : InstallResult::installed);
        EXPECT_EQ(findProgram(engine, "server", 2), program.empty() ? "" : joinPath(engine, program));
        EXPECT_EQ(isFile(joinPath(engine, "library")), program == "server") << "beside the program";
        const std::string size = std::to_string(archive.size());
        EXPECT_EQ(steps, (std::vector<std::string>{releases.server.url("/archive/wanted"), size + "/" + size,
                                                   "unpack"}));
        EXPECT_FALSE(isFile(build.archive));
        EXPECT_FALSE(fs::exists(engine + ".tmp") || fs::exists(joinPath(engine, ".unpacked")));
    }
    EXPECT_EQ(releases.server.requests().front().path, "/repos/owner/engine/releases?per_page=8");
    EXPECT_EQ(releases.server.requests().front().header("Accept"), "application/vnd.github+json");
}

TEST_F(EngineInstaller, AFailureLeavesNoProgramAndTheNextAttemptHealsIt) {
    // A link inside the archive that leaves the engine's folder once it is a level up.
    const std::string leaving = packed("top/server", {ArchiveEntry::symlink, "top/up", "..", 0777});
    const std::tuple<Reply, Reply, InstallResult, const char*> cases[] = {
        {makeReply(403, "rate limit"), {}, noListing, ""},
        {releases.listing({"unwanted"}), {}, noBuild, ""},
        {listed, makeReply(404, "gone"), downloadFailed, ""},
        {listed, cutReply(good, 1), downloadFailed, "read failed"},
        {listed, makeReply(200, good.substr(0, good.size() / 2)), unpackFailed, ""},
        {listed, makeReply(200, "no archive"), unpackFailed, ""},
        {listed, makeReply(200, leaving), unpackFailed, ""},
    };
    for (const Placement placement : {Placement::flat, Placement::wholeFolder}) {
        const bool isWhole = placement == Placement::wholeFolder;
        empty(placement);
        build.keepsBadArchive = !isWhole;
        for (const auto& [listing, archive, result, reason] : cases) {
            if (isWhole && &result == &std::get<2>(cases[6])) continue;
            releases.serve(listing, archive);
            EXPECT_EQ(install(), result);
            EXPECT_EQ(error, reason);
            EXPECT_EQ(findProgram(engine, "server", 4), "");
            EXPECT_EQ(fs::exists(engine), !isWhole);
            EXPECT_FALSE(fs::exists(engine + ".tmp"));
            EXPECT_EQ(isFile(build.archive), build.keepsBadArchive && result == unpackFailed);
            removeFile(build.archive);
        }
        // As an installation that was cut off leaves it.
        fs::create_directories(isWhole ? engine + ".tmp/old" : engine + "/.unpacked/old");
        writeWholeFile(isWhole ? engine + ".tmp/old/server" : engine + "/.program", "cut off");
        releases.serve(listed, makeReply(200, good));
        EXPECT_EQ(install(), installed);
        EXPECT_EQ(contentOf(findProgram(engine, "server", 1)), "program");
        EXPECT_FALSE(fs::exists(engine + "/old"));
    }
}

TEST_F(EngineInstaller, EndsByACancelAtEachStepAndOnAFullDisk) {
    releases.serve(listed, makeReply(200, good));
    empty(Placement::flat);
    const auto stop = [this](auto&&...) { cancel = true; };
    const std::tuple<InstallCallbacks, InstallResult, const char*> cases[] = {
        {{}, noListing, "cancelled"},
        {{{}, stop, {}}, downloadFailed, "cancelled"},
        {{{}, {}, stop}, unpackFailed, ""},
    };
    cancel = true;
    for (const auto& [stopping, result, reason] : cases) {
        callbacks = stopping;
        EXPECT_EQ(install(), result);
        EXPECT_EQ(error, reason);
        EXPECT_FALSE(isFile(build.archive));
        cancel = false;
    }
    callbacks = {};
    build.archive = joinPath(folder.path, "missing/engine.zip");
    EXPECT_EQ(install(), archiveNotOpened);
    build.archive = joinPath(engine, "engine.zip");
    fillDiskAt(1000);
    for (const size_t size : {100000, 1001}) {  // the second fits into the file's buffer
        releases.serve(listed, makeReply(200, std::string(size, 'x')));
        EXPECT_EQ(install(), downloadFailed);
        EXPECT_EQ(error, "aborted");
    }
    EXPECT_FALSE(isFile(build.archive));
}

}  // namespace
