#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// The mouth shape, 0 to 21, of a phoneme by its mnemonic ("oU", "i:", "_"); nothing for one that isn't
/// known. Threads: any.
std::optional<int32_t> visemeOf(std::string_view mnemonic);
