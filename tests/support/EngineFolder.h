#pragma once

#include <cstdint>
#include <string>

// Stand-in engines on disk. Everything that can't be created fails the current test.

/// Installs the stand-in for llama-server in "llama" (or "llama-vulkan" when `useGpu`) of the data folder,
/// with `scriptJson` as its script unless that is empty; see ReplyScript.h for the script and StandIn.h for
/// what the program leaves beside itself.
void installFakeEngine(const std::string& dataFolder, bool useGpu, const std::string& scriptJson);

/// Installs the stand-in for whisper-server in this folder, with `scriptJson` as its script unless that is
/// empty; FakeWhisperServer.cpp describes it.
void installFakeSpeechEngine(const std::string& folder, const std::string& scriptJson);

/// Returns the bytes of a release's archive with a stand-in, its script and a library: llama-server in one
/// folder, whisper-server in two.
std::string llamaArchive(const std::string& scriptJson);
std::string whisperArchive(const std::string& scriptJson);

/// Creates a file of this many zeros, which takes no room on the disk, and the folders above it.
void placeModel(const std::string& path, uint64_t size);

/// Returns a TCP port of the loopback interface on which nothing listens, nor on the next one.
int32_t freePort();

/// Returns the bytes of a file, or an empty string if it can't be read.
std::string contentOf(const std::string& path);

/// Returns whether the data folder's log has a line that ends in `line`.
bool isLogged(const std::string& line);
