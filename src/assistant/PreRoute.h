#pragma once

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "assistant/UserProfile.h"
#include "foundation/Callbacks.h"
#include "foundation/Endpoints.h"

/// Fetches the data that the question plainly needs (linked pages, the weather or a web search, the first
/// that applies) and appends it to `messages` as finished tool calls. A failed look-up is told to the model
/// in its result; nothing is thrown. Blocks for the requests; the callbacks run on the calling thread.
///
/// Threads: that of the turn.
void preRoute(const Endpoints& endpoints, const UserProfile& user, const std::string& question,
              nlohmann::json& messages, const std::function<void(const std::string&)>& onSentence,
              const StatusFn& onActivity, CancelFlag* cancel);
