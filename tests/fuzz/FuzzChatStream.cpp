// The event stream of a chat completion: the same result however it is cut, and nothing in it that couldn't
// be sent back to the server.

#include "assistant/Messages.h"
#include "brain/ChatStream.h"
#include "fuzz/CutInput.h"
#include "fuzz/Require.h"

using nlohmann::json;

namespace {

struct Heard {
    std::vector<std::string> deltas;
    std::string text;
    std::string raw;
    json calls;
};

Heard hear(const std::vector<std::string_view>& pieces) {
    Heard heard;
    ChatStream stream([&](const std::string& delta) { heard.deltas.push_back(delta); });
    for (const std::string_view piece : pieces)
        stream.feed(piece);
    heard.text = stream.text;
    heard.raw = stream.rawResponse;
    heard.calls = stream.toolCalls();
    return heard;
}

void checkText(const Heard& heard) {
    std::string together;
    for (const std::string& delta : heard.deltas) {
        require(!delta.empty(), "no piece is empty");
        together += delta;
    }
    require(together == heard.text, "the pieces are the text");
    require(isUtf8(heard.text), "the text is UTF-8");
}

void checkCalls(const Heard& heard) {
    require(heard.calls.is_array() && heard.calls.size() <= 64, "the calls are a short array");
    for (const json& call : heard.calls) {
        require(call.is_object() && call.size() == 3, "a call has three fields");
        require(!call.at("id").get<std::string>().empty(), "a call has an id");
        require(!call.at("name").get<std::string>().empty(), "a call has a name");
        require(call.at("arguments").is_object(), "the arguments are an object");
    }
    const json message = messageWithCalls(heard.text, heard.calls);
    require(json::parse(message.dump()) == message, "the message survives its way to the server");
    for (size_t i = 0; i < heard.calls.size(); ++i) {
        const json& arguments = message.at("tool_calls").at(i).at("function").at("arguments");
        require(json::parse(arguments.get<std::string>()) == heard.calls[i]["arguments"],
                "the server reads the arguments that it wrote");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const CutInput input(data, size);
    const Heard heard = hear(input.pieces);
    checkText(heard);
    checkCalls(heard);
    require(input.text.rfind(heard.raw, 0) == 0, "the raw response is a beginning of the stream");

    const Heard whole = hear({input.text});
    require(whole.deltas == heard.deltas, "the cuts don't change the pieces of text");
    require(whole.calls == heard.calls, "the cuts don't change the calls");
    return 0;
}
