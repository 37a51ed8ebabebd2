#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "foundation/Callbacks.h"
#include "foundation/HttpClient.h"

/// One large file to download, and how often it is tried.
struct ModelDownload {
    std::string url;
    std::string path;  ///< of the finished file; it is downloaded to this path with ".part" appended

    int32_t attempts = 4;
    uint64_t pauseMs = 2000;            ///< after each failed attempt
    uint64_t progressIntervalMs = 400;  ///< least time between two calls of `onProgress`

    /// Gets the bytes of the whole file so far and in total (0: the server didn't declare it). May be empty.
    std::function<void(uint64_t done, uint64_t total)> onProgress;
    /// Called after each failed attempt with its index, starting at 0, before the pause. May be empty.
    std::function<void(int32_t attempt, const HttpResponse& response)> onFailure;
};

/// How a download ended.
enum class DownloadResult {
    complete,     ///< the file has its final name
    cancelled,    ///< the ".part" file stays
    failed,       ///< every attempt failed; the ".part" file stays
    fileTrouble,  ///< the ".part" file can't be opened or renamed
};

/// Returns the path of a download that isn't finished.
std::string partPath(const std::string& path);

/// Downloads the file and resumes what an earlier attempt or run began. No received byte is thrown away, and
/// only the requested part of the file reaches the ".part" file: no error page, no other range. A server that
/// answers a resume with the whole file starts it anew. A transfer that ends before its declared length is a
/// failed attempt. Memory use doesn't depend on the size. Threads: any; blocks for the whole download.
DownloadResult downloadModel(const ModelDownload& download, CancelFlag* cancel);
