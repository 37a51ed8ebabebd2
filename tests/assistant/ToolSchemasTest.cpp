#include "assistant/ToolSchemas.h"

#include <gtest/gtest.h>

#include "support/TestData.h"

using nlohmann::json;

namespace {

/// The whole list of tools without those of these names.
json without(const std::vector<std::string>& names) {
    json tools = json::array();
    for (const json& tool : json::parse(readTestData("tools.json"))) {
        const std::string name = tool["function"]["name"];
        if (std::find(names.begin(), names.end(), name) == names.end()) tools.push_back(tool);
    }
    return tools;
}

TEST(ToolSchemas, OfferWhatIsThereInTheirOrder) {
    EXPECT_EQ(without({}).size(), 9u);
    EXPECT_EQ(toolSchemasFor(true, true), without({}));
    EXPECT_EQ(toolSchemasFor(true, false), without({"learn_face"}));
    EXPECT_EQ(toolSchemasFor(false, true), without({"web_search", "read_webpage"}));
    EXPECT_EQ(toolSchemasFor(false, false), without({"web_search", "read_webpage", "learn_face"}));
}

}  // namespace
