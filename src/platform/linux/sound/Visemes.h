#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// Returns the mouth shape, 0 to 21, of a phoneme by its mnemonic ("oU", "i:", "_"); nothing for an unknown
/// one. Threads: any.
std::optional<int32_t> visemeOf(std::string_view mnemonic);
