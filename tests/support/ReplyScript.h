#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// One reply of the stand-in engine, and when it is given.
struct ScriptedReply {
    struct Call {
        std::string name;
        std::string arguments;  ///< as the stream sends them
    };

    std::string when = {};  ///< part of the newest message's content
    std::string role = {};  ///< that message's role; empty: any
    std::string text = {};
    std::vector<Call> calls = {};
    int32_t pieceMs = 0;  ///< pause before each piece of the stream

    explicit ScriptedReply(const nlohmann::json& object = nlohmann::json::object());

    /// Returns the events of the stream up to the last piece: about five bytes of text or arguments each,
    /// which count as one token, and at most "max_tokens" of `request`.
    std::vector<std::string> pieces(const nlohmann::json& request) const;

    /// Returns the events after the pieces.
    std::string ending() const;
};

/// How the stand-in engine behaves. As JSON:
///
///     {"loadMs": 0, "exitWhileLoading": 0, "neverReady": false,
///      "replies": [{"when": "...", "role": "user", "text": "...", "pieceMs": 0,
///                   "calls": [{"name": "...", "arguments": {...}}]}],
///      "default": {"text": "..."}}
///
/// Every key may be left out; unknown ones are an error. Arguments that are a string are sent unchanged,
/// valid JSON or not.
struct ReplyScript {
    int32_t loadMs = 0;            ///< until the model counts as loaded
    int32_t exitWhileLoading = 0;  ///< exit code of a process that ends instead of loading; 0: it doesn't
    bool neverReady = false;       ///< the model is never loaded
    std::vector<ScriptedReply> replies;  ///< the first that fits is given; the default fits always

    explicit ReplyScript(const nlohmann::json& script);

    /// Returns the reply to this chat request, which has an array "messages"; a demo reply if none fits.
    ScriptedReply replyTo(const nlohmann::json& request) const;
};
