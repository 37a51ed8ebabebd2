#include "engines/ModelDownloader.h"

#include <cstdio>
#include <utility>

#include "foundation/Files.h"
#include "foundation/Ticks.h"

namespace {

/// One attempt: one request whose body is appended to the ".part" file.
class Attempt {
public:
    Attempt(const ModelDownload& theDownload, CancelFlag* cancel)
        : download(theDownload), path(partPath(theDownload.path)), have(fileSize(path)) {
        open(have != 0 ? "ab" : "wb");
        request.receiveTimeoutMs = 120000;
        request.cancel = cancel;
        request.rangeStart = have;
        request.onHead = [this](const HttpResponseHead& head) { return accept(head); };
        request.onData = [this](const char* bytes, size_t count) {
            if (!wanted) return true;
            received += count;
            return std::fwrite(bytes, 1, count, file.get()) == count;
        };
        request.onProgress = [this](uint64_t done, uint64_t total) { report(done, total); };
    }

    [[nodiscard]] bool opened() const { return file != nullptr; }

    HttpResponse run() {
        HttpResponse response = HttpClient::send(download.url, request);
        const bool written = opened() && closeFile(std::move(file));
        if (response.error.empty() && !written) response.error = "aborted";
        if (response.error.empty() && wanted && received < declared) response.error = "read failed";
        return response;
    }

private:
    void open(const char* mode) {
        file.reset();
        file = openFile(path, mode);
        // Unbuffered: the chunks are large, and a buffer would report a full disk late.
        if (opened()) std::setvbuf(file.get(), nullptr, _IONBF, 0);
    }

    /// Decides by the headers what to do with the body.
    bool accept(const HttpResponseHead& head) {
        wanted = head.status == 200 || head.status == 206;
        declared = head.bodyBytes.value_or(0);
        if (head.status == 206) return head.rangeStart.value_or(have) == have;
        if (head.status == 200 && have != 0) {
            open("wb");
            return opened();
        }
        return true;
    }

    void report(uint64_t done, uint64_t total) {
        if (!wanted) return;
        const uint64_t now = tickCount();
        if (!download.onProgress || (lastReport != 0 && now - lastReport < download.progressIntervalMs))
            return;
        lastReport = now;
        download.onProgress(done, total);
    }

    const ModelDownload& download;
    const std::string path;
    const uint64_t have;
    OpenFile file;
    HttpRequest request;
    bool wanted = false;
    uint64_t received = 0;  ///< bytes of this response
    uint64_t declared = 0;  ///< bytes that it should have, or 0 if it doesn't say
    uint64_t lastReport = 0;
};

}  // namespace

std::string partPath(const std::string& path) {
    return path + ".part";
}

DownloadResult downloadModel(const ModelDownload& download, CancelFlag* cancel) {
    for (int32_t number = 0; number < download.attempts; ++number) {
        Attempt attempt(download, cancel);
        if (!attempt.opened()) return DownloadResult::fileTrouble;
        const HttpResponse response = attempt.run();
        if (*cancel) return DownloadResult::cancelled;
        const bool whole = (response.status == 200 || response.status == 206) && response.error.empty();
        // 416: the file ends where our part does.
        if (whole || response.status == 416) {
            return replaceFile(partPath(download.path), download.path) ? DownloadResult::complete
                                                                       : DownloadResult::fileTrouble;
        }
        if (download.onFailure) download.onFailure(number, response);
        if (!pauseUnlessCancelled(download.pauseMs, cancel)) return DownloadResult::cancelled;
    }
    return DownloadResult::failed;
}
