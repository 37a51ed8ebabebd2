#include "assistant/Assistant.h"

#include <algorithm>
#include <ctime>
#include <exception>
#include <nlohmann/json.hpp>
#include <utility>

#include "assistant/ChatMessage.h"
#include "assistant/Html.h"
#include "assistant/PageReader.h"
#include "assistant/PreRoute.h"
#include "assistant/QuestionWords.h"
#include "assistant/SentenceStream.h"
#include "assistant/SystemPrompt.h"
#include "assistant/ToolSchemas.h"
#include "assistant/Weather.h"
#include "assistant/WebSearch.h"
#include "brain/ChatResult.h"
#include "foundation/Files.h"
#include "foundation/LocalTime.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/Text.h"
#include "foundation/Ticks.h"
#include "platform/system.h"

using nlohmann::json;

namespace {

// No tokens are counted: these caps and those of the tools' texts keep a turn inside the server's context.
constexpr size_t exchangesInContext = 6;
constexpr size_t exchangesKept = 30;
constexpr size_t storedReplyBytes = 700;
constexpr int32_t replyTokens = 400;
constexpr int passes = 6;
constexpr double longestTimer = 1440;  // minutes: a day

std::string memoryPath() {
    return joinPath(dataFolder(), "memory.json");
}

/// Returns the text at `key`, empty when the key is missing. Throws for a value of another type: the model
/// gets to read the error.
std::string argument(const json& arguments, const char* key) {
    return arguments.value(key, std::string());
}

}  // namespace

Assistant::Assistant(Brain& theBrain, Endpoints hosts) : brain(&theBrain), endpoints(std::move(hosts)) {
    loadMemory();
}

void Assistant::turn(std::string& reply, const std::string& question, const SentenceFn& onSentence,
                     const StatusFn& onActivity, CancelFlag* cancel) {
    const std::string asked = repairUtf8(question);
    lastQuestion = asked;
    firstTokenTick = 0;
    json messages = openingMessages(asked);
    const json tools = toolSchemas();
    reply.clear();
    preRoute(endpoints, user, asked, messages, onSentence, onActivity, cancel);
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

bool Assistant::runPasses(json& messages, const json& tools, std::string& reply, const SentenceFn& onSentence,
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
    const UserChoices choices = user.choices();
    PromptContext context;
    context.now = localTime(std::time(nullptr));
    context.seen = seenText;
    context.locationName = choices.place.name;
    context.userName = choices.userName;
    context.facts = memory.facts;
    return systemPrompt(context);
}

json Assistant::toolSchemas() const {
    return toolSchemasFor(user.choices().webResearch, learnFace != nullptr);
}

std::string Assistant::dispatchTool(const std::string& name, const json& arguments,
                                    const StatusFn& onActivity, CancelFlag* cancel) {
    try {
        return runTool(name, arguments, onActivity, cancel);
    } catch (const std::exception& error) {
        return std::string("Error: ") + error.what();
    }
}

std::string Assistant::runTool(const std::string& name, const json& arguments, const StatusFn& onActivity,
                               CancelFlag* cancel) {
    if (name == "web_search") {
        const std::string query = argument(arguments, "query");
        if (query.empty()) return "Error: missing query.";
        onActivity("Searching the web: " + query);
        return WebSearch::search(endpoints, query, cancel);
    }
    if (name == "read_webpage") {
        const std::string url = argument(arguments, "url");
        onActivity("Reading " + shortUrl(url));
        return PageReader::read(url, cancel, lastQuestion);
    }
    if (name == "remember") return remember(argument(arguments, "fact"));
    if (name == "learn_face") {
        return learnFace ? learnFace(argument(arguments, "name")) : "Face recognition is off.";
    }
    if (name == "get_weather") {
        onActivity("Checking the weather...");
        return getWeather(endpoints, user, argument(arguments, "place"), cancel);
    }
    if (name == "set_location") return setLocation(argument(arguments, "place"), cancel);
    if (name == "get_datetime") return formatTime(localTime(std::time(nullptr)), "%A, %B %d, %Y, %I:%M %p");
    if (name == "set_timer") return setTimer(arguments);
    if (name == "open_url") {
        const std::string url = argument(arguments, "url");
        if (!isHttpUrl(url)) return "Error: only http(s) URLs can be opened.";
        openOnDesktop(url);
        return "Opened.";
    }
    return "Error: unknown tool " + name;
}

std::string Assistant::remember(const std::string& fact) {
    if (fact.empty()) return "Error: missing fact.";
    const std::string folded = toLowerAscii(fact);
    const std::scoped_lock lock(mutex);
    const bool known = std::any_of(memory.facts.begin(), memory.facts.end(), [&](const std::string& present) {
        return toLowerAscii(present) == folded;
    });
    if (known) return "Already remembered.";
    memory.facts.push_back(fact);
    saveMemory();
    return "Saved.";
}

std::string Assistant::setLocation(const std::string& place, CancelFlag* cancel) const {
    Place found;
    if (!geocodePlace(endpoints, place, found, cancel)) return "Couldn't find that place.";
    user.keepPlace(found, PlaceLifetime::saved);
    return "Saved. The user's location is " + found.name + ".";
}

std::string Assistant::setTimer(const json& arguments) {
    const double minutes = arguments.value("minutes", 0.0);
    if (!(minutes > 0 && minutes <= longestTimer)) return "Error: minutes must be between 0 and 1440.";
    std::string label = arguments.value("label", "Time's up");
    const std::scoped_lock lock(mutex);
    timers.push_back({tickCount() + static_cast<uint64_t>(minutes * 60000), std::move(label)});
    return "Timer set for " + std::to_string(static_cast<int>(minutes)) + " minutes.";
}

std::vector<std::string> Assistant::takeDueReminders(uint64_t now) {
    std::vector<std::string> due;
    const std::scoped_lock lock(mutex);
    for (auto timer = timers.begin(); timer != timers.end();) {
        if (timer->dueTick > now) {
            ++timer;
            continue;
        }
        due.push_back(std::move(timer->label));
        timer = timers.erase(timer);
    }
    return due;
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
