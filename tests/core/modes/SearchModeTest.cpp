#include "core/modes/SearchMode.h"

#include <gtest/gtest.h>

#include "core/Companion.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/LoopbackServer.h"
#include "support/TestData.h"

namespace {

TEST(SearchMode, TheSearchsTextIsTheWholeOutput) {
    const LoopbackServer web([](const Received& received) {
        if (received.body == "q=nothing+at+all&kl=us-en") return makeReply(202, "slow down");
        return received.path == "/html/" ? makeReply(200, readTestData("search-duckduckgo.html"))
                                         : makeReply(503, "");
    });
    const Companion companion({"", "", web.url(), web.url(), "", "", ""});
    const std::string path = joinPath(dataFolder(), "ask-output.txt");
    std::string output;
    EXPECT_EQ(runSearchMode(companion, "caf\xC3\xA9 & more"), 0);
    EXPECT_EQ(web.requests().at(0).body, "q=caf%C3%A9+%26+more&kl=us-en");
    ASSERT_TRUE(readWholeFile(path, output));
    EXPECT_EQ(output.rfind("1. ", 0), 0u) << output;
    EXPECT_NE(output.find("\n4. "), std::string::npos) << output;
    EXPECT_EQ(output.find("\n5. "), std::string::npos) << output;

    EXPECT_EQ(runSearchMode(companion, "nothing at all"), 0);
    ASSERT_TRUE(readWholeFile(path, output));
    EXPECT_EQ(output,
              "Search failed: no results could be retrieved (the search engines may be unreachable).");
}

}  // namespace
