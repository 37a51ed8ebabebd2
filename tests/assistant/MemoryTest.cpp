#include "assistant/Memory.h"

#include <gtest/gtest.h>

namespace {

const char* const whole =
    "{\n \"facts\": [\n  \"likes caf\xC3\xA9\"\n ],\n \"history\": [\n  [\n   \"hi\",\n   \"hello\"\n  ],\n  "
    "[\n"
    "   \"bye\",\n   \"\"\n  ]\n ]\n}";
const char* const empty = "{\n \"facts\": [],\n \"history\": []\n}";

TEST(Memory, LoadsWhatHasTheRightShapeAndSavesItTheSame) {
    const std::pair<std::string, std::string> cases[] = {
        {whole, whole},
        {"", empty},
        {"[]", empty},
        {"{\"facts\":", empty},
        {"{\"facts\":5,\"history\":{}}", empty},
        {R"({"facts":["a",5,null,["b"],"c"]})",
         "{\n \"facts\": [\n  \"a\",\n  \"c\"\n ],\n \"history\": []\n}"},
        {R"({"history":[["q","a"],["q","a","x"],["q",5],[null,"a"],["q"],"q",{},[]]})",
         "{\n \"facts\": [],\n \"history\": [\n  [\n   \"q\",\n   \"a\"\n  ]\n ]\n}"},
    };
    for (const auto& [bytes, saved] : cases)
        EXPECT_EQ(Memory::fromJson(bytes).toJson(), saved) << bytes;
}

TEST(Memory, AFileWithoutABottomIsSurvived) {
    const std::string deep = std::string(200000, '[') + std::string(200000, ']');
    EXPECT_EQ(Memory::fromJson("{\"facts\":" + deep + ",\"history\":" + deep + "}").toJson(), empty);
}

TEST(Memory, TextThatIsNotUtf8CanStillBeSaved) {
    Memory memory;
    memory.facts = {"bad \xFF"};
    EXPECT_EQ(Memory::fromJson(memory.toJson()).facts.at(0), "bad \xEF\xBF\xBD");
}

}  // namespace
