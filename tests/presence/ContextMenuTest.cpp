#include "presence/ContextMenu.h"

#include <gtest/gtest.h>

namespace {

/// Returns a line for each item: number, check mark, text.
std::string written(const std::vector<MenuItem>& items) {
    std::string lines;
    for (const MenuItem& item : items) {
        const char* mark = !item.checked ? "" : *item.checked ? "[x] " : "[ ] ";
        lines += std::to_string(item.id) + " " + mark + item.text + "\n";
    }
    return lines;
}

TEST(ContextMenu, ShowsWhatIsOnAndWhatCanBeDone) {
    EXPECT_EQ(written(contextMenu({.voiceOn = true, .micOn = true})),
              "1 Ask Velu...\n2 [x] Speak replies\n3 Do a spin\n4 Wink\n5 Sleep\n"
              "7 [ ] Use camera to see people\n6 [x] Listen for \"Velu\" (microphone)\n"
              "0 \n8 Settings...\n9 Open data folder\n0 \n10 Quit Velu\n");
    for (const bool isBrain : {true, false}) {
        EXPECT_EQ(
            written(contextMenu(
                {.asleep = true, .camOn = true, .canRetryBrain = isBrain, .canRetryEars = !isBrain})),
            "1 Ask Velu...\n2 [ ] Speak replies\n3 Do a spin\n4 Wink\n5 Wake up\n"
            "7 [x] Use camera to see people\n6 [ ] Listen for \"Velu\" (microphone)\n11 Retry download\n"
            "0 \n8 Settings...\n9 Open data folder\n0 \n10 Quit Velu\n");
    }
}

}  // namespace
