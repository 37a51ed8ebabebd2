#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

/// A tool call of a scripted reply.
struct ScriptedCall {
    std::string name;
    std::string arguments;  ///< as the stream brings it
};

/// One thing that the stand-in engine says.
struct ScriptedReply {
    std::string text;
    std::vector<ScriptedCall> calls;
    int32_t pieceMs = 0;                    ///< pause before each piece of the stream
    int32_t status = 200;                   ///< any other answers with an error, whose message is `text`
    std::optional<int32_t> cutAfterPieces;  ///< close the connection after so many
    std::optional<int32_t> dieAfterPieces;  ///< end the process at once after so many
};

/// When a reply is due, and the reply.
struct ReplyRule {
    std::string when;  ///< part of the newest message's content
    std::string role;  ///< that message's role; empty: any
    ScriptedReply reply;
};

/// How the stand-in engine behaves. As JSON:
///
///     {"loadMs": 0, "exitWhileLoading": null, "neverReady": false,
///      "replies": [{"when": "...", "role": "user", "text": "...", "calls": [{"name": "...", "arguments":
///      {...}}],
///                   "pieceMs": 0, "status": 200, "cutAfterPieces": null, "dieAfterPieces": null}],
///      "default": {"text": "..."}}
///
/// Everything may be left out. Arguments that are a string go out as they are, be they JSON or not.
struct ReplyScript {
    int32_t loadMs = 0;  ///< until the model counts as loaded
    std::optional<int32_t>
        exitWhileLoading;            ///< exit code with which the process ends in place of being loaded
    bool neverReady = false;         ///< the model is never loaded
    std::vector<ReplyRule> replies;  ///< the first that fits is said
    std::optional<ScriptedReply> otherwise;  ///< said when none fits; nothing: a demo reply

    /// Reads a script. False, with the reason in `error`, when it isn't one; keys that mean nothing count as
    /// wrong.
    [[nodiscard]] bool read(const std::string& json, std::string& error);

    /// The reply to this chat request, which has an array "messages".
    ScriptedReply replyTo(const nlohmann::json& request) const;
};

/// What is said without a script. Every reply tells that no language model has written it.
ScriptedReply demoReplyTo(const nlohmann::json& request);
