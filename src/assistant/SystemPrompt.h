#pragma once

#include <ctime>
#include <string>
#include <vector>

/// What the system prompt is made of. Texts are UTF-8; an empty one leaves its line out.
struct PromptContext {
    std::tm now{};     ///< local time
    std::string seen;  ///< what the camera sees
    std::string locationName;
    std::string userName;
    std::vector<std::string> facts;  ///< oldest first
};

/// The "system" message of every request: who the companion is, how it must talk, when it must look things
/// up, and what it knows of the user and the room. Each line ends in a line feed. Can't fail.
std::string systemPrompt(const PromptContext& context);
