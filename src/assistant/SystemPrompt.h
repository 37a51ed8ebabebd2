#pragma once

#include <ctime>
#include <string>
#include <vector>

/// The variable parts of the system prompt, in UTF-8. An empty text leaves its line out.
struct PromptContext {
    std::tm now{};     ///< local time
    std::string seen;  ///< what the camera sees
    std::string locationName;
    std::string userName;
    std::vector<std::string> facts;  ///< oldest first
};

/// Returns the "system" message of every request: who the companion is, how it talks, when it looks things
/// up, and what it knows of the user and the room. Each line ends in a line feed. Can't fail.
std::string systemPrompt(const PromptContext& context);
