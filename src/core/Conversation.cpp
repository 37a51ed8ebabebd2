#include "core/Conversation.h"

#include <ctime>

#include "core/Addressing.h"
#include "foundation/LocalTime.h"
#include "foundation/Log.h"
#include "foundation/Ticks.h"
#include "platform/system.h"

namespace {

// How long a text stays in the bubble, beyond the time that it takes to say it.
constexpr uint64_t saidMs = 7000;
constexpr uint64_t saidMsPerByte = 60;
constexpr uint64_t replyMs = 6000;
constexpr uint64_t statementMs = 9000;
constexpr uint64_t engineFailureMs = 20000;

constexpr const char* listening = "Listening...";
constexpr const char* noBrain =
    "Sorry, I couldn't get my brain started. Check your internet connection and try again.";

}  // namespace

void Conversation::say(const std::string& text) {
    clearListening();
    showText(text);
    if (isVoiceOn()) {
        voice.speak(text);
    } else {
        speaking.saySilently(text.size(), tickCount());
    }
    speaking.updateMute(voice.pending, tickCount());
    bubbleHideAt = tickCount() + saidMs + saidMsPerByte * text.size();
}

void Conversation::deliverSentence(const std::string& text) {
    bubble.appendSentence(text);
    textKind = TextKind::other;
    if (isVoiceOn()) {
        voice.speak(text);
    } else {
        speaking.appendSilently(text.size(), tickCount());
    }
    speaking.updateMute(voice.pending, tickCount());
}

void Conversation::startTurn(const std::string& question) {
    beginTurn(question, {});
}

void Conversation::beginTurn(const std::string& question, const HeardTimes& heard) {
    closeTurnLog();
    stopSpeaking();
    thinking = true;
    turnNumber = bringUp.nextNumber();
    times = {};
    times.question = tickCount();
    times.heard = heard;
    asked = formatTime(localTime(std::time(nullptr)), "%H:%M:%S");
    bubbleHideAt = 0;
    showText("");
    setStatus(bringUp.brainReady ? "Thinking..." : bringUp.lastBrainStatus);
    turnThread.start(
        [this, question, turn = turnNumber](CancelFlag* cancel) { runTurn(question, turn, cancel); },
        [this, turn = turnNumber] { messages.post(TurnDone{turn}); });
}

void Conversation::typedText(const std::string& text) {
    bubble.endTyping();
    startTurn(text);
}

void Conversation::stopSpeaking() {
    voice.stop();
    speaking.silentSpeechUntil = 0;
}

void Conversation::end() {
    turnThread.cancel();
    voice.stop();
    closeTurnLog();
}

void Conversation::onWake() {
    if (!ears.capturing || speaking.isMuted(tickCount())) return;  // the capture is over by now
    bubbleHideAt = 0;
    showText("");
    setStatus(listening, StatusKind::listening);
}

void Conversation::onGreet(const Greet& message) {
    if (message.source != bringUp.eyesNumber) return;
    // Without a voice the text is still being read while it counts as speaking.
    if (thinking || bubble.typing || isSpeaking()) return;
    say("Hi " + message.name + "!");
}

/// Returns whether news of this start of ears or eyes may be shown now.
bool Conversation::takesNewsOf(uint64_t source) const {
    const bool isCurrent = source == 0 || source == bringUp.earsNumber || source == bringUp.eyesNumber;
    return isCurrent && !thinking && !bubble.typing;
}

void Conversation::onEarsProgress(const EarsProgress& message) {
    if (!takesNewsOf(message.source)) return;
    if (!bubble.isVisible()) showText("Setting up my ears - one moment...", TextKind::settingUpEars);
    setStatus(message.line);
}

void Conversation::onEarsProblem(const EarsProblem& message) {
    if (!takesNewsOf(message.source)) return;
    setStatus("");
    showText(message.sentence);
    bubbleHideAt = statementUntil = tickCount() + statementMs;
}

void Conversation::onEarsReady(const EarsReady& message) {
    if (!takesNewsOf(message.source)) return;
    const bool isInUse = voice.pending >= 1 || ears.capturing || tickCount() < statementUntil;
    if (bubble.isVisible() && !isInUse) bubble.hide();
}

void Conversation::decideUtterance(const Utterance& message) {
    const Addressed addressed = whatIsMeant(message.text, message.isFollowUp);
    clearListening();
    switch (addressed.kind) {
        case Addressed::Kind::notMeant:
            if (!thinking && !bubble.typing) bubble.hide();
            break;
        case Addressed::Kind::onlyBlank:
            if (!bubble.typing) bubble.hide();
            break;
        case Addressed::Kind::onlyName:
            say("Yes?");
            listenPending = true;
            break;
        case Addressed::Kind::command:
            beginTurn(addressed.command, message.heard);
            setStatus("Heard: " + addressed.command);
            break;
    }
}

