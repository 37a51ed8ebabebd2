#include "assistant/Html.h"

#include "assistant/TextCases.h"

namespace {

TEST(Html, APageBecomesItsText) {
    EXPECT_EQ(htmlToText(readTestData("page.html")), readTestData("page.txt"));
}

TEST(Html, TagsAndReferencesAreReadAsTheTablesTell) {
    expectCases("htmlToText", htmlToText);
    expectCases("decodeEntities", decodeEntities);
    EXPECT_EQ(htmlToText("caf\xC3\xA9<b>\xFF"), "caf\xC3\xA9 \xFF") << "bytes that aren't UTF-8 stay";
}

TEST(Html, OnlyTwoSchemesAreOfTheWeb) {
    expectCases("isHttpUrl", isHttpUrl);
}

}  // namespace
