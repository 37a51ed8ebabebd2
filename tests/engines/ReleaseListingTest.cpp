#include "engines/ReleaseListing.h"

#include <gtest/gtest.h>

TEST(ReleaseListing, ChoosesTheNewestReleaseThatHasAUsableAsset) {
    const auto release = [](const std::string& assets) {
        return R"({"prerelease":true,"assets":[)" + assets + "]}";
    };
    const std::string one = R"({"name":"want1","browser_download_url":"u1"})";
    const std::string two = R"({"name":"want2","browser_download_url":"u2"})";
    const std::string other = R"({"name":"other","browser_download_url":"u3"})";
    const std::string bare = R"({"name":"want4"})";
    const std::string numbered = R"({"name":"want5","browser_download_url":5})";
    const std::pair<std::string, std::string> cases[] = {
        {"[" + release(two + "," + one) + "]", "u2"},
        {"[" + release(other) + "," + release(other + "," + one) + "]", "u1"},
        {"[" + release(bare + "," + two) + "," + release(one) + "]", "u1"},
        {"[" + release(numbered) + "," + release(one) + "]", "u1"},
        {"[5,null,{},{\"assets\":5},{\"assets\":[5,{\"name\":7},[]]}," + release(one) + "]", "u1"},
        {"[]", ""},
        {"", ""},
        {"<html>", ""},
        {release(one), ""},
    };
    const auto isWanted = [](const std::string& name) { return name.rfind("want", 0) == 0; };
    for (const auto& [listing, url] : cases)
        EXPECT_EQ(chooseAsset(listing, isWanted), url) << listing;
}
