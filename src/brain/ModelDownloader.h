#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "foundation/Callbacks.h"
#include "foundation/HttpClient.h"

/// Says in the log why an attempt at a language model failed.
void logFailedAttempt(int32_t attempt, const HttpResponse& response);

/// One large file to fetch, and how patiently.
struct ModelDownload {
    std::string url;
    std::string path;  ///< the finished file; while it comes it is called this with ".part" behind it

    int32_t attempts = 4;
    uint64_t pauseMs = 2000;            ///< behind each failed attempt
    uint64_t progressIntervalMs = 400;  ///< least time between two calls of `onProgress`

    /// Bytes of the whole file so far and in all (0: the server didn't declare it). May be empty.
    std::function<void(uint64_t done, uint64_t total)> onProgress;
    /// Told of each attempt that failed, the first being number 0, before the pause.
    std::function<void(int32_t attempt, const HttpResponse& response)> onFailure = logFailedAttempt;
};

/// How a download ended.
enum class DownloadResult {
    complete,     ///< the file has its final name
    cancelled,    ///< the ".part" file stays
    failed,       ///< every attempt failed; the ".part" file stays
    fileTrouble,  ///< the ".part" file can't be opened, or not be renamed
};

std::string partPath(const std::string& path);

/// Fetches the file, going on from where an earlier attempt or run stopped. Nothing that has come is thrown
/// away, and only bytes of the asked-for part of the file ever reach the ".part" file: not an error page, not
/// another range. A server that answers a resume with the whole file starts it afresh. A transfer that ends
/// before its declared length is a failed attempt. Memory stays flat whatever the size. Threads: any; blocks
/// for the whole download.
DownloadResult downloadModel(const ModelDownload& download, CancelFlag* cancel);
