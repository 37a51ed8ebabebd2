#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "foundation/Callbacks.h"
#include "foundation/HttpClient.h"

// Installs an engine's server program from the public releases of its project.

/// How the contents of an archive are placed in the engine's folder.
enum class Placement {
    flat,        ///< the program and all beside it go to the top of the folder
    asPacked,    ///< the archive's own folders are kept
    wholeFolder  ///< likewise, and the engine's folder appears only once it is complete
};

/// One build of an engine: where it is published and how it is installed.
struct EngineBuild {
    std::string project;                                    ///< "owner/name" of the project that releases it
    std::function<bool(const std::string& name)> isWanted;  ///< whether a release's asset is this build
    std::string folder;                                     ///< where it is installed
    std::string archive;                                    ///< path of the archive during the installation
    std::string program;                                    ///< file name of the server program
    int32_t searchDepth = 0;  ///< how many folders deep in the archive the program may be
    Placement placement = Placement::flat;
    uint64_t unpackLimitMs = 0;
    bool keepsBadArchive = false;  ///< whether an archive that couldn't be unpacked stays on disk
};

/// Returns the path of the first file called `program` in the folder or up to `levels` levels below it, or an
/// empty path. Skips folders whose name begins with a full stop. Threads: any.
std::string findProgram(const std::string& folder, const std::string& program, int32_t levels);

/// Called during an installation; any of them may be empty.
struct InstallCallbacks {
    std::function<void(const std::string& url)> onFound;  ///< before the download
    std::function<void(uint64_t done, uint64_t total)>
        onProgress;                  ///< bytes of the archive; see `HttpRequest`
    std::function<void()> onUnpack;  ///< before the unpacking
};

/// How an installation ended.
enum class InstallResult {
    installed,
    noListing,         ///< the releases can't be listed
    noBuild,           ///< no listed release has the wanted asset
    archiveNotOpened,  ///< the archive's file can't be created
    downloadFailed,    ///< by the network, a status other than 200, a full disk or a cancel
    unpackFailed,      ///< broken archive, time limit or cancel; only hidden leftovers are in the folder
    noProgram          ///< the archive was unpacked but doesn't hold the program
};

struct Installation {
    InstallResult result;
    HttpResponse response;  ///< of the listing or the download that failed; `error` is empty if only the
                            ///< status was bad
};

/// Installs the build: lists the newest 8 releases on the host `releases`, downloads the first wanted asset
/// in constant memory and unpacks it over what is in the folder. The program appears last, so its presence
/// marks a complete installation. What a cut-off installation left behind is replaced. Threads: any; blocks.
Installation installEngine(const EngineBuild& build, const std::string& releases,
                           const InstallCallbacks& callbacks, CancelFlag* cancel);
