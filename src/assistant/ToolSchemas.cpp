#include "assistant/ToolSchemas.h"

#include <initializer_list>
#include <nlohmann/json.hpp>

using nlohmann::json;

namespace {

struct Parameter {
    const char* name;
    const char* type;
    const char* description;
    bool required = true;
};

json schema(const char* name, const char* description, std::initializer_list<Parameter> parameters) {
    json properties = json::object();
    json required = json::array();
    for (const Parameter& parameter : parameters) {
        properties[parameter.name] = {{"type", parameter.type}, {"description", parameter.description}};
        if (parameter.required) required.push_back(parameter.name);
    }
    const json shape = {{"type", "object"}, {"properties", properties}, {"required", required}};
    return {{"type", "function"},
            {"function", {{"name", name}, {"description", description}, {"parameters", shape}}}};
}

}  // namespace

json toolSchemasFor(bool web, bool faces) {
    json tools = json::array();
    if (web) {
        tools.push_back(
            schema("web_search",
                   "Search the internet for current or uncertain facts. Returns titles, URLs, snippets.",
                   {{"query", "string", "Search query"}}));
        tools.push_back(schema("read_webpage",
                               "Read the text of a web page when search snippets are not enough.",
                               {{"url", "string", "Full http(s) URL"}}));
    }
    tools.push_back(
        schema("remember", "Save a lasting fact about the user.", {{"fact", "string", "Short fact"}}));
    if (faces) {
        tools.push_back(
            schema("learn_face",
                   "Remember the face of the person in front of the camera under their name. Use when they "
                   "introduce themselves or ask you to remember them.",
                   {{"name", "string", "Their first name"}}));
    }
    tools.push_back(
        schema("get_weather",
               "Get current weather and a 3-day forecast. Leave place empty for the user's own location.",
               {{"place", "string", "City, e.g. Dallas, Texas (optional)", false}}));
    tools.push_back(schema("set_location",
                           "Remember where the user lives so weather and local questions work.",
                           {{"place", "string", "City and state or country"}}));
    tools.push_back(schema("get_datetime", "Get the current local date and time.", {}));
    tools.push_back(schema(
        "set_timer", "Set a timer or reminder that will alert the user.",
        {{"minutes", "number", "Minutes from now"}, {"label", "string", "What the reminder is for", false}}));
    tools.push_back(schema("open_url", "Open a web page in the user's default browser.",
                           {{"url", "string", "Full http(s) URL"}}));
    return tools;
}
