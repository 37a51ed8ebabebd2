#pragma once

#include <cstdint>
#include <string>

/// Installs the stand-in engine as "llama-server" in "llama" (or "llama-vulkan" when `useGpu`) of the data
/// folder, with `scriptJson` as its script unless that is empty; ReplyScript.h says what a script holds.
/// Beside itself the program then leaves
/// - "last-command.json": the arguments it was last started with, as an array, without its own name;
/// - "requests.jsonl": the body of each chat request, one a line.
///
/// Fails the current test when it can't.
void installFakeEngine(const std::string& dataFolder, bool useGpu, const std::string& scriptJson);

/// Installs the stand-in for the speech engine as "whisper-server" in this folder, with `scriptJson` as its
/// script unless that is empty; SpeechScript.h says what a script holds and what the program leaves beside
/// itself. Fails the current test when it can't.
void installFakeSpeechEngine(const std::string& folder, const std::string& scriptJson);

/// The bytes of a release's archive with that stand-in and a library, two folders deep.
std::string speechArchive(const std::string& scriptJson);

/// Makes a file of this many zeros that takes no room on the disk, and the folders above it.
void placeModel(const std::string& path, uint64_t size);

/// A TCP port of the loopback interface on which nothing listens at the moment.
int32_t freePort();

/// The first of two such ports in a row.
int32_t freePortPair();
