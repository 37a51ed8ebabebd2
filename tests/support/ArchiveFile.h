#pragma once

#include <string>
#include <vector>

/// One entry of an archive that a test makes.
struct ArchiveEntry {
    // Types as stat has them; others may be given too.
    static constexpr unsigned file = 0100000;
    static constexpr unsigned folder = 0040000;
    static constexpr unsigned symlink = 0120000;
    static constexpr unsigned hardLink = 0;

    unsigned type = file;
    std::string path;
    std::string content;  ///< of a file; for a link its target
    unsigned rights = 0644;
};

enum class ArchiveKind { plainTar, tarGz, tarBz2, tarXz, tarZstd, paxGz, zip };
inline constexpr ArchiveKind allArchiveKinds[] = {
    ArchiveKind::plainTar, ArchiveKind::tarGz, ArchiveKind::tarBz2, ArchiveKind::tarXz,
    ArchiveKind::tarZstd,  ArchiveKind::paxGz, ArchiveKind::zip};

/// Writes an archive with these entries, in this order, as they are. Fails the current test when it can't.
void makeArchive(const std::string& path, ArchiveKind kind, const std::vector<ArchiveEntry>& entries);
