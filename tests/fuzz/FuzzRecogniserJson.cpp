// A result of the wake recogniser: the name is heard where it stands as a word of its own, and nowhere else.

#include <algorithm>
#include <nlohmann/json.hpp>

#include "fuzz/Require.h"
#include "hearing/WakeWord.h"
#include "platform/linux/recogniser/VoskJson.h"

using nlohmann::json;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const bool heard = heardWakeWord(wordsOfVoskResult(bytes));
    if (heard) require(json::parse(bytes, nullptr, false).is_object(), "a result is an object");

    // The same bytes as the words of a result.
    std::string words = bytes;
    std::replace_if(
        words.begin(), words.end(), [](char byte) { return (byte & 0x80) != 0; }, '?');
    const auto with = [&](const std::string& text) {
        return heardWakeWord(wordsOfVoskResult(json{{"text", text}}.dump()));
    };
    require(with(words + " velu"), "the name at the end");
    require(with("belu " + words), "the name at the beginning");
    if (words.find(' ') == std::string::npos) require(!with("x" + words), "a part of a word is none");
    const json both{{"partial", ""}, {"text", "velu"}};
    require(wordsOfVoskResult(both.dump()).empty(), "an empty partial result is one");
    return 0;
}
