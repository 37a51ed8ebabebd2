#include "brain/ChatClient.h"

#include "brain/ChatResult.h"
#include "brain/ChatStream.h"
#include "foundation/Files.h"
#include "foundation/HttpClient.h"
#include "foundation/Paths.h"

using nlohmann::json;

namespace {

std::string requestBody(const json& messages, const json& tools, int32_t maxTokens,
                        const std::string& toolChoice) {
    json body = {{"cache_prompt", true}, {"max_tokens", maxTokens}, {"messages", messages}, {"model", "velu"},
                 {"stream", true},       {"temperature", 0.3},      {"top_p", 0.9}};
    if (!tools.empty()) {
        body["tools"] = tools;
        body["tool_choice"] = toolChoice;
    }
    return body.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace

ChatResult ChatClient::chat(const json& messages, const json& tools, int32_t maxTokens,
                            const std::function<void(const std::string&)>& onDelta, CancelFlag* cancel,
                            const std::string& toolChoice) const {
    ChatStream stream(onDelta);
    HttpRequest request;
    request.method = "POST";
    request.headers = {{"Content-Type", "application/json"}};
    request.body = requestBody(messages, tools, maxTokens, toolChoice);
    request.receiveTimeoutMs =
        300000;  // a large model on a slow processor thinks for minutes before its first word
    request.cancel = cancel;
    request.onData = [&](const char* bytes, size_t count) {
        stream.feed({bytes, count});
        return true;
    };
    writeWholeFile(joinPath(dataFolder(), "last-request.json"), request.body);
    const HttpResponse response =
        HttpClient::send("http://127.0.0.1:" + std::to_string(port) + "/v1/chat/completions", request);
    writeWholeFile(joinPath(dataFolder(), "last-response.txt"), stream.rawResponse);

    ChatResult result;
    result.text = std::move(stream.text);
    if (response.status != 200 || !response.error.empty()) {
        result.error = response.error.empty() ? "HTTP " + std::to_string(response.status) : response.error;
        return result;
    }
    result.toolCalls = stream.toolCalls();
    result.ok = true;
    return result;
}
