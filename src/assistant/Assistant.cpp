#include "assistant/Assistant.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "assistant/Messages.h"
#include "assistant/SentenceStream.h"
#include "assistant/SystemPrompt.h"
#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/Settings.h"
#include "foundation/Text.h"
#include "foundation/Ticks.h"
#include "platform/system.h"

using nlohmann::json;

namespace {

// Nothing counts tokens: these caps, with those of the tools' texts, keep a turn inside the server's context.
constexpr size_t exchangesInContext = 6;
constexpr size_t exchangesKept = 30;
constexpr size_t storedReplyBytes = 700;
constexpr int32_t replyTokens = 400;
constexpr int passes = 6;

std::string memoryPath() {
    return joinPath(dataFolder(), "memory.json");
}

}  // namespace

Assistant::Assistant(Brain& theBrain, Endpoints hosts) : brain(&theBrain), endpoints(std::move(hosts)) {
    loadMemory();
}

void Assistant::turn(std::string& reply, const std::string& question,
                     const std::function<void(const std::string&)>& onSentence, const StatusFn& onActivity,
                     CancelFlag* cancel) {
    const std::string asked = repairUtf8(question);
    lastQuestion = asked;
    firstTokenTick = 0;
    json messages = openingMessages(asked);
    const json tools = toolSchemas();
    reply.clear();
    preRoute(asked, messages, onSentence, onActivity, cancel);
    if (!runPasses(messages, tools, reply, onSentence, onActivity, cancel)) return;
    if (!reply.empty() && !*cancel) store(asked, reply);
}

json Assistant::openingMessages(const std::string& question) {
    json messages = json::array();
    {
        const std::scoped_lock lock(mutex);
        messages.push_back(plainMessage("system", buildSystemPrompt()));
        const size_t count = std::min(exchangesInContext, memory.history.size());
        for (auto exchange = memory.history.end() - static_cast<std::ptrdiff_t>(count);
             exchange != memory.history.end(); ++exchange) {
            messages.push_back(plainMessage("user", exchange->user));
            messages.push_back(plainMessage("assistant", exchange->reply));
        }
    }
    messages.push_back(plainMessage("user", question));
    return messages;
}

bool Assistant::runPasses(json& messages, const json& tools, std::string& reply,
                          const std::function<void(const std::string&)>& onSentence,
                          const StatusFn& onActivity, CancelFlag* cancel) {
    for (int pass = 0; pass < passes && !*cancel; ++pass) {
        SentenceStream sentences(onSentence);
        const auto onDelta = [&](const std::string& delta) {
            if (firstTokenTick == 0) firstTokenTick = tickCount();
            sentences.feed(delta);
        };
        // Without tools the last pass can only answer.
        const json offered = pass == passes - 1 ? json::array() : tools;
        const ChatResult result =
            brain->chatClient().chat(messages, offered, replyTokens, onDelta, cancel, "auto");
        if (!result.ok) {
            if (*cancel) return true;
            logLine("chat failed: %s", result.error.c_str());
            reply = "Sorry, my brain hiccuped. Try me again in a moment.";
            onSentence(reply);
            return false;
        }
        sentences.flush();
        if (result.toolCalls.empty()) {
            reply += result.text;
            return true;
        }
        messages.push_back(messageWithCalls(result.text, result.toolCalls));
        runTools(messages, result.toolCalls, onActivity, cancel);
        onActivity("Thinking...");
    }
    return true;
}

void Assistant::runTools(json& messages, const json& calls, const StatusFn& onActivity, CancelFlag* cancel) {
    for (const json& call : calls) {
        const auto name = call["name"].get<std::string>();
        const std::string result = dispatchTool(name, call["arguments"], onActivity, cancel);
        logLine("tool %s -> %zu chars", name.c_str(), result.size());
        messages.push_back(toolResult(call["id"].get<std::string>(), result));
    }
}

void Assistant::store(const std::string& question, std::string& reply) {
    const std::scoped_lock lock(mutex);
    reply = cutUtf8(repairUtf8(std::move(reply)), storedReplyBytes);
    memory.history.push_back({question, reply});
    if (memory.history.size() > exchangesKept) {
        memory.history.erase(memory.history.begin(), memory.history.end() - exchangesKept);
    }
    saveMemory();
}

void Assistant::warmUp(CancelFlag* cancel) {
    json messages = json::array();
    {
        const std::scoped_lock lock(mutex);
        messages.push_back(plainMessage("system", buildSystemPrompt()));
    }
    messages.push_back(plainMessage("user", "hi"));
    brain->chatClient().chat(messages, toolSchemas(), 1, {}, cancel, "auto");
}

std::string Assistant::buildSystemPrompt() const {
    const Settings& settings = Settings::instance();
    PromptContext context;
    context.now = localTime(std::time(nullptr));
    context.seen = seenText;
    context.locationName = settings.locName.get();
    context.userName = settings.userName.get();
    context.facts = memory.facts;
    return systemPrompt(context);
}

void Assistant::clearConversation() {
    const std::scoped_lock lock(mutex);
    memory.history.clear();
    saveMemory();
}

void Assistant::forgetEverything() {
    const std::scoped_lock lock(mutex);
    memory.facts.clear();
    saveMemory();
}

void Assistant::loadMemory() {
    std::string bytes;
    if (readWholeFile(memoryPath(), bytes)) memory = Memory::fromJson(bytes);
}

void Assistant::saveMemory() const {
    writeWholeFile(memoryPath(), memory.toJson());
}
