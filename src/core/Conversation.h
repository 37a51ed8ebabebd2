#pragma once

#include <cstdint>
#include <string>

#include "assistant/Assistant.h"
#include "core/BringUp.h"
#include "core/MessageQueue.h"
#include "core/Speaking.h"
#include "core/TaskSlot.h"
#include "core/TurnTimes.h"
#include "hearing/Ears.h"
#include "presence/Bubble.h"
#include "presence/VoiceOut.h"

/// What is said, heard and asked: takes questions to the assistant on a thread of their own, its sentences to
/// bubble and voice, and keeps one question from treading on another. The newest question wins.
///
/// Threads: window thread only; a turn's thread only posts.
class Conversation {
public:
    Conversation(Assistant& theAssistant, BringUp& theBringUp, Ears& theEars, VoiceOut& theVoice,
                 Bubble& theBubble, MessageQueue& queue)
        : assistant(theAssistant),
          bringUp(theBringUp),
          ears(theEars),
          voice(theVoice),
          bubble(theBubble),
          messages(queue) {}

    /// Shows and speaks a line of the companion's own, in place of what the bubble shows.
    void say(const std::string& text);

    /// Starts a turn on a question, not empty, in place of the one that runs; what was being said is cut off.
    /// Doesn't wait.
    void startTurn(const std::string& question);

    /// A question from the chat box.
    void typedText(const std::string& text);

    /// Ends what is being said or waits to be said.
    void stopSpeaking();

    /// Shows a text that stays until it is replaced or the bubble's next close.
    void showNotice(const std::string& text);

    // What ears and eyes post.
    void onWake();
    void onGreet(const Message& message);
    void onEarsStatus(const Message& message);
    void decideUtterance(const Message& message);

    /// Once a frame: the ears are deaf while something is said, and open for a follow-up when its time has
    /// come.
    void guideEars();

    /// The microphone was switched off: nothing is waited for any more.
    void stopListening();

    // What turns and the engine's start post. Leftovers of replaced ones are dropped.
    void onSentence(const Message& message);
    void onBrainStatus(const Message& message);
    void onTurnDone(const Message& message);
    void onBrainReady(const Message& message);

    [[nodiscard]] bool isSpeaking() const;

    /// Once a frame: closes the bubble and a turn's line in the log when it is time for either.
    void closeWhenDue(bool asleep);

    /// Tells a running turn to end, and the log of it; `turnThread.join` waits for it.
    void end();

    bool thinking = false;        ///< a turn is in flight
    uint64_t turnNumber = 0;      ///< of the newest turn
    uint64_t statementUntil = 0;  ///< until then a statement of ears or eyes is to be read
    bool listenPending = false;   ///< a follow-up is due as soon as it is quiet
    uint64_t bubbleHideAt = 0;    ///< when the bubble is due to close, of `tickCount`; 0: not set
    Speaking speaking;
    TaskSlot turnThread;

private:
    void deliverSentence(const std::string& text);
    void runTurn(const std::string& question, uint64_t turn, CancelFlag* cancel);
    void beginTurn(const std::string& question, const HeardTimes& heard);
    void clearListening();
    void clearStatus();
    void closeTurnLog();

    Assistant& assistant;
    BringUp& bringUp;
    Ears& ears;
    VoiceOut& voice;
    Bubble& bubble;
    MessageQueue& messages;
    TurnTimes times;    ///< of the newest turn; no question when the log was told
    std::string asked;  ///< the time of day of its question
};
