#include "engines/ModelDownloader.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "FullDisk.h"
#include "foundation/Files.h"
#include "support/EngineFolder.h"
#include "support/ReleaseServer.h"
#include "support/TemporaryFolder.h"

namespace {

class ModelDownloader : public testing::Test {
protected:
    ModelDownloader() {
        for (size_t i = 0; i < 300000; ++i)
            whole += static_cast<char>((i * 2654435761U) >> 13);
        download.path = path;
        download.pauseMs = 10;
        download.onFailure = [this](int32_t attempt, const HttpResponse& response) {
            failure = std::to_string(attempt) + " " + std::to_string(response.status) + " " + response.error;
        };
    }

    DownloadResult from(const LoopbackServer& server) {
        download.url = server.url("/model");
        failure.clear();
        return downloadModel(download, &cancel);
    }

    TemporaryFolder folder;
    std::string path = joinPath(folder.path, "model.gguf");
    std::string part = path + ".part";
    std::string whole;
    ModelDownload download;
    std::string failure;  ///< the last one's attempt, status and error
    std::atomic<bool> cancel = false;
};

TEST_F(ModelDownloader, ResumesAfterACutConnection) {
    int requests = 0;
    const LoopbackServer server([&](const Received& received) {
        const Reply reply = rangeReply(whole, received);
        if (++requests == 3) return reply;
        const std::string& all = reply.chunks.at(0).bytes;
        Reply cut = cutReply(all.substr(0, 100000), all.size() - 100000);
        cut.status = reply.status;
        cut.headers = reply.headers;
        return cut;
    });
    download.progressIntervalMs = 3600000;  // so only the first chunk of each attempt is reported
    std::vector<uint64_t> done;
    download.onProgress = [&](uint64_t now, uint64_t total) {
        done.push_back(now);
        EXPECT_EQ(total, whole.size());
    };
    EXPECT_EQ(from(server), DownloadResult::complete);
    EXPECT_EQ(contentOf(path), whole);
    EXPECT_FALSE(isFile(part));
    EXPECT_EQ(done.size(), 3U);
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()) && done.back() > 200000) << "counts the whole file";
    const auto received = server.requests();
    ASSERT_EQ(received.size(), 3U);
    EXPECT_EQ(received[0].header("Range"), "");
    EXPECT_EQ(received[1].header("Range"), "bytes=100000-");
    EXPECT_EQ(received[2].header("Range"), "bytes=200000-");

    download.path = joinPath(folder.path, "missing/model.gguf");
    EXPECT_EQ(from(server), DownloadResult::fileTrouble);
    EXPECT_EQ(server.requests().size(), 3U);
}

TEST_F(ModelDownloader, OnlyTheRequestedBytesReachTheFile) {
    const std::string begun = whole.substr(0, 1000);
    Reply otherPart = makeReply(206, whole);
    otherPart.headers.emplace_back("Content-Range", "bytes 0-299999/300000");
    Reply cutAtOnce = cutReply("", whole.size() - 1000);
    cutAtOnce.status = 206;
    const std::tuple<Reply, std::string, std::string, std::string> cases[] = {
        // answer, finished file, part that is left, last failure
        {makeReply(404, "<html>no</html>"), "", begun, "3 404 "},
        {makeReply(416, "<html>no</html>"), begun, "", ""},
        {makeReply(200, whole), whole, "", ""},
        {makeReply(206, whole.substr(1000)), whole, "", ""},
        {otherPart, "", begun, "3 206 aborted"},
        {cutAtOnce, "", begun, "3 206 read failed"},
    };
    for (const auto& [answer, finished, left, lastFailure] : cases) {
        removeFile(path);
        writeWholeFile(part, begun);
        const LoopbackServer server([&answer = answer](const Received&) { return answer; });
        const bool isGood = lastFailure.empty();
        EXPECT_EQ(from(server), isGood ? DownloadResult::complete : DownloadResult::failed) << answer.status;
        EXPECT_EQ(contentOf(path), finished) << answer.status;
        EXPECT_EQ(contentOf(part), left) << answer.status;
        EXPECT_EQ(failure, lastFailure);
        EXPECT_EQ(server.requests().size(), isGood ? 1U : 4U);
    }
}

TEST_F(ModelDownloader, ACancelAndAFullDiskEndItAndKeepWhatCame) {
    Reply held = makeReply(200, whole.substr(0, 100000));
    held.chunks.push_back({whole.substr(100000), 0, std::make_shared<Gate>()});
    const LoopbackServer server([&](const Received&) { return held; });
    download.onProgress = [&](uint64_t, uint64_t) { cancel = true; };
    EXPECT_EQ(from(server), DownloadResult::cancelled);
    EXPECT_EQ(failure, "") << "a cancel is no failed attempt";
    const std::string kept = contentOf(part);
    EXPECT_GT(kept.size(), 0U);
    EXPECT_EQ(whole.substr(0, kept.size()), kept);
    EXPECT_FALSE(isFile(path));

    cancel = false;
    fillDiskAt(200000);
    const LoopbackServer resuming([&](const Received& received) { return rangeReply(whole, received); });
    download.onProgress = {};
    EXPECT_EQ(from(resuming), DownloadResult::failed);
    EXPECT_EQ(failure, "3 206 aborted");
    EXPECT_EQ(fileSize(part), 200000U);
}

}  // namespace
