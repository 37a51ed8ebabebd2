#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "assistant/Memory.h"
#include "assistant/UserProfile.h"
#include "brain/Brain.h"
#include "foundation/Callbacks.h"
#include "foundation/Endpoints.h"

/// A pending timer. It isn't stored: it ends with the process.
struct Reminder {
    uint64_t dueTick = 0;  ///< of `tickCount`
    std::string label;     ///< what it is for
};

/// Answers questions: builds the conversation that the language model sees, cuts its streamed reply into
/// sentences, runs the tools that it asks for, and remembers what was said. It has no part in windows or
/// speech: everything it says leaves through callbacks.
///
/// Threads: one turn at a time, on any thread. The operations that say so take `mutex`, which is never held
/// during a request or a callback of the turn.
class Assistant {
public:
    using SentenceFn = std::function<void(const std::string&)>;

    /// Loads the memory. The brain is not owned and must outlive the assistant.
    explicit Assistant(Brain& theBrain, Endpoints hosts = {});

    /// Answers one question. `onSentence` receives everything to be said and shown, in order, while the model
    /// is still writing; `onActivity` receives progress lines; both run on the calling thread. `reply`
    /// becomes the stored answer, or the apology for a failed request, or empty. Blocks until the turn has
    /// ended; setting `cancel` ends it without another word. The engine must be running.
    void turn(std::string& reply, const std::string& question, const SentenceFn& onSentence,
              const StatusFn& onActivity, CancelFlag* cancel);

    /// Has the server read the long beginning that all turns share, before the first question. Blocks.
    void warmUp(CancelFlag* cancel);

    /// Returns the tools offered to the model, in the form that the server takes.
    [[nodiscard]] nlohmann::json toolSchemas() const;

    /// Runs one tool call of the model. Returns a text for the model, whatever happens; nothing is thrown.
    std::string dispatchTool(const std::string& name, const nlohmann::json& arguments,
                             const StatusFn& onActivity, CancelFlag* cancel);

    /// Removes the reminders that are due at `now` (of `tickCount`) and returns their labels in the order in
    /// which they were set. Takes `mutex`.
    std::vector<std::string> takeDueReminders(uint64_t now);

    /// Empties the conversation, or the facts, and saves the memory. They take `mutex`.
    void clearConversation();
    void forgetEverything();

    /// Returns the system prompt, with the date and with what is known and seen at the moment. The caller
    /// holds `mutex`.
    [[nodiscard]] std::string buildSystemPrompt() const;

    /// Fills the memory from its file, if there is one. Call it before other threads use the assistant.
    void loadMemory();

    /// Writes the memory file. The caller holds `mutex`. A failure is not reported: the next save tries
    /// again.
    void saveMemory() const;

    Brain* brain;
    const Endpoints endpoints;
    UserProfile user;  ///< set before the first turn
    /// Learns the face in front of the camera under a name and returns words for the model. Empty until the
    /// eyes have started.
    std::function<std::string(const std::string& name)> learnFace;
    std::string lastQuestion;  ///< of the current turn; used by the turn's thread only
    uint64_t firstTokenTick =
        0;  ///< when the turn's first text arrived, of `tickCount`; the turn's thread only
    std::mutex mutex;

    // Guarded by `mutex`:
    std::string seenText;  ///< what the camera sees now; empty: nobody, or no camera
    Memory memory;
    std::vector<Reminder> timers;  ///< in the order in which they were set

private:
    [[nodiscard]] nlohmann::json openingMessages(const std::string& question);
    /// Runs the passes between the model and its tools. Returns false when a request failed.
    [[nodiscard]] bool runPasses(nlohmann::json& messages, const nlohmann::json& tools, std::string& reply,
                                 const SentenceFn& onSentence, const StatusFn& onActivity,
                                 CancelFlag* cancel);
    void runTools(nlohmann::json& messages, const nlohmann::json& calls, const StatusFn& onActivity,
                  CancelFlag* cancel);
    void store(const std::string& question, std::string& reply);

    /// `dispatchTool` without its guard.
    std::string runTool(const std::string& name, const nlohmann::json& arguments, const StatusFn& onActivity,
                        CancelFlag* cancel);
    std::string remember(const std::string& fact);
    std::string setLocation(const std::string& place, CancelFlag* cancel) const;
    std::string setTimer(const nlohmann::json& arguments);
};
