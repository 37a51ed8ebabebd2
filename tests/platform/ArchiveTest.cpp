#include "platform/archive.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "support/ArchiveFile.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;

using Entry = ArchiveEntry;

constexpr uint64_t ampleMs = 60000;

void writeFile(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

unsigned rightsOf(const fs::path& path) {
    return static_cast<unsigned>(fs::symlink_status(path).permissions());
}

/// Bytes that don't compress, the same on each run.
std::string noise(size_t size) {
    std::minstd_rand random;
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random() >> 8);
    return bytes;
}

/// A folder to unpack into, with a neighbour that no archive may touch.
struct Place {
    Place() {
        fs::create_directory(inside);
        fs::create_directory(outside);
        writeFile(outside / "kept", "kept");
    }

    [[nodiscard]] bool unpack(uint64_t limitMs = ampleMs, const std::atomic<bool>* cancel = nullptr) const {
        return unpackArchive(file, inside.string(), limitMs, cancel);
    }
    [[nodiscard]] bool unpack(const std::vector<Entry>& entries) const {
        makeArchive(file, ArchiveKind::tarGz, entries);
        return unpack();
    }

    /// Everything but the folder to unpack into is as it was.
    void expectRestUntouched() const {
        std::set<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(folder.path)) {
            const std::string path = entry.path().lexically_relative(folder.path).string();
            if (!path.starts_with("inside/")) found.insert(path);
        }
        EXPECT_EQ(found, (std::set<std::string>{"archive", "inside", "outside", "outside/kept"}));
        EXPECT_EQ(fileText(outside / "kept"), "kept");
        EXPECT_EQ(fs::hard_link_count(outside / "kept"), 1U);
    }

    TemporaryFolder folder;
    const fs::path inside = fs::path(folder.path) / "inside";
    const fs::path outside = fs::path(folder.path) / "outside";
    const std::string file = folder.path + "/archive";
};

