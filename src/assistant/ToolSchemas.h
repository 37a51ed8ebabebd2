#pragma once

#include <nlohmann/json.hpp>

/// The tools in the form in which the server takes them, in the order in which they reach the model: those
/// that use the web only with `web`, learning a face only with `faces`.
nlohmann::json toolSchemasFor(bool web, bool faces);
