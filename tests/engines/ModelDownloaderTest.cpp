#include "engines/ModelDownloader.h"

#include <gtest/gtest.h>

#include <thread>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/LoopbackServer.h"
#include "support/TemporaryFolder.h"

namespace {

std::string pattern(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 2654435761U) >> 13);
    return bytes;
}

std::string contentOf(const std::string& path) {
    std::string bytes;
    return readWholeFile(path, bytes) ? bytes : "(no file)";
}

class ModelDownloader : public testing::Test {
protected:
    ModelDownload to(const LoopbackServer& server) {
        ModelDownload download;
        download.url = server.url("/model");
        download.path = path;
        download.pauseMs = 10;
        failures.clear();
        download.onFailure = [this](int32_t attempt, const HttpResponse& response) {
            failures.push_back(std::to_string(attempt) + " " + std::to_string(response.status) + " " +
                               response.error);
        };
        return download;
    }

    TemporaryFolder folder;
    std::string path = joinPath(folder.path, "model.gguf");
    std::string part = path + ".part";
    std::string whole = pattern(300000);
    std::vector<std::string> failures;  ///< attempt, status and error, as they were reported
    std::atomic<bool> cancel = false;
};

TEST_F(ModelDownloader, GoesOnBehindACutConnection) {
    int requests = 0;
    const LoopbackServer server([&](const Received& received) {
        Reply reply = rangeReply(whole, received);
        if (++requests < 3) {  // two transfers break behind their first bytes
            const std::string all = reply.chunks.at(0).bytes;
            reply.declaredLength = all.size();
            reply.chunks = {{all.substr(0, 100000)}};
            reply.cut = true;
        }
        return reply;
    });
    ModelDownload download = to(server);
    download.progressIntervalMs = 0;
    std::vector<uint64_t> done;
    download.onProgress = [&](uint64_t now, uint64_t total) {
        done.push_back(now);
        EXPECT_EQ(total, whole.size());
    };
    EXPECT_EQ(downloadModel(download, &cancel), DownloadResult::complete);
    EXPECT_EQ(contentOf(path), whole);
    EXPECT_FALSE(isFile(part));
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end())) << "a resumed download goes on counting";
    const auto received = server.requests();
    ASSERT_EQ(received.size(), 3u);
    EXPECT_EQ(received[0].header("Range"), "");
    EXPECT_EQ(received[1].header("Range"), "bytes=100000-");
    EXPECT_EQ(received[2].header("Range"), "bytes=200000-");
}

TEST_F(ModelDownloader, OnlyTheAskedForBytesReachTheFile) {
    struct Case {
        const char* what;
        std::function<Reply(const Received&)> answer;
        DownloadResult result;
        std::string finished;
        std::string left;
        std::string lastFailure = "";
    };
    const std::string begun = whole.substr(0, 1000);
    const auto page = [](int32_t status) {
        return [status](const Received&) { return makeReply(status, "<html>no</html>"); };
    };
    const Case cases[] = {
        {"an error page", page(404), DownloadResult::failed, "(no file)", begun, "3 404 "},
        {"a server's trouble", page(503), DownloadResult::failed, "(no file)", begun, "3 503 "},
        {"nothing beyond what we have", page(416), DownloadResult::complete, begun, "(no file)"},
        {"the whole file in place of the rest", [&](const Received&) { return makeReply(200, whole); },
         DownloadResult::complete, whole, "(no file)"},
        {"another part than the one asked for",
         [&](const Received&) {
             Reply reply = makeReply(206, whole);
             reply.headers.emplace_back("Content-Range", "bytes 0-299999/300000");
             return reply;
         },
         DownloadResult::failed, "(no file)", begun, "3 206 aborted"},
        {"a resume that breaks before its first byte",
         [&](const Received&) {
             Reply reply = makeReply(206, "");
             reply.declaredLength = whole.size() - 1000;
             reply.cut = true;
             return reply;
         },
         DownloadResult::failed, "(no file)", begun, "3 206 read failed"},
        {"a part that doesn't say which", [&](const Received&) { return makeReply(206, whole.substr(1000)); },
         DownloadResult::complete, whole, "(no file)"},
    };
    for (const Case& item : cases) {
        removeFile(path);
        writeWholeFile(part, begun);
        const LoopbackServer server(item.answer);
        EXPECT_EQ(downloadModel(to(server), &cancel), item.result) << item.what;
        EXPECT_EQ(contentOf(path), item.finished) << item.what;
        EXPECT_EQ(contentOf(part), item.left) << item.what;
        EXPECT_EQ(server.requests().size(), item.result == DownloadResult::failed ? 4u : 1u) << item.what;
        EXPECT_EQ(failures.empty() ? "" : failures.back(), item.lastFailure) << item.what;
    }
}

TEST_F(ModelDownloader, KeepsWhatCameWhenCancelled) {
    const auto gate = std::make_shared<Gate>();
    const LoopbackServer server([&](const Received&) {
        Reply reply = makeReply(200, "");
        reply.chunks = {{whole.substr(0, 100000)}, {whole.substr(100000), 0, gate}};
        return reply;
    });
    ModelDownload download = to(server);
    download.onProgress = [&](uint64_t, uint64_t) { cancel = true; };
    EXPECT_EQ(downloadModel(download, &cancel), DownloadResult::cancelled);
    const std::string kept = contentOf(part);
    EXPECT_GT(kept.size(), 0u);
    EXPECT_EQ(whole.substr(0, kept.size()), kept);
    EXPECT_FALSE(isFile(path));

    // A cancel in the pause behind a failed attempt doesn't wait for the pause's end.
    cancel = false;
    const LoopbackServer failing([](const Received&) { return makeReply(500, ""); });
    ModelDownload patient = to(failing);
    patient.pauseMs = 3600000;
    std::thread canceller([&] {
        EXPECT_TRUE(failing.waitForRequests(1));
        cancel = true;
    });
    EXPECT_EQ(downloadModel(patient, &cancel), DownloadResult::cancelled);
    canceller.join();
}

TEST_F(ModelDownloader, ThrottlesItsProgressAndEndsWithoutAPlaceToWrite) {
    const LoopbackServer server([&](const Received& received) { return rangeReply(whole, received); });
    ModelDownload download = to(server);
    download.progressIntervalMs = 3600000;
    int lines = 0;
    download.onProgress = [&](uint64_t, uint64_t) { ++lines; };
    EXPECT_EQ(downloadModel(download, &cancel), DownloadResult::complete);
    EXPECT_EQ(lines, 1) << "the first chunk of an attempt is told, the next only after the interval";

    download.path = joinPath(folder.path, "missing/model.gguf");
    EXPECT_EQ(downloadModel(download, &cancel), DownloadResult::fileTrouble);
    EXPECT_EQ(server.requests().size(), 1u);
}

}  // namespace