TEST(Archive, UnpacksEveryKindOverWhatIsThere) {
    umask(022);
    const std::string big = noise(300000);
    const std::vector<Entry> entries = {{Entry::folder, "./", "", 0755},
                                        {Entry::folder, "top/", "", 0755},
                                        {Entry::file, "top/program", big, 06777},
                                        {Entry::file, "./top/./deep//data", "text", 0400},
                                        {Entry::folder, "top/closed", "", 0555},
                                        {Entry::file, "top/closed/file", "in a closed folder"},
                                        {Entry::symlink, "top/libx.so", "libx.so.1"},
                                        {Entry::file, "top/libx.so.1", "library", 0755},
                                        {Entry::symlink, "top/deep/up", "../libx.so.1"},
                                        {Entry::file, "top/na\xC3\xAFve", "beyond ASCII"},
                                        {Entry::file, "top/empty", ""}};
    for (const ArchiveKind kind : allArchiveKinds) {
        SCOPED_TRACE(static_cast<int>(kind));
        const Place place;
        makeArchive(place.file, kind, entries);
        // What a cut-off unpack may have left.
        const fs::path top = place.inside / "top";
        fs::create_directory(top);
        writeFile(top / "program", "half");
        fs::permissions(top / "program", fs::perms::owner_read);
        fs::create_symlink("program", top / "libx.so.1");
        writeFile(place.inside / "other", "other");

        for (int round = 0; round < 2; ++round) {
            ASSERT_TRUE(place.unpack());
            const std::pair<const char*, std::string> files[] = {
                {"program", big},       {"deep/data", "text"},
                {"deep/up", "library"}, {"closed/file", "in a closed folder"},
                {"../other", "other"},  {"na\xC3\xAFve", "beyond ASCII"}};
            for (const auto& [path, content] : files)
                EXPECT_EQ(fileText(top / path), content) << path;
            EXPECT_EQ(rightsOf(top / "program"), 0755U);
            EXPECT_EQ(rightsOf(top / "deep/data"), 0600U);
            EXPECT_EQ(fs::read_symlink(top / "libx.so"), "libx.so.1");
            EXPECT_FALSE(fs::is_symlink(top / "libx.so.1"));
            EXPECT_TRUE(fs::exists(top / "empty"));
        }
        struct stat status = {};
        ASSERT_EQ(stat((top / "program").c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, geteuid());
        place.expectRestUntouched();
    }
}

TEST(Archive, KeepsHardLinksAlsoInALinkedFolder) {
    const Place place;
    // The folder's own path may hold links: the user has moved it to another disk.
    const fs::path link = place.inside / "link";
    fs::create_directory(place.inside / "real");
    fs::create_directory_symlink("real", link);
    makeArchive(place.file, ArchiveKind::tarGz,
                {{Entry::file, "top/one", "content"}, {Entry::hardLink, "top/deep/two", "top/one"}});
    ASSERT_TRUE(unpackArchive(place.file, link.string(), ampleMs, nullptr));
    EXPECT_EQ(fileText(place.inside / "real/top/deep/two"), "content");
    EXPECT_TRUE(fs::equivalent(link / "top/one", link / "top/deep/two"));
}

TEST(Archive, RefusesWhatLeavesTheFolder) {
    // Entries are parted by ";". The first letter is the type; behind an arrow stands a link's target; "<" is
    // the neighbour's full path.
    const char* const cases[] = {
        // Paths that lead up, or only read as such, or are absolute; the folder itself.
        "f ../outside/new", "f ../outside/kept", "d ../new", "f a/../../outside/new", "d a;f a/../b",
        "f </new", "f //</new", "f .", "s ./ > a",
        // Links that lead too far up.
        "s link > </", "s link > ..", "s link > ./../outside", "s a/b/link > ../../../outside",
        "s ./a//./link > ../../outside", "s link > a/../../outside",
        "s a/b/top > ../..;s a/b/link > top/../outside",
        // Writes through a link.
        "s link > ../outside;f link/new", "s a/b/link > ../..;f a/b/link/new",
        "d a;s b > .;s b/up > ../outside;f up/new",
        // Hard links to what is outside, to nothing, and one that lifts a link; a pipe and a device.
        "h link > ../outside/kept", "h link > </kept", "h link > missing",
        "d a;s a/up > ../outside;h up > a/up", "p pipe", "c device"};
    const std::map<char, unsigned> types = {{'f', Entry::file},    {'d', Entry::folder},
                                            {'s', Entry::symlink}, {'h', Entry::hardLink},
                                            {'p', S_IFIFO},        {'c', S_IFCHR}};
    for (const char* lines : cases) {
        SCOPED_TRACE(lines);
        const Place place;
        std::vector<Entry> entries;
        std::istringstream stream(lines);
        for (std::string line; std::getline(stream, line, ';');) {
            if (const size_t at = line.find('<'); at != std::string::npos)
                line.replace(at, 1, place.outside.string());
            const size_t arrow = std::min(line.find(" > "), line.size());
            const std::string target = arrow < line.size() ? line.substr(arrow + 3) : "x";
            entries.push_back({types.at(line[0]), line.substr(2, arrow - 2), target});
        }
        EXPECT_FALSE(place.unpack(entries));
        place.expectRestUntouched();
        // What came before the refused entry, the last, may be there.
        const std::string last = entries.back().path;
        const bool isThere = fs::exists(fs::symlink_status(place.inside / last));
        EXPECT_TRUE(last.find_first_of("./") == 0 || !isThere);
    }
}

TEST(Archive, WritesThroughNoLinkThatWasThereBefore) {
    const Place place;
    fs::create_directory_symlink("../outside", place.inside / "link");
    fs::create_symlink("../outside/kept", place.inside / "file");
    EXPECT_FALSE(place.unpack({{Entry::file, "link/new", "x"}}));
    EXPECT_TRUE(place.unpack({{Entry::file, "file", "x"}}));
    EXPECT_EQ(fileText(place.inside / "file"), "x");
    place.expectRestUntouched();
}

TEST(Archive, RefusesWhatCannotBeReadToItsEnd) {
    const std::vector<Entry> entries = {{Entry::file, "first", noise(100000)},
                                        {Entry::file, "second", noise(100000)}};
    for (const ArchiveKind kind : allArchiveKinds) {
        if (kind == ArchiveKind::plainTar || kind == ArchiveKind::paxGz) continue;
        const Place place;
        makeArchive(place.file, kind, entries);
        const std::string whole = fileText(place.file);
        for (const size_t percent : {0, 1, 25, 50, 75, 90}) {
            writeFile(place.file, whole.substr(0, whole.size() * percent / 100));
            EXPECT_FALSE(place.unpack()) << static_cast<int>(kind) << " " << percent;
        }
        // The library doesn't verify gzip's check sum, and zstd has none here.
        std::string damaged = whole;
        damaged[whole.size() / 4] = static_cast<char>(damaged[whole.size() / 4] ^ 0x10);
        writeFile(place.file, damaged);
        const bool isChecked = kind != ArchiveKind::tarGz && kind != ArchiveKind::tarZstd;
        EXPECT_FALSE(place.unpack() && isChecked);
        place.expectRestUntouched();
    }
    const Place place;
    EXPECT_FALSE(place.unpack()) << "there is no archive";
    writeFile(place.file, "<html>Not found</html>");
    EXPECT_FALSE(place.unpack());
    makeArchive(place.file, ArchiveKind::tarGz, entries);
    EXPECT_FALSE(unpackArchive(place.file, (place.inside / "missing").string(), ampleMs, nullptr));
    EXPECT_FALSE(unpackArchive(place.file, place.file, ampleMs, nullptr));
}

TEST(Archive, GivesUpWhenCancelledOrOutOfTime) {
    const Place place;
    makeArchive(place.file, ArchiveKind::tarGz, {{Entry::file, "file", "x"}});
    std::atomic<bool> cancel = true;
    EXPECT_FALSE(place.unpack(ampleMs, &cancel));
    EXPECT_FALSE(place.unpack(0));
    EXPECT_TRUE(fs::is_empty(place.inside));
    cancel = false;
    EXPECT_TRUE(place.unpack(UINT64_MAX, &cancel));
    EXPECT_EQ(fileText(place.inside / "file"), "x");
}

}  // namespace
