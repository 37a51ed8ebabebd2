#include "assistant/WebCoding.h"

#include <gtest/gtest.h>

namespace {

TEST(WebCoding, QueryValuesAreEncoded) {
    const std::string kept = "ABCXYZabcxyz0189-._~";
    EXPECT_EQ(formEncode(kept), kept);
    EXPECT_EQ(formEncode("a b+c"), "a+b%2Bc");
    EXPECT_EQ(formEncode("\"q=1&r\"/:?#%\n"), "%22q%3D1%26r%22%2F%3A%3F%23%25%0A");
    EXPECT_EQ(formEncode("\u00FC\xFF"), "%C3%BC%FF");
    EXPECT_EQ(formEncode(std::string(1, '\0')), "%00");
    EXPECT_EQ(formEncode(""), "");
}

TEST(WebCoding, EveryByteSurvivesTheWay) {
    std::string all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    EXPECT_EQ(percentDecode(formEncode(all)), all);
}

TEST(WebCoding, PercentSignsWithoutTwoDigitsStay) {
    const std::pair<std::string, std::string> cases[] = {
        {"https%3A%2f%2Fa.example%2Fb%3Fc%3Dd%26e", "https://a.example/b?c=d&e"},
        {"a+b%20c%2Bd", "a b c+d"},
        {"100%", "100%"},
        {"100%2", "100%2"},
        {"%zz%4g%g4%41", "%zz%4g%g4A"},
        {"%%41", "%A"},
        {"%2541", "%41"},
        {"", ""},
    };
    for (const auto& [text, decoded] : cases)
        EXPECT_EQ(percentDecode(text), decoded) << text;
}

TEST(WebCoding, Base64OfBothAlphabets) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"Zg", "f"},
        {"Zg==", "f"},
        {"Zm8=", "fo"},
        {"Zm9v", "foo"},
        {"Zm9vYg", "foob"},
        {"Zm9vYmFy", "foobar"},
        {"-_-_", "\xFB\xFF\xBF"},
        {"+/+/", "\xFB\xFF\xBF"},
        {"Z=m 9\n.v\xC3!", "foo"},
        {"Z", ""},
        {"aHR0cHM6Ly9zZWEuZXhhbXBsZS5jb20vfj8-Pj4_", "https://sea.example.com/~?>>>?"},
    };
    for (const auto& [text, decoded] : cases)
        EXPECT_EQ(base64UrlDecode(text), decoded) << text;
    EXPECT_EQ(base64UrlDecode(std::string(4000, '_')), std::string(3000, '\xFF'));
}

}  // namespace
