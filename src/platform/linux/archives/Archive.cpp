#include "platform/archive.h"

#include <archive.h>
#include <archive_entry.h>
#include <limits.h>
#include <locale.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <memory>

#include "platform/linux/archives/ArchivePaths.h"

namespace {

constexpr size_t readBlockBytes = 65536;

struct CloseReader {
    void operator()(archive* reader) const { archive_read_free(reader); }
};
struct CloseWriter {
    void operator()(archive* writer) const { archive_write_free(writer); }
};
using Reader = std::unique_ptr<archive, CloseReader>;
using Writer = std::unique_ptr<archive, CloseWriter>;

/// When to give up.
struct Limit {
    uint64_t milliseconds;
    const std::atomic<bool>* cancel;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();

    [[nodiscard]] bool reached() const {
        namespace chrono = std::chrono;
        const auto elapsed = chrono::duration_cast<chrono::milliseconds>(chrono::steady_clock::now() - start);
        return (cancel != nullptr && cancel->load()) ||
               static_cast<uint64_t>(elapsed.count()) >= milliseconds;
    }
};

/// Some kinds of archive are left out on purpose: the library would start other programs to read them.
Reader openArchive(const std::string& path) {
    Reader reader(archive_read_new());
    if (reader == nullptr) {
        return nullptr;
    }
    archive_read_support_filter_gzip(reader.get());
    archive_read_support_filter_bzip2(reader.get());
    archive_read_support_filter_xz(reader.get());
    archive_read_support_filter_zstd(reader.get());
    archive_read_support_format_tar(reader.get());
    archive_read_support_format_zip(reader.get());
    return archive_read_open_filename(reader.get(), path.c_str(), readBlockBytes) == ARCHIVE_OK
               ? std::move(reader)
               : nullptr;
}

/// Owners, set-user bits, times and attributes stay behind; modes obey the user's umask. The library's own
/// guard against writing through links comes on top of ours, for links that were in the folder before.
Writer openFolder() {
    Writer writer(archive_write_disk_new());
    if (writer != nullptr) {
        archive_write_disk_set_options(writer.get(),
                                       ARCHIVE_EXTRACT_SECURE_SYMLINKS | ARCHIVE_EXTRACT_SECURE_NODOTDOT);
    }
    return writer;
}

/// Puts this thread into a locale that knows all names. Where the program runs in the C locale the library
/// would lose those beyond ASCII.
class Utf8Names {
public:
    Utf8Names() : names(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        if (names != nullptr) {
            before = uselocale(names);
        }
    }
    ~Utf8Names() {
        if (names != nullptr) {
            uselocale(before);
            freelocale(names);
        }
    }
    Utf8Names(const Utf8Names&) = delete;
    Utf8Names& operator=(const Utf8Names&) = delete;

private:
    locale_t names;
    locale_t before = nullptr;
};

std::string pathBelow(const std::string& folder, const std::vector<std::string>& components) {
    std::string path = folder;
    for (const std::string& component : components) {
        path += "/" + component;
    }
    return path;
}

bool isRegularFile(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// Points a hard link at its file below the folder. False when it leads to anything but a file there: a hard
/// link to a symbolic link would carry that to a depth for which its target was not checked.
bool placeHardLink(archive_entry* entry, const std::string& folder) {
    const auto target = entryComponents(archive_entry_hardlink(entry));
    if (!target) {
        return false;
    }
    const std::string path = pathBelow(folder, *target);
    archive_entry_copy_hardlink(entry, path.c_str());
    return isRegularFile(path);
}

enum class Placed { Ready, Nothing, Refused };

/// Rewrites an entry so that it goes below the folder. `Nothing` is the entry for the folder itself.
Placed placeEntry(archive_entry* entry, const std::string& folder) {
    const char* const name = archive_entry_pathname(entry);
    const auto components = name != nullptr ? entryComponents(name) : std::nullopt;
    if (!components) {
        return Placed::Refused;
    }
    const auto type = archive_entry_filetype(entry);
    if (components->empty()) {
        return type == AE_IFDIR ? Placed::Nothing : Placed::Refused;
    }
    const std::string path = pathBelow(folder, *components);
    // For longer paths the library changes the working folder of the whole process.
    if (path.size() >= PATH_MAX) {
        return Placed::Refused;
    }
    // The writer goes by these two, and not by the type.
    const char* const symbolicLink = archive_entry_symlink(entry);
    if (archive_entry_hardlink(entry) != nullptr) {
        if (!placeHardLink(entry, folder)) {
            return Placed::Refused;
        }
    } else if (symbolicLink != nullptr) {
        if (!isInsideTarget(symbolicLink, components->size() - 1)) {
            return Placed::Refused;
        }
    } else if (type != AE_IFREG && type != AE_IFDIR) {
        return Placed::Refused;
    }
    archive_entry_copy_pathname(entry, path.c_str());
    // The user must be able to unpack over it again, and to remove it.
    const auto ownerRights = type == AE_IFDIR ? 0700U : 0600U;
    archive_entry_set_perm(entry, (archive_entry_perm(entry) & 0777U) | ownerRights);
    return Placed::Ready;
}

/// Copies the content of the current entry. A warning is a failure here: that is how the library tells of a
/// wrong check sum.
bool copyContent(archive* reader, archive* writer, const Limit& limit) {
    for (;;) {
        const void* block = nullptr;
        size_t size = 0;
        la_int64_t offset = 0;
        const int result = archive_read_data_block(reader, &block, &size, &offset);
        if (result == ARCHIVE_EOF) {
            return true;
        }
        if (result != ARCHIVE_OK || limit.reached() ||
            archive_write_data_block(writer, block, size, offset) != ARCHIVE_OK) {
            return false;
        }
    }
}

bool unpackEntries(archive* reader, archive* writer, const std::string& folder, const Limit& limit) {
    while (!limit.reached()) {
        archive_entry* entry = nullptr;
        const int result = archive_read_next_header(reader, &entry);
        if (result == ARCHIVE_EOF) {
            return archive_write_close(writer) >= ARCHIVE_WARN;
        }
        // A warning is about an attribute that we don't want.
        if (result < ARCHIVE_WARN) {
            return false;
        }
        const Placed placed = placeEntry(entry, folder);
        if (placed == Placed::Nothing) {
            continue;
        }
        if (placed == Placed::Refused || archive_write_header(writer, entry) < ARCHIVE_WARN ||
            !copyContent(reader, writer, limit) || archive_write_finish_entry(writer) < ARCHIVE_WARN) {
            return false;
        }
    }
    return false;
}

}  // namespace

bool unpackArchive(const std::string& archive, const std::string& folder, uint64_t limitMs,
                   const std::atomic<bool>* cancel) {
    const Limit limit = {limitMs, cancel};
    // The library takes a link in the folder's own path for an attack.
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(folder.c_str(), nullptr), &std::free);
    if (real == nullptr) {
        return false;
    }
    const Utf8Names utf8Names;
    const Reader reader = openArchive(archive);
    const Writer writer = openFolder();
    return reader != nullptr && writer != nullptr &&
           unpackEntries(reader.get(), writer.get(), real.get(), limit);
}
