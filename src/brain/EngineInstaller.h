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

/// Fetches `url` into `file`, in constant memory. `error` gets the words of a failed transfer, which are
/// empty when the server answered with an error status.
ArchiveDownload downloadArchive(const std::string& url, const std::string& file,
                                const std::function<void(uint64_t done, uint64_t total)>& onProgress,
                                CancelFlag* cancel, std::string& error);

/// Unpacks the archive into `folder`, over what is there; when `program` lies in a folder of the archive,
/// what is in that folder goes one level up. `program` appears last, so that its presence marks an
/// installation that is whole; an archive without it is unpacked all the same. False when the unpacking
/// failed, took longer than `limitMs` or was cancelled: nothing but hidden leftovers is in the folder then,
/// and the next call removes those.
[[nodiscard]] bool installArchive(const std::string& archive, const std::string& folder,
                                  const std::string& program, uint64_t limitMs, CancelFlag* cancel);
