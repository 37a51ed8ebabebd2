#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What the stand-in engine reads off its command line. It knows the options that Velu uses, and no others.
struct LlamaOptions {
    std::string model;  ///< path of the model file
    std::string host = "127.0.0.1";
    int32_t port = 8080;
    int32_t context = 4096;  ///< tokens
};

/// Reads the arguments (without the program's own name). False, with the reason in `error`, when one is
/// unknown, lacks its value or has one that makes no sense, or when no model is named.
[[nodiscard]] bool readLlamaOptions(const std::vector<std::string>& arguments, LlamaOptions& options,
                                    std::string& error);
