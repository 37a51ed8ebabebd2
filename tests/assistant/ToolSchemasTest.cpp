#include "assistant/ToolSchemas.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "support/TestData.h"

using nlohmann::json;

namespace {

TEST(ToolSchemas, OfferWhatIsThereInTheirOrder) {
    EXPECT_EQ(toolSchemasFor(true, true).dump(1) + "\n", readTestData("tools.json"));
    const std::tuple<bool, bool, std::vector<std::string>> cases[] = {
        {true, true, {}},
        {true, false, {"learn_face"}},
        {false, true, {"web_search", "read_webpage"}},
        {false, false, {"web_search", "read_webpage", "learn_face"}}};
    for (const auto& [web, faces, missing] : cases) {
        json tools = json::array();
        for (const json& tool : json::parse(readTestData("tools.json"))) {
            if (std::count(missing.begin(), missing.end(), tool["function"]["name"]) == 0)
                tools.push_back(tool);
        }
        EXPECT_EQ(toolSchemasFor(web, faces), tools) << web << faces;
    }
}

}  // namespace
