#include "brain/EngineInstaller.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "foundation/Files.h"
#include "platform/archive.h"

namespace fs = std::filesystem;

namespace {

/// Whether every link below the folder leads to somewhere below it, too.
bool holdsItsLinks(const fs::path& folder) {
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (!entry->is_symlink(error)) continue;
        const fs::path target =
            (entry->path().parent_path() / fs::read_symlink(entry->path(), error)).lexically_normal();
        const auto [ours, theirs] = std::mismatch(folder.begin(), folder.end(), target.begin(), target.end());
        if (ours != folder.end()) return false;
    }
    return !error;
}

}  // namespace

HttpResponse fetchReleaseListing(const std::string& releases, const std::string& project,
                                 CancelFlag* cancel) {
    HttpRequest request;
    request.cancel = cancel;
    request.headers = {{"Accept", "application/vnd.github+json"}};
    return HttpClient::send(releases + "/repos/" + project + "/releases?per_page=8", request);
}

ArchiveDownload downloadArchive(const std::string& url, const std::string& file,
                                const std::function<void(uint64_t done, uint64_t total)>& onProgress,
                                CancelFlag* cancel, HttpResponse& response) {
    OpenFile out = openFile(file, "wb");
    if (!out) return ArchiveDownload::notOpened;
    uint64_t received = 0;
    uint64_t declared = 0;
    HttpRequest request;
    request.receiveTimeoutMs = 120000;
    request.cancel = cancel;
    request.onHead = [&](const HttpResponseHead& head) {
        declared = head.bodyBytes.value_or(0);
        return true;
    };
    request.onData = [&](const char* bytes, size_t count) {
        received += count;
        return std::fwrite(bytes, 1, count, out.get()) == count;
    };
    request.onProgress = onProgress;
    response = HttpClient::send(url, request);
    const bool written = closeFile(std::move(out));
    const bool isGood = response.status == 200 && response.error.empty();
    if (isGood && !written) response.error = "aborted";
    // A connection that breaks in the middle isn't told as an error, but the archive would be useless.
    else if (isGood && received < declared)
        response.error = "read failed";
    if (response.status == 200 && response.error.empty()) return ArchiveDownload::complete;
    removeFile(file);
    return ArchiveDownload::failed;
}

std::string findProgram(const std::string& folder, const std::string& program, int32_t levels) {
    std::string path = joinPath(folder, program);
    if (isFile(path)) return path;
    if (levels <= 0) return {};
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().filename().string().front() == '.') continue;
        std::error_code unreadable;
        if (!fs::is_directory(entry->symlink_status(unreadable))) continue;
        path = findProgram(entry->path().string(), program, levels - 1);
        if (!path.empty()) return path;
    }
    return {};
}

bool installArchive(const std::string& archive, const std::string& folder, const ProgramPlace& place,
                    uint64_t limitMs, CancelFlag* cancel) {
    // Aside first, and the program last: wherever this is cut off, a program that is there has all it needs.
    const std::string staging = joinPath(folder, ".unpacked");
    const std::string waiting = joinPath(folder, ".program");
    removeFolder(staging);
    createFolder(staging);
    if (!unpackArchive(archive, staging, limitMs, cancel)) return false;
    const fs::path program = findProgram(staging, place.program, place.levels);
    const fs::path source = place.isLifted && !program.empty() ? program.parent_path() : fs::path(staging);
    if (!holdsItsLinks(source)) return false;  // one that was allowed in the archive may not be a level up
    std::error_code error;
    if (!program.empty()) fs::rename(program, waiting, error);
    const bool moved = !error && moveFolderContents(source.string(), folder);
    removeFolder(staging);
    if (moved && !program.empty())
        fs::rename(waiting, fs::path(folder) / program.lexically_relative(source), error);
    return moved && !error;
}
