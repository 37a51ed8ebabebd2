#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "assistant/Assistant.h"
#include "core/BringUp.h"
#include "core/MessageQueue.h"
#include "core/Speaking.h"
#include "core/TaskSlot.h"
#include "core/TurnTimes.h"
#include "hearing/Ears.h"
#include "presence/Bubble.h"
#include "presence/VoiceOut.h"

/// What is said, heard and asked: hands questions to the assistant, each on a thread of its own, and its
/// sentences to bubble and voice. Only one question is answered at a time: the newest one wins.
///
/// Threads: window thread only. The thread of a turn only posts messages.
class Conversation {
public:
    /// `speaksAloud` tells whether the user wants to hear the voice.
    Conversation(Assistant& theAssistant, BringUp& theBringUp, Ears& theEars, VoiceOut& theVoice,
                 Bubble& theBubble, MessageQueue& queue, std::function<bool()> speaksAloud)
        : assistant(theAssistant),
          bringUp(theBringUp),
          ears(theEars),
          voice(theVoice),
          bubble(theBubble),
          messages(queue),
          isVoiceOn(std::move(speaksAloud)) {}

    /// Shows and speaks a line of the companion's own, in place of what the bubble shows.
    void say(const std::string& text);

    /// Starts a turn on `question`, which isn't empty. Replaces the running turn and cuts off what is being
    /// said. Doesn't block.
    void startTurn(const std::string& question);

    /// Takes a question from the chat box.
    void typedText(const std::string& text);

    /// Cuts off what is being said and what is queued behind it.
    void stopSpeaking();

    /// Shows a text that stays until it is replaced or until the bubble closes.
    void showNotice(const std::string& text);

    // Messages of ears and eyes.
    void onWake();
    void onGreet(const Greet& message);
    void onEarsProgress(const EarsProgress& message);
    void onEarsProblem(const EarsProblem& message);
    void onEarsReady(const EarsReady& message);
    void decideUtterance(const Utterance& message);

    /// Mutes the ears while something is said, and requests a follow-up when it is due. Once a frame.
    void guideEars();

    /// Stops waiting for anything to be heard: the microphone was switched off.
    void stopListening();

    // Messages of turns and of the engine's start. Those of replaced ones are dropped.
    void onSentence(const Sentence& message);
    void onBrainStatus(const BrainStatus& message);
    void onTurnDone(const TurnDone& message);
    void onBrainReady(const BrainReady& message);

    [[nodiscard]] bool isSpeaking() const;

    /// Closes the bubble when its time is over, and logs a turn that is over. Once a frame.
    void closeWhenDue(bool asleep);

    /// Cancels the running turn and logs it. `turnThread.join` waits for it.
    void end();

    bool thinking = false;        ///< a turn is in flight
    uint64_t turnNumber = 0;      ///< of the newest turn
    uint64_t statementUntil = 0;  ///< until then a statement of ears or eyes stays readable
    bool listenPending = false;   ///< a follow-up is due as soon as it is quiet
    uint64_t bubbleHideAt = 0;    ///< when the bubble is due to close, of `tickCount`; 0: not set
    Speaking speaking;

private:
    // What the bubble shows, where it matters later.
    enum class TextKind { other, settingUpEars };
    enum class StatusKind { other, listening };

    void showText(const std::string& text, TextKind kind = TextKind::other);
    void setStatus(const std::string& line, StatusKind kind = StatusKind::other);
    void clearStatus();
    void clearListening();
    void deliverSentence(const std::string& text);
    void runTurn(const std::string& question, uint64_t turn, CancelFlag* cancel);
    void beginTurn(const std::string& question, const HeardTimes& heard);
    [[nodiscard]] bool takesNewsOf(uint64_t source) const;
    void closeTurnLog();

    Assistant& assistant;
    BringUp& bringUp;
    Ears& ears;
    VoiceOut& voice;
    Bubble& bubble;
    MessageQueue& messages;
    const std::function<bool()> isVoiceOn;
    TextKind textKind = TextKind::other;
    StatusKind statusKind = StatusKind::other;
    TurnTimes times;    ///< of the newest turn; without a question once it is logged
    std::string asked;  ///< the time of day of its question

public:
    TaskSlot turnThread{"turn"};  ///< last, because the turn uses everything above
};
