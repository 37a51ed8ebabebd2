#include "foundation/Json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

TEST(Json, RefusesWhatIsNestedTooDeep) {
    const std::string brackets(64, '[');
    const std::string closed(64, ']');
    EXPECT_TRUE(parseJson(brackets + closed).is_array());
    EXPECT_TRUE(parseJson("[" + brackets + closed + "]").is_discarded());
    EXPECT_TRUE(parseJson("[\"\\\"" + brackets + brackets + "\"]").is_array()) << "brackets in a text";
    EXPECT_TRUE(parseJson("[" + brackets).is_discarded());
}

TEST(Json, LooksUpOnlyTheTypeThatIsAskedFor) {
    const json object = {{"text", "a"}, {"number", 1.5}, {"yes", true}, {"list", {1}}, {"inner", {{"a", 1}}}};
    for (const char* key : {"text", "number", "yes", "list", "inner", "missing"}) {
        const std::string_view name = key;
        EXPECT_EQ(stringAt(object, key) != nullptr, name == "text") << key;
        EXPECT_EQ(textAt(object, key), name == "text" ? "a" : "") << key;
        EXPECT_EQ(numberAt(object, key), name == "number" ? std::optional(1.5) : std::nullopt) << key;
        EXPECT_EQ(boolAt(object, key), name == "yes" ? std::optional(true) : std::nullopt) << key;
        EXPECT_EQ(arrayAt(object, key), name == "list" ? json::array({1}) : json::array()) << key;
        EXPECT_EQ(objectAt(object, key), name == "inner" ? json({{"a", 1}}) : json::object()) << key;
    }
    for (const json& other : {json(), json(3), json::array({"text"}), json(json::value_t::discarded)}) {
        EXPECT_EQ(textAt(other, "text"), "");
        EXPECT_TRUE(objectAt(other, "text").is_object());
    }
}

}  // namespace
