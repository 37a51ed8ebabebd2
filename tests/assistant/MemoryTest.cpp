#include "assistant/Memory.h"

#include "assistant/TextCases.h"

namespace {

TEST(Memory, LoadsWhatHasTheRightShapeAndSavesItTheSame) {
    expectCases("Memory", [](const std::string& bytes) { return Memory::fromJson(bytes).toJson(); });
}

TEST(Memory, AFileWithoutABottomIsSurvived) {
    const std::string deep = std::string(200000, '[') + std::string(200000, ']');
    EXPECT_EQ(Memory::fromJson("{\"facts\":" + deep + ",\"history\":" + deep + "}").toJson(),
              Memory().toJson());
}

TEST(Memory, TextThatIsNotUtf8CanStillBeSaved) {
    Memory memory;
    memory.facts = {"bad \xFF"};
    EXPECT_EQ(Memory::fromJson(memory.toJson()).facts.at(0), "bad \xEF\xBF\xBD");
}

}  // namespace
