#include "core/Conversation.h"

#include <ctime>
#include <exception>

#include "core/Addressing.h"
#include "foundation/LocalTime.h"
#include "foundation/Log.h"
#include "foundation/Settings.h"
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
constexpr const char* settingUpEars = "Setting up my ears - one moment...";

/// A line that tells how far the ears' engine has come.
bool isProgress(const std::string& line) {
    return line.starts_with("Down") || line.starts_with("Unpack") || line.starts_with("Find");
}

constexpr const char* noBrain =
    "Sorry, I couldn't get my brain started. Check your internet connection and try again.";

}  // namespace

void Conversation::say(const std::string& text) {
    clearListening();
    bubble.showText(text);
    if (Settings::instance().voiceOn) {
        voice.speak(text);
    } else {
        speaking.saySilently(text.size(), tickCount());
    }
    speaking.updateMute(voice.pending, tickCount());
    bubbleHideAt = tickCount() + saidMs + saidMsPerByte * text.size();
}

void Conversation::deliverSentence(const std::string& text) {
    bubble.appendSentence(text);
    if (Settings::instance().voiceOn) {
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
    bubble.showText("");
    bubble.setStatus(bringUp.brainReady ? "Thinking..." : bringUp.lastBrainStatus);
    turnThread.start(
        [this, question, turn = turnNumber](CancelFlag* cancel) { runTurn(question, turn, cancel); });
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
    if (!ears.capturing || speaking.isMuted(tickCount())) return;  // over by now, or broken off
    bubbleHideAt = 0;
    bubble.showText("");
    bubble.setStatus(listening);
}

void Conversation::onGreet(const Message& message) {
    if (message.source != bringUp.eyesNumber) return;
    // What is said without a voice is being read, and isn't written over either.
    if (thinking || bubble.typing || isSpeaking()) return;
    say("Hi " + message.text + "!");
}

void Conversation::onEarsStatus(const Message& message) {
    const bool isCurrent =
        message.source == 0 || message.source == bringUp.earsNumber || message.source == bringUp.eyesNumber;
    if (!isCurrent) return;
    if (thinking || bubble.typing) return;
    const std::string& line = message.text;
    if (isProgress(line)) {
        if (!bubble.isVisible()) bubble.showText(settingUpEars);
        bubble.setStatus(line);
    } else if (!line.empty()) {
        bubble.setStatus("");
        bubble.showText(line);
        bubbleHideAt = statementUntil = tickCount() + statementMs;
    } else if (bubble.isVisible() && voice.pending < 1 && !ears.capturing && tickCount() >= statementUntil) {
        bubble.hide();
    }
}

void Conversation::decideUtterance(const Message& message) {
    const bool followUp = (message.parameter & 1U) != 0;
    const Addressed addressed = whatIsMeant(message.text, followUp);
    clearListening();
    switch (addressed.kind) {
        case Addressed::Kind::notMeant:
            if (!thinking && !bubble.typing) bubble.hide();  // what is being typed isn't lost
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
            bubble.setStatus("Heard: " + addressed.command);
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
    bubble.setStatus(listening);
}

void Conversation::stopListening() {
    listenPending = false;
    ears.followUpRequested = false;
    const bool isAboutEars =
        bubble.status == listening || (isProgress(bubble.status) && bubble.text == settingUpEars);
    if (!isAboutEars) return;
    clearStatus();
    const bool isEmpty = bubble.text.empty() || bubble.text == settingUpEars;
    if (isEmpty && !thinking && !bubble.typing) bubble.hide();
}

/// What was being heard is over.
void Conversation::clearListening() {
    if (bubble.status == listening) clearStatus();
}

void Conversation::showNotice(const std::string& text) {
    bubbleHideAt = 0;
    bubble.showText(text);
}

void Conversation::runTurn(const std::string& question, uint64_t turn, CancelFlag* cancel) {
    const auto post = [this, turn](MessageId id, const std::string& text, uint64_t parameter = 0) {
        messages.post({id, parameter, text, {}, turn});
    };
    try {
        if (bringUp.ensureBrain(turn, cancel)) {
            std::string reply;  // everything has gone out by then, sentence by sentence
            assistant.turn(
                reply, question,
                [&](const std::string& sentence) {
                    post(MessageId::WM_APP_SENTENCE, sentence, assistant.firstTokenTick);
                },
                [&post](const std::string& line) { post(MessageId::WM_APP_BRAIN_STATUS, line); }, cancel);
        } else if (!*cancel) {
            post(MessageId::WM_APP_SENTENCE, noBrain);
        }
    } catch (const std::exception& error) {
        logLine("turn ended by an unexpected error: %s", error.what());
    }
    post(MessageId::WM_APP_TURN_DONE, {});
}

void Conversation::onSentence(const Message& message) {
    if (message.source != turnNumber) return;
    if (times.firstSentence == 0) times.firstSentence = tickCount();
    if (times.firstToken == 0) times.firstToken = message.parameter;
    bubble.setStatus("");
    deliverSentence(message.text);
}

void Conversation::onBrainStatus(const Message& message) {
    if (message.source != bringUp.startNumber && message.source != turnNumber) return;
    bringUp.lastBrainStatus = message.text;
    const bool isReady = bringUp.brainReady;
    if (!isReady && !thinking && !bubble.typing && !bubble.isVisible()) {
        bubble.showText("Getting my brain ready - one moment...");
    }
    if (!isReady || thinking) bubble.setStatus(message.text);
}

void Conversation::onTurnDone(const Message& message) {
    if (message.source != turnNumber) return;
    thinking = false;
    times.done = tickCount();
    bubble.setStatus("");
    bubbleHideAt = tickCount() + replyMs;
}

void Conversation::onBrainReady(const Message& message) {
    if (!bringUp.noteBrainReady(message) || thinking) return;
    if (bringUp.brainReady) {
        clearStatus();
        const bool isRead = tickCount() < statementUntil;
        if (bubble.isVisible() && !bubble.typing && !isRead) bubble.hide();
        return;
    }
    const std::string reason = bringUp.lastBrainStatus;
    bubble.showText((reason.empty() ? "I couldn't start my brain." : reason) +
                    " Right-click me and choose \"Retry download\" to try again.");
    bubbleHideAt = tickCount() + engineFailureMs;
}

/// Without showing a bubble that is hidden.
void Conversation::clearStatus() {
    if (bubble.isVisible()) {
        bubble.setStatus("");
    } else {
        bubble.status.clear();
    }
}

bool Conversation::isSpeaking() const {
    return speaking.isSpeaking(voice.pending, tickCount());
}

void Conversation::closeWhenDue(bool asleep) {
    // A reminder that is spoken before the first sentence isn't its sound.
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

/// A line for the turn that is over or replaced, once.
void Conversation::closeTurnLog() {
    if (times.question == 0) return;
    logLine("%s", turnLine(times, asked).c_str());
    times = {};
}
