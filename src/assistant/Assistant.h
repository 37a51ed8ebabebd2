#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "assistant/Memory.h"
#include "brain/Brain.h"
#include "foundation/Callbacks.h"
#include "foundation/Endpoints.h"

/// A pending timer. It doesn't outlive the process.
struct Reminder {
    uint64_t dueTick = 0;  ///< of `tickCount`
    std::string label;     ///< what it is for
};

/// What a question becomes: the conversation that the language model sees, its streamed reply cut into
/// sentences, the tools that it asks for, and the memory of what was said. It knows nothing of windows or
/// speech: all it has to say leaves through callbacks.
///
/// Threads: one turn at a time, on any thread; the operations that say so take `mutex`, which is never held
/// across a request or a callback.
class Assistant {
public:
    /// Loads the memory. The brain is not owned and must outlive the assistant.
    explicit Assistant(Brain& theBrain, Endpoints hosts = {});

    /// One question in, one spoken answer out. `onSentence` gets everything to be said and shown, in order,
    /// while the model is still writing; `onActivity` gets progress lines; both run on the calling thread.
    /// `reply` gets what was stored of the answer, or the apology of a failed request, or stays empty. Blocks
    /// until the turn has ended; a flag that turns true ends it without another word. The engine must be
    /// answering.
    void turn(std::string& reply, const std::string& question,
              const std::function<void(const std::string&)>& onSentence, const StatusFn& onActivity,
              CancelFlag* cancel);

    /// Has the server read the long beginning that all turns share before the first question comes. Blocks.
    void warmUp(CancelFlag* cancel);

    /// The tools offered to the model, in the form in which the server takes them.
    [[nodiscard]] nlohmann::json toolSchemas() const;

    /// Carries out one call of the model. Every outcome is a text for the model to read; nothing is thrown.
    std::string dispatchTool(const std::string& name, const nlohmann::json& arguments,
                             const StatusFn& onActivity, CancelFlag* cancel);

    /// The labels of the reminders that are due at `now` (of `tickCount`), in the order in which they were
    /// set; they are pending no more. Takes `mutex`.
    std::vector<std::string> takeDueReminders(uint64_t now);

    /// Empties the conversation, or the facts, and saves. They take `mutex`.
    void clearConversation();
    void forgetEverything();

    /// The system prompt of this moment. The caller holds `mutex`.
    [[nodiscard]] std::string buildSystemPrompt() const;

    /// Fills the memory from its file, if there is one. Before any other thread knows the assistant.
    void loadMemory();

    /// Writes the memory file. The caller holds `mutex`. A failed write isn't told: the next save tries
    /// again.
    void saveMemory() const;

    Brain* brain;
    const Endpoints endpoints;
    /// Learns the face before the camera under a name and answers in words; set when there are eyes. Empty
    /// until then.
    std::function<std::string(const std::string& name)> learnFace;
    std::string lastQuestion;     ///< of the present turn; its thread's own
    uint64_t firstTokenTick = 0;  ///< when its first piece of text came, of `tickCount`; its thread's own
    std::mutex mutex;

    // Guarded by `mutex`:
    std::string seenText;  ///< what the camera sees now; empty: nobody, or no camera
    Memory memory;
    std::vector<Reminder> timers;  ///< in the order in which they were set

private:
    using SentenceFn = std::function<void(const std::string&)>;

    [[nodiscard]] nlohmann::json openingMessages(const std::string& question);
    /// The passes between the model and its tools. False when a request failed.
    [[nodiscard]] bool runPasses(nlohmann::json& messages, const nlohmann::json& tools, std::string& reply,
                                 const std::function<void(const std::string&)>& onSentence,
                                 const StatusFn& onActivity, CancelFlag* cancel);
    void runTools(nlohmann::json& messages, const nlohmann::json& calls, const StatusFn& onActivity,
                  CancelFlag* cancel);
    void store(const std::string& question, std::string& reply);

    /// Fetches what the question plainly needs and places it in the conversation as a finished tool call. At
    /// most one route runs; none can fail.
    void preRoute(const std::string& question, nlohmann::json& messages, const SentenceFn& onSentence,
                  const StatusFn& onActivity, CancelFlag* cancel);
    void routePages(const std::vector<std::string>& urls, const std::string& question,
                    nlohmann::json& messages, const SentenceFn& onSentence, const StatusFn& onActivity,
                    CancelFlag* cancel);
    void routeWeather(const std::string& place, nlohmann::json& messages, const SentenceFn& onSentence,
                      const StatusFn& onActivity, CancelFlag* cancel);
    void routeSearch(const std::string& query, nlohmann::json& messages, const SentenceFn& onSentence,
                     const StatusFn& onActivity, CancelFlag* cancel);

    /// `dispatchTool` without its guard.
    std::string runTool(const std::string& name, const nlohmann::json& arguments, const StatusFn& onActivity,
                        CancelFlag* cancel);
    std::string remember(const std::string& fact);
    std::string setLocation(const std::string& place, CancelFlag* cancel) const;
    std::string setTimer(const nlohmann::json& arguments);
};
