#include "engines/EngineInstaller.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "engines/ReleaseListing.h"
#include "foundation/Files.h"
#include "platform/archive.h"

namespace fs = std::filesystem;

namespace {

/// Downloads the archive. Unless it returns `installed`, no file is left.
InstallResult downloadArchive(const std::string& url, const std::string& file,
                              const InstallCallbacks& callbacks, CancelFlag* cancel, HttpResponse& response) {
    OpenFile out = openFile(file, "wb");
    if (!out) return InstallResult::archiveNotOpened;
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
    request.onProgress = callbacks.onProgress;
    response = HttpClient::send(url, request);
    const bool written = closeFile(std::move(out));
    const bool isGood = response.status == 200 && response.error.empty();
    if (isGood && !written) response.error = "aborted";
    // A connection that breaks midway isn't reported as an error, but half an archive is useless.
    else if (isGood && received < declared)
        response.error = "read failed";
    if (response.status == 200 && response.error.empty()) return InstallResult::installed;
    removeFile(file);
    return InstallResult::downloadFailed;
}

/// Returns whether every link below the folder points to somewhere below it, too.
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

/// Unpacks into a hidden folder and moves the contents into the engine's folder, the program last: whenever
/// this is cut off, a program that is there has all it needs.
InstallResult unpackIntoFolder(const EngineBuild& build, CancelFlag* cancel) {
    const std::string staging = joinPath(build.folder, ".unpacked");
    const std::string waiting = joinPath(build.folder, ".program");
    removeFolder(staging);
    createFolder(staging);
    if (!unpackArchive(build.archive, staging, build.unpackLimitMs, cancel))
        return InstallResult::unpackFailed;
    const fs::path program = findProgram(staging, build.program, build.searchDepth);
    const bool isLifted = build.placement == Placement::flat && !program.empty();
    const fs::path source = isLifted ? program.parent_path() : fs::path(staging);
    if (!holdsItsLinks(source)) return InstallResult::unpackFailed;  // one level up it would leave the folder
    std::error_code error;
    if (!program.empty()) fs::rename(program, waiting, error);
    const bool isMoved = !error && moveFolderContents(source.string(), build.folder);
    removeFolder(staging);
    if (!isMoved) return InstallResult::unpackFailed;
    if (program.empty()) return InstallResult::noProgram;
    fs::rename(waiting, fs::path(build.folder) / program.lexically_relative(source), error);
    return error ? InstallResult::unpackFailed : InstallResult::installed;
}

/// Unpacks beside the engine's folder and renames that in one step.
InstallResult unpackWholeFolder(const EngineBuild& build, CancelFlag* cancel) {
    const std::string staging = build.folder + ".tmp";
    removeFolder(staging);
    createFolder(staging);
    InstallResult result = InstallResult::unpackFailed;
    if (unpackArchive(build.archive, staging, build.unpackLimitMs, cancel)) {
        std::error_code error;
        if (findProgram(staging, build.program, build.searchDepth).empty())
            result = InstallResult::noProgram;
        else if (fs::rename(staging, build.folder, error); !error)
            result = InstallResult::installed;
    }
    removeFolder(staging);
    return result;
}

}  // namespace

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

Installation installEngine(const EngineBuild& build, const std::string& releases,
                           const InstallCallbacks& callbacks, CancelFlag* cancel) {
    HttpResponse response = fetchReleaseListing(releases, build.project, cancel);
    if (response.status != 200 || !response.error.empty()) return {InstallResult::noListing, response};
    const std::string url = chooseAsset(response.body, build.isWanted);
    if (url.empty()) return {InstallResult::noBuild, {}};

    if (callbacks.onFound) callbacks.onFound(url);
    InstallResult result = downloadArchive(url, build.archive, callbacks, cancel, response);
    if (result != InstallResult::installed) return {result, response};

    if (callbacks.onUnpack) callbacks.onUnpack();
    result = build.placement == Placement::wholeFolder ? unpackWholeFolder(build, cancel)
                                                       : unpackIntoFolder(build, cancel);
    if (result != InstallResult::unpackFailed || !build.keepsBadArchive) removeFile(build.archive);
    return {result, {}};
}
