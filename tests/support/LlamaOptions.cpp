#include "support/LlamaOptions.h"

#include <charconv>
#include <map>

namespace {

bool readNumber(const std::string& text, int32_t& number) {
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end && number > 0;
}

}  // namespace

bool readLlamaOptions(const std::vector<std::string>& arguments, LlamaOptions& options, std::string& error) {
    int32_t threads = 0;
    int32_t slots = 0;
    std::string reasoning;
    const std::map<std::string, int32_t*> numbers = {
        {"--port", &options.port}, {"-c", &options.context}, {"-t", &threads}, {"-np", &slots}};
    const std::map<std::string, std::string*> texts = {
        {"-m", &options.model}, {"--host", &options.host}, {"--reasoning", &reasoning}};

    for (size_t i = 0; i < arguments.size(); i++) {
        const std::string& name = arguments[i];
        if (name == "--jinja" || name == "--no-webui") continue;
        auto number = numbers.find(name);
        auto text = texts.find(name);
        if (number == numbers.end() && text == texts.end()) {
            error = "error: invalid argument: " + name;
            return false;
        }
        bool isGood = ++i < arguments.size();
        if (isGood && number != numbers.end()) isGood = readNumber(arguments[i], *number->second);
        if (isGood && text != texts.end()) *text->second = arguments[i];
        if (isGood && name == "--reasoning")
            isGood = reasoning == "on" || reasoning == "off" || reasoning == "auto";
        if (!isGood) {
            error = "error while handling argument \"" + name + "\"";
            return false;
        }
    }
    if (options.model.empty()) error = "error: no model given, use -m";
    return error.empty();
}
