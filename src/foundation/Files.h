#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

// Whole files and paths. Paths are UTF-8.
// Threads: everything here may be called from any thread.

/// Returns both joined by exactly one separator; `right` alone when `left` is empty.
std::string joinPath(const std::string& left, const std::string& right);

/// Returns whether the path exists and isn't a folder.
bool isFile(const std::string& path);

/// Returns the file's size in bytes, 0 when it can't be read.
uint64_t fileSize(const std::string& path);

/// Creates one folder whose parent exists, ignoring the result.
void createFolder(const std::string& path);

/// Removes a file, ignoring the result.
void removeFile(const std::string& path);

/// Removes a folder with everything in it, ignoring the result.
void removeFolder(const std::string& path);

struct CloseFile {
    void operator()(FILE* file) const;
};
using OpenFile = std::unique_ptr<FILE, CloseFile>;

/// Opens a file like `fopen`; children don't inherit it. Null when it can't be opened.
OpenFile openFile(const std::string& path, const char* mode);

/// Closes an open file. Returns false when not everything that was written reached the disk.
[[nodiscard]] bool closeFile(OpenFile file);

/// Reads a whole file as bytes. Returns false when it can't be opened or read; `out` is then empty.
[[nodiscard]] bool readWholeFile(const std::string& path, std::string& out);

/// Creates or truncates the file and writes all bytes, in place: no temporary file, no rename. Returns false
/// when it can't be opened or written.
bool writeWholeFile(const std::string& path, std::string_view bytes);

/// Opens the file for appending, writes the text unchanged and closes the file at once. A failure is not
/// reported: the text is lost.
void appendOutputLine(const std::string& path, std::string_view text);

/// Renames `from` over `to`. Tries 20 times, 250 ms apart (a virus scanner or an indexer may hold the file
/// for a moment), then logs the reason and returns false; both files are then as they were.
[[nodiscard]] bool replaceFile(const std::string& from, const std::string& to);

/// Moves everything in the folder `from` into the folder `to`, over files of the same name and into folders
/// of the same name, and removes `from`. Returns false when something couldn't be moved.
bool moveFolderContents(const std::string& from, const std::string& to);
