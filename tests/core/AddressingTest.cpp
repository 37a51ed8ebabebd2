#include "core/Addressing.h"

#include <gtest/gtest.h>

namespace {

using Kind = Addressed::Kind;

TEST(Addressing, TellsWhatIsMeantForTheCompanion) {
    struct Case {
        const char* transcript;
        bool followUp;
        Kind kind;
        const char* command;
    };
    const Case cases[] = {
        {"", false, Kind::notMeant, ""},
        {"", true, Kind::notMeant, ""},
        {"Velu.", false, Kind::onlyName, ""},
        {"Hey, Velu!?", false, Kind::onlyName, ""},
        {"Velu, what's the time?", false, Kind::command, "what's the time?"},
        {"OK Velu - \"open\" the door. ", false, Kind::command, "\"open\" the door."},
        {"Nice weather.", false, Kind::notMeant, ""},
        {"What's the time?", false, Kind::command, "What's the time?"},
        {" , Nice weather!", false, Kind::command,
         "Nice weather!"},  // three blanks count, whatever they part
        {"What is the time please velu", false, Kind::command, "What is the time please velu"},
        {"Velu.", true, Kind::command, "Velu."},
        {"yes", true, Kind::command, "yes"},
        {" ?!, ", true, Kind::onlyBlank, ""},
    };
    for (const Case& one : cases) {
        const Addressed addressed = whatIsMeant(one.transcript, one.followUp);
        EXPECT_EQ(addressed.kind, one.kind) << one.transcript;
        EXPECT_EQ(addressed.command, one.command) << one.transcript;
    }
}

}  // namespace
