#include "assistant/WebCoding.h"

#include "assistant/TextCases.h"

namespace {

TEST(WebCoding, QueryValuesAreEncodedAndEveryByteSurvivesTheWay) {
    expectCases("formEncode", formEncode);
    std::string all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    EXPECT_EQ(percentDecode(formEncode(all)), all);
}

TEST(WebCoding, PercentSignsWithoutTwoDigitsStay) {
    expectCases("percentDecode", percentDecode);
}

TEST(WebCoding, Base64OfBothAlphabets) {
    expectCases("base64UrlDecode", base64UrlDecode);
    EXPECT_EQ(base64UrlDecode("-_-_+/+/"), "\xFB\xFF\xBF\xFB\xFF\xBF");
    EXPECT_EQ(base64UrlDecode(std::string(4000, '_')), std::string(3000, '\xFF'));
}

}  // namespace
