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

/// Makes a file of this many zeros that takes no room on the disk, and the folders above it.
void placeModel(const std::string& path, uint64_t size);

/// A TCP port of the loopback interface on which nothing listens at the moment.
int32_t freePort();
