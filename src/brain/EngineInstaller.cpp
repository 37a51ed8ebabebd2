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

/// The folder itself, or the first folder in it, that holds `program`; the folder itself when none does.
/// Folders whose name begins with a full stop are passed over.
std::string folderOfProgram(const std::string& folder, const std::string& program) {
    if (isFile(joinPath(folder, program))) return folder;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::string path = entry->path().string();
        if (entry->path().filename().string().front() == '.') continue;
        if (fs::is_directory(entry->symlink_status(error)) && isFile(joinPath(path, program))) return path;
    }
    return folder;
}

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
                                CancelFlag* cancel, std::string& error) {
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
    const HttpResponse response = HttpClient::send(url, request);
    const bool written = closeFile(std::move(out));
    error = response.error;
    if (response.status == 200 && error.empty() && !written) error = "aborted";
    // A connection that breaks in the middle isn't told as an error, but the archive would be useless.
    if (response.status == 200 && error.empty() && received < declared) error = "read failed";
    if (response.status == 200 && error.empty()) return ArchiveDownload::complete;
    removeFile(file);
    return ArchiveDownload::failed;
}

bool installArchive(const std::string& archive, const std::string& folder, const std::string& program,
                    uint64_t limitMs, CancelFlag* cancel) {
    // Aside first, and the program last: wherever this is cut off, a program that is there has all it needs.
    const std::string staging = joinPath(folder, ".unpacked");
    const std::string waiting = joinPath(folder, ".program");
    removeFolder(staging);
    createFolder(staging);
    if (!unpackArchive(archive, staging, limitMs, cancel)) return false;
    const std::string source = folderOfProgram(staging, program);
    if (!holdsItsLinks(source)) return false;  // one that was allowed in the archive may not be a level up
    std::error_code missing;
    fs::rename(joinPath(source, program), waiting, missing);
    const bool moved = moveFolderContents(source, folder);
    removeFolder(staging);
    if (!moved || missing) return moved;
    std::error_code error;
    fs::rename(waiting, joinPath(folder, program), error);
    return !error;
}
