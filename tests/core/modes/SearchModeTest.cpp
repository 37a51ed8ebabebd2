#include "core/modes/SearchMode.h"

#include <gtest/gtest.h>

#include "core/Companion.h"
#include "support/LoopbackServer.h"
#include "support/TestData.h"

namespace {

TEST(SearchMode, TheSearchsTextIsTheWholeOutput) {
    const LoopbackServer web([](const Received& received) {
        return received.path == "/html/" ? makeReply(200, readTestData("search-duckduckgo.html"))
                                         : makeReply(503, "");
    });
    const Companion companion(Settings::instance(), {"", "", web.url(), web.url(), "", "", ""});
    EXPECT_EQ(runSearchMode(companion, "caf\xC3\xA9 & more"), 0);
    EXPECT_EQ(web.requests().at(0).body, "q=caf%C3%A9+%26+more&kl=us-en");
    const std::string output = dataText("ask-output.txt");
    EXPECT_TRUE(output.starts_with("1. ") && output.find("\n4. ") != std::string::npos) << output;
}

}  // namespace
