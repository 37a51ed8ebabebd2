#pragma once

#include <nlohmann/json_fwd.hpp>

/// Returns the tools in the form that the server takes, in the order in which they reach the model. The web
/// tools are left out without `web`, learning a face without `faces`. Threads: any.
nlohmann::json toolSchemasFor(bool web, bool faces);
