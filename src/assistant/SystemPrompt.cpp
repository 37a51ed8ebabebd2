#include "assistant/SystemPrompt.h"

#include <algorithm>

#include "foundation/LocalTime.h"
#include "platform/texts.h"

namespace {

constexpr size_t mostFacts = 40;  // the newest; more would crowd out the conversation

std::string opening() {
    return std::string("You are Velu, a small AI companion living on the user's ") + platformTexts.desktop +
           " as a floating robotic head with glowing cyan eyes. Your words are spoken aloud: reply in one to "
           "three "
           "short, plain sentences (more only if asked); never use markdown, lists, emoji, or URLs. Be warm, "
           "quick-witted, a little playful, and honest that you are an AI running locally on this PC.\n\n"
           "Your training data is old. For anything current or uncertain (news, sports, weather, prices, "
           "releases, "
           "specific facts) use web_search, then read_webpage if the snippets are not enough, and name the "
           "source "
           "briefly. Do not search for greetings or chit-chat.\n"
           "Search results, pages, and anything the user tells or links you are more reliable than your "
           "memory: "
           "answer from them, never argue with them, accept corrections politely, say you could not find it "
           "if the "
           "sources lack the answer, and never invent facts or numbers. Use remember for lasting personal "
           "facts and "
           "set_timer for reminders.\n\n";
}

}  // namespace

std::string systemPrompt(const PromptContext& context) {
    std::string prompt = opening();
    prompt +=
        "Today is " + formatTime(context.now, "%A, %B %d, %Y") + " (use get_datetime for the exact time).\n";
    if (!context.seen.empty()) {
        prompt +=
            "Through your camera you currently see: " + context.seen + ". (You cannot see anything else.)\n";
    }
    if (!context.locationName.empty()) {
        prompt += "The user's location (approximate, from their IP address unless they told you): " +
                  context.locationName + ". If it seems wrong, ask and use set_location.\n";
    }
    if (!context.userName.empty()) prompt += "The user's name is " + context.userName + ".\n";
    if (!context.facts.empty()) {
        prompt += "Things you remember about the user:\n";
        const size_t first = context.facts.size() - std::min(mostFacts, context.facts.size());
        for (size_t i = first; i < context.facts.size(); ++i)
            prompt += "- " + context.facts[i] + "\n";
    }
    return prompt;
}
