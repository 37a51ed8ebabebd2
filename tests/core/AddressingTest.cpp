#include "core/Addressing.h"

#include <gtest/gtest.h>

namespace {

using Kind = Addressed::Kind;

TEST(Addressing, TellsWhatIsMeantForTheCompanion) {
    const struct {
        const char* transcript;
        bool followUp;
        Kind kind;
        const char* command;
    } cases[] = {
        {"", true, Kind::notMeant, ""},
        {"Velu.", false, Kind::onlyName, ""},
        {"Hey, Velu!?", false, Kind::onlyName, ""},
        {"Velu, what's the time?", false, Kind::command, "what's the time?"},
        {"OK Velu - \"open\" the door. ", false, Kind::command, "\"open\" the door."},
        {"Nice weather.", false, Kind::notMeant, ""},
        {"What's the time?", false, Kind::command, "What's the time?"},
        {" , Nice weather!", false, Kind::command, "Nice weather!"},
        {"What is the time please velu", false, Kind::command, "What is the time please velu"},
        {"Velu.", true, Kind::command, "Velu."},
        {" ?!, ", true, Kind::onlyBlank, ""},
    };
    for (const auto& one : cases) {
        const Addressed addressed = whatIsMeant(one.transcript, one.followUp);
        EXPECT_EQ(addressed.kind, one.kind) << one.transcript;
        EXPECT_EQ(addressed.command, one.command) << one.transcript;
    }
}

}  // namespace
