#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "foundation/Callbacks.h"
#include "foundation/HttpClient.h"

// The steps of installing an engine from a project's public releases. Each engine strings them together with
// words and limits of its own. Threads: any; all block.

/// The listing of the newest 8 releases of `project` ("owner/name") on the host `releases`.
HttpResponse fetchReleaseListing(const std::string& releases, const std::string& project, CancelFlag* cancel);

/// How an archive's download ended.
enum class ArchiveDownload {
    complete,
    failed,     ///< by the network, a status other than 200, a full disk or a cancel; nothing is left of the
                ///< file
    notOpened,  ///< the file can't be created
};

/// Fetches `url` into `file`, in constant memory. `response` says how a transfer failed: its `error` is empty
/// when the server answered with an error status. `onProgress` may be empty.
ArchiveDownload downloadArchive(const std::string& url, const std::string& file,
                                const std::function<void(uint64_t done, uint64_t total)>& onProgress,
                                CancelFlag* cancel, HttpResponse& response);

/// The path of the first file called `program` in the folder or up to `levels` levels beneath it, empty when
/// there is none. Folders whose name begins with a full stop are passed over.
std::string findProgram(const std::string& folder, const std::string& program, int32_t levels);

/// Where in an engine's archive its program lies.
struct ProgramPlace {
    std::string program;  ///< file name
    int32_t levels;       ///< how many folders deep it is looked for
    bool isLifted;        ///< whether what is in its folder moves up, so that the program is at the top
};

/// Unpacks the archive into `folder`, over what is there. The program appears last, so that its presence
/// marks an installation that is whole; an archive without it is unpacked all the same. False when the
/// unpacking failed, took longer than `limitMs` or was cancelled: nothing but hidden leftovers is in the
/// folder then, and the next call removes those.
[[nodiscard]] bool installArchive(const std::string& archive, const std::string& folder,
                                  const ProgramPlace& place, uint64_t limitMs, CancelFlag* cancel);
