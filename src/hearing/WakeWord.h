#pragma once

#include <string>
#include <string_view>

/// The phrases that the wake recogniser tells apart: the name, what it is easily taken for, and all the rest.
inline constexpr const char* wakeGrammar =
    R"(["velu", "velo", "vellu", "belu", "hey velu", "okay velu", "[unk]"])";

/// Where the model that knows the name lies: beside the executable. Threads: any.
std::string wakeModelFolder();

/// Whether a recogniser's result, partial or final, holds the name. What isn't such a result doesn't.
/// Threads: any.
bool heardWakeWord(std::string_view json);
