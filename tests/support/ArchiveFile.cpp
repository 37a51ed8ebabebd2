#include "support/ArchiveFile.h"

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>
#include <locale.h>

namespace {

struct Coding {
    const char* format;
    const char* filter;  ///< null for none
};

/// In the order of `ArchiveKind`.
constexpr Coding codings[] = {{"gnutar", nullptr}, {"gnutar", "gzip"}, {"gnutar", "bzip2"}, {"gnutar", "xz"},
                              {"gnutar", "zstd"},  {"pax", "gzip"},    {"zip", nullptr}};

void addEntry(archive* writer, const ArchiveEntry& wanted) {
    archive_entry* const entry = archive_entry_new();
    const bool isFile = wanted.type == ArchiveEntry::file;
    archive_entry_copy_pathname(entry, wanted.path.c_str());
    archive_entry_set_filetype(entry,
                               wanted.type == ArchiveEntry::hardLink ? ArchiveEntry::file : wanted.type);
    archive_entry_set_perm(entry, wanted.rights);
    archive_entry_set_uid(entry, 12345);
    archive_entry_set_gid(entry, 12345);
    archive_entry_set_size(entry, isFile ? static_cast<la_int64_t>(wanted.content.size()) : 0);
    if (wanted.type == ArchiveEntry::symlink) archive_entry_copy_symlink(entry, wanted.content.c_str());
    if (wanted.type == ArchiveEntry::hardLink) archive_entry_copy_hardlink(entry, wanted.content.c_str());
    EXPECT_GE(archive_write_header(writer, entry), ARCHIVE_WARN) << archive_error_string(writer);
    if (isFile) archive_write_data(writer, wanted.content.data(), wanted.content.size());
    archive_entry_free(entry);
}

}  // namespace

void makeArchive(const std::string& path, ArchiveKind kind, const std::vector<ArchiveEntry>& entries) {
    // The writer stores UTF-8 as such only in a UTF-8 locale. The reader must do without, as the program may.
    const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const locale_t before = uselocale(utf8);
    archive* const writer = archive_write_new();
    const auto& [format, filter] = codings[static_cast<size_t>(kind)];
    EXPECT_EQ(archive_write_set_format_by_name(writer, format), ARCHIVE_OK);
    if (filter != nullptr) {
        EXPECT_EQ(archive_write_add_filter_by_name(writer, filter), ARCHIVE_OK);
    }
    EXPECT_EQ(archive_write_open_filename(writer, path.c_str()), ARCHIVE_OK);
    for (const ArchiveEntry& entry : entries)
        addEntry(writer, entry);
    EXPECT_EQ(archive_write_close(writer), ARCHIVE_OK);
    archive_write_free(writer);
    uselocale(before);
    freelocale(utf8);
}
