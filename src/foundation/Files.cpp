#include "foundation/Files.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/Log.h"

namespace fs = std::filesystem;

void CloseFile::operator()(FILE* file) const {
    std::fclose(file);
}

OpenFile openFile(const std::string& path, const char* mode) {
    return OpenFile(std::fopen(path.c_str(), (std::string(mode) + "e").c_str()));
}

bool closeFile(OpenFile file) {
    return std::fclose(file.release()) == 0;
}

std::string joinPath(const std::string& left, const std::string& right) {
    if (left.empty()) return right;
    const char last = left.back();
    return last == '/' || last == static_cast<char>(fs::path::preferred_separator)
               ? left + right
               : left + static_cast<char>(fs::path::preferred_separator) + right;
}

bool isFile(const std::string& path) {
    std::error_code error;
    const auto status = fs::status(path, error);
    return fs::exists(status) && !fs::is_directory(status);
}

uint64_t fileSize(const std::string& path) {
    std::error_code error;
    const auto size = fs::file_size(path, error);
    return error ? 0 : size;
}

void createFolder(const std::string& path) {
    std::error_code ignored;
    fs::create_directory(path, ignored);
}

void removeFile(const std::string& path) {
    std::error_code ignored;
    fs::remove(path, ignored);
}

void removeFolder(const std::string& path) {
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

bool readWholeFile(const std::string& path, std::string& out) {
    out.clear();
    const OpenFile file = openFile(path, "rb");
    if (!file) return false;
    char buffer[65536];
    size_t count = 0;
    while ((count = std::fread(buffer, 1, sizeof buffer, file.get())) > 0)
        out.append(buffer, count);
    if (std::ferror(file.get()) == 0) return true;
    out.clear();
    return false;
}

bool writeWholeFile(const std::string& path, std::string_view bytes) {
    OpenFile file = openFile(path, "wb");
    if (!file) return false;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    return closeFile(std::move(file)) && written;
}

void appendOutputLine(const std::string& path, std::string_view text) {
    const OpenFile file = openFile(path, "ab");
    if (file) std::fwrite(text.data(), 1, text.size(), file.get());
}

bool replaceFile(const std::string& from, const std::string& to) {
    std::error_code error;
    for (int attempt = 0; attempt < 20; ++attempt) {
        fs::rename(from, to, error);
        if (!error) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
    }
    logLine("couldn't rename %s (error %lu)", from.c_str(), static_cast<unsigned long>(error.value()));
    return false;
}

bool moveFolderContents(const std::string& from, const std::string& to) {
    std::error_code error;
    bool moved = true;
    // The entries are listed first: a folder must not change while it is walked.
    std::vector<fs::path> entries;
    for (fs::directory_iterator entry(from, error), end; !error && entry != end; entry.increment(error)) {
        entries.push_back(entry->path());
    }
    if (error) return false;
    for (const fs::path& entry : entries) {
        const fs::path target = fs::path(to) / entry.filename();
        const bool bothFolders = fs::is_directory(fs::symlink_status(entry, error)) &&
                                 fs::is_directory(fs::symlink_status(target, error));
        if (bothFolders) {
            moved = moveFolderContents(entry.string(), target.string()) && moved;
            continue;
        }
        fs::rename(entry, target, error);
        moved = moved && !error;
    }
    fs::remove(from, error);
    return moved && !error;
}