void Conversation::guideEars() {
    const uint64_t now = tickCount();
    speaking.updateMute(voice.pending, now);
    ears.muted = speaking.isMuted(now);
    if (!listenPending || ears.muted) return;
    listenPending = false;
    if (!ears.running) return;
    ears.followUpRequested = true;
    setStatus(listening, StatusKind::listening);
}

void Conversation::stopListening() {
    listenPending = false;
    ears.followUpRequested = false;
    const bool isSettingUp = textKind == TextKind::settingUpEars;
    if (statusKind != StatusKind::listening && !isSettingUp) return;
    clearStatus();
    const bool isEmpty = isSettingUp || bubble.text.empty();
    if (isEmpty && !thinking && !bubble.typing) bubble.hide();
}

void Conversation::showText(const std::string& text, TextKind kind) {
    bubble.showText(text);
    textKind = kind;
}

void Conversation::setStatus(const std::string& line, StatusKind kind) {
    bubble.setStatus(line);
    statusKind = kind;
}

/// Doesn't show a hidden bubble, as `setStatus` would.
void Conversation::clearStatus() {
    if (bubble.isVisible()) {
        bubble.setStatus("");
    } else {
        bubble.status.clear();
    }
    statusKind = StatusKind::other;
}

void Conversation::clearListening() {
    if (statusKind == StatusKind::listening) clearStatus();
}

void Conversation::showNotice(const std::string& text) {
    bubbleHideAt = 0;
    showText(text);
}

void Conversation::runTurn(const std::string& question, uint64_t turn, CancelFlag* cancel) {
    if (bringUp.ensureBrain(turn, cancel)) {
        std::string reply;  // not used: the sentences have all been posted by then
        assistant.turn(
            reply, question,
            [&](const std::string& sentence) {
                messages.post(Sentence{turn, sentence, assistant.firstTokenTick});
            },
            [&](const std::string& line) {
                messages.post(BrainStatus{turn, line});
            },
            cancel);
    } else if (!*cancel) {
        messages.post(Sentence{turn, noBrain, 0});
    }
    messages.post(TurnDone{turn});
}

void Conversation::onSentence(const Sentence& message) {
    if (message.turn != turnNumber) return;
    if (times.firstSentence == 0) times.firstSentence = tickCount();
    if (times.firstToken == 0) times.firstToken = message.firstTokenTick;
    setStatus("");
    deliverSentence(message.text);
}

void Conversation::onBrainStatus(const BrainStatus& message) {
    if (message.source != bringUp.startNumber && message.source != turnNumber) return;
    bringUp.lastBrainStatus = message.line;
    const bool isReady = bringUp.brainReady;
    if (!isReady && !thinking && !bubble.typing && !bubble.isVisible()) {
        showText("Getting my brain ready - one moment...");
    }
    if (!isReady || thinking) setStatus(message.line);
}

void Conversation::onTurnDone(const TurnDone& message) {
    if (message.turn != turnNumber) return;
    thinking = false;
    times.done = tickCount();
    setStatus("");
    bubbleHideAt = tickCount() + replyMs;
}

void Conversation::onBrainReady(const BrainReady& message) {
    if (!bringUp.noteBrainReady(message) || thinking) return;
    if (bringUp.brainReady) {
        clearStatus();
        const bool isRead = tickCount() < statementUntil;
        if (bubble.isVisible() && !bubble.typing && !isRead) bubble.hide();
        return;
    }
    const std::string reason = bringUp.lastBrainStatus;
    showText((reason.empty() ? "I couldn't start my brain." : reason) +
             " Right-click me and choose \"Retry download\" to try again.");
    bubbleHideAt = tickCount() + engineFailureMs;
}

bool Conversation::isSpeaking() const {
    return speaking.isSpeaking(voice.pending, tickCount());
}

void Conversation::closeWhenDue(bool asleep) {
    // The sound of a reminder that is spoken before the first sentence doesn't count.
    if (times.firstSound == 0 && times.firstSentence != 0 && voice.startedTick >= times.firstSentence) {
        times.firstSound = voice.startedTick;
    }
    if (times.done != 0 && !isSpeaking()) closeTurnLog();

    const bool isFree = !bubble.typing && voice.pending <= 0 && !thinking && !ears.capturing;
    if (bubbleHideAt != 0 && tickCount() > bubbleHideAt && isFree) {
        bubble.hide();
        bubbleHideAt = 0;
    }
    if (asleep && bubble.isVisible() && !bubble.typing) bubble.hide();
}

/// Logs the turn that is over or replaced, once.
void Conversation::closeTurnLog() {
    if (times.question == 0) return;
    logLine("%s", turnLine(times, asked).c_str());
    times = {};
}
