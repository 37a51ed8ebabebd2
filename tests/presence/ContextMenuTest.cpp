#include "presence/ContextMenu.h"

#include <gtest/gtest.h>

namespace {

/// Returns the items: number, check mark, text.
std::string written(const MenuState& state) {
    std::string line;
    for (const MenuItem& item : contextMenu(state)) {
        const char* mark = !item.checked ? " " : *item.checked ? " [x] " : " [ ] ";
        line += std::to_string(item.id) + mark + item.text + "|";
    }
    return line;
}

TEST(ContextMenu, ShowsWhatIsOnAndWhatCanBeDone) {
    EXPECT_EQ(written({.voiceOn = true, .micOn = true}),
              "1 Ask Velu...|2 [x] Speak replies|3 Do a spin|4 Wink|5 Sleep|7 [ ] Use camera to see people|"
              "6 [x] Listen for \"Velu\" (microphone)|0 |8 Settings...|9 Open data folder|0 |10 Quit Velu|");
    const std::string other = written({.asleep = true, .camOn = true, .canRetryBrain = true});
    EXPECT_NE(other.find("|5 Wake up|7 [x] Use camera to see people|6 [ ]"), std::string::npos);
    EXPECT_NE(other.find("(microphone)|11 Retry download|0 |8 "), std::string::npos);
    EXPECT_EQ(written({.asleep = true, .camOn = true, .canRetryEars = true}), other);
}

}  // namespace
