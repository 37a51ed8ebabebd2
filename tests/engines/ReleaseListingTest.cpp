#include "engines/ReleaseListing.h"

#include <gtest/gtest.h>

namespace {

TEST(ReleaseListing, ChoosesTheNewestReleaseThatHasAUsableAsset) {
    const auto asset = [](const std::string& name) {
        return R"({"name":")" + name + R"(","browser_download_url":"u/)" + name + R"("})";
    };
    const auto release = [](const std::string& assets) {
        return R"({"prerelease":true,"assets":[)" + assets + "]}";
    };
    const std::string one = asset("llama-b1-want");
    const std::string two = asset("llama-b2-want");
    const std::string other = asset("llama-b2-other");
    const std::string foreign = asset("cudart-want");
    const std::string bare = R"({"name":"llama-b3-want"})";
    const std::string numbered = R"({"name":"llama-b4-want","browser_download_url":5})";
    const std::pair<std::string, std::string> cases[] = {
        {"[" + release(two + "," + one) + "]", "u/llama-b2-want"},
        {"[" + release(other + "," + foreign + "," + one) + "]", "u/llama-b1-want"},
        {"[" + release(other) + "," + release(one) + "]", "u/llama-b1-want"},
        {"[" + release(bare + "," + two) + "," + release(one) + "]", "u/llama-b1-want"},
        {"[" + release(numbered) + "," + release(one) + "]", "u/llama-b1-want"},
        {"[5,null,{},{\"assets\":5},{\"assets\":[5,{\"name\":7},[]]}," + release(one) + "]",
         "u/llama-b1-want"},
        {"[]", ""},
        {"", ""},
        {"<html>", ""},
        {release(one), ""},
        {"[" + release(foreign) + "]", ""},
    };
    const auto isWanted = [](const std::string& name) {
        return name.rfind("llama-", 0) == 0 && name.find("want") != std::string::npos;
    };
    for (const auto& [listing, url] : cases)
        EXPECT_EQ(chooseAsset(listing, isWanted), url) << listing;
}

}  // namespace
