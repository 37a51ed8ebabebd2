#include "core/Companion.h"

#include <algorithm>
#include <chrono>
#include <mutex>

#include "core/AssistantProfile.h"
#include "core/Gestures.h"
#include "core/Guard.h"
#include "core/Placement.h"
#include "core/Sight.h"
#include "foundation/Ticks.h"
#include "platform/system.h"

Companion* theCompanion = nullptr;

namespace {

constexpr uint64_t timerMs = 1000;

/// One function for each type of a variant.
template <typename... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;  // for compilers that can't deduce it of an aggregate

}  // namespace

Companion::Companion(Settings& theSettings, const Endpoints& endpoints, const std::vector<ModelInfo>& models)
    : settings(theSettings),
      brain(endpoints, models),
      assistant(brain, endpoints),
      speech(endpoints),
      bringUp(brain, assistant, speech, ears, eyes, messages,
              [&theSettings] {
                  return BringUpChoices{theSettings.modelIndex, theSettings.micOn,
                                        theSettings.micDevice.get(), theSettings.camOn};
              }),
      conversation(assistant, bringUp, ears, voice, bubble, messages,
                   [&theSettings] { return theSettings.voiceOn.load(); }) {
    assistant.user = assistantProfile(theSettings);
}

void Companion::windowProc(const Message& message) {
    const auto number = static_cast<uint32_t>(std::visit([](const auto& kind) { return kind.id; }, message));
    guarded(("message " + std::to_string(number)).c_str(), [&] { handle(message); });
}

void Companion::handle(const Message& message) {
    const Overloaded handlers{
        [this](const VoiceEvent&) { voice.pumpEvents(); },
        [this](const Sentence& sentence) { conversation.onSentence(sentence); },
        [this](const BrainStatus& status) { conversation.onBrainStatus(status); },
        [this](const TurnDone& done) { conversation.onTurnDone(done); },
        [this](const BrainReady& ready) { conversation.onBrainReady(ready); },
        [this](const TrayClicked&) { placeWindow(true); },
        [this](const Wake&) {
            asleep = false;
            conversation.onWake();
        },
        [this](const Utterance& utterance) {
            if (transcriptions.isCurrent(utterance)) conversation.decideUtterance(utterance);
        },
        [this](const EarsProgress& progress) { conversation.onEarsProgress(progress); },
        [this](const EarsProblem& problem) { conversation.onEarsProblem(problem); },
        [this](const EarsReady& ready) { conversation.onEarsReady(ready); },
        [this](const Greet& greet) {
            if (!asleep) conversation.onGreet(greet);
        },
        [this](const TimerTick&) { everySecond(); },
        [this](const LeftPressed& event) { press(event.cursor); },
        [this](const PointerMoved& event) {
            if (pressed) dragTo(event.cursor);
        },
        [this](const LeftReleased&) {
            if (pressed) release();
        },
        [this](const DoubleClicked&) {
            pressed = false;  // its release isn't a further click
            animator.startWink();
        },
        [this](const RightReleased& event) {
            if (menu) menu->popup(event.cursor);
        },
        [this](const Destroy&) { exitCode = 0; },
    };
    std::visit(handlers, message);
}

void Companion::press(Point cursor) {
    pressed = true;
    dragMoved = false;
    dragStartCursor = cursor;
    dragStartWindow = {window->rect().left, window->rect().top};
}

void Companion::dragTo(Point cursor) {
    const Point offset{cursor.x - dragStartCursor.x, cursor.y - dragStartCursor.y};
    if (!dragMoved && !passesDragThreshold(offset)) return;
    dragMoved = true;
    window->moveTo({dragStartWindow.x + offset.x, dragStartWindow.y + offset.y});
    bubble.anchor(window->rect());
}

void Companion::release() {
    pressed = false;
    if (dragMoved) {
        savePlace();
        placeUnconfirmed = true;
    } else if (asleep) {
        asleep = false;
        animator.startWink();
    } else if (bubble.typing) {
        bubble.hide();
    } else {
        bubble.openChat();
    }
    dragMoved = false;
}

void Companion::savePlace() {
    const Rect place = window->rect();
    if (settings.posX == place.left && settings.posY == place.top) return;
    settings.posX = place.left;
    settings.posY = place.top;
    settings.save();
}

void Companion::everySecond() {
    if (placeUnconfirmed && !pressed) {
        placeUnconfirmed = false;
        savePlace();
    }
    for (const std::string& label : assistant.takeDueReminders(tickCount())) {
        asleep = false;
        animator.startWink();
        conversation.say("Reminder: " + label);
    }
    conversation.turnThread.reap();
    bringUp.brainWorker.reap();
    bringUp.earsWorker.reap();
    bringUp.eyesWorker.reap();
    transcriptions.reap();
    if (settings.alwaysOnTop && !menu->isOpen() && !window->isOnTop()) window->setOnTop(true);
}

void Companion::placeWindow(bool keepPosition) {
    HeadPlacement placement;
    placement.size = headSize(settings.sizePx, systemDpi());
    placement.current = window->rect();
    placement.keepPosition = keepPosition;
    placement.saved = {settings.posX, settings.posY};
    placement.primaryWorkArea = desktop->primaryWorkArea();
    placement.workAreaNearest = [this](Point point) { return desktop->workAreaNearest(point); };
    const Rect place = placeHead(placement);
    windowWidth = place.width();
    windowHeight = place.height();
    window->setClickable(headRows(windowWidth, windowHeight));
    window->place(place, settings.alwaysOnTop);
    renderer.resize(windowWidth, windowHeight);
    bubble.anchor(window->rect());
}

int Companion::mainLoop() {
    while (!exitCode)
        pass();
    return *exitCode;
}

void Companion::pass() {
    desktop->processEvents();
    handleMessages();
    if (tickCount() >= timerDue) {
        timerDue = tickCount() + timerMs;
        windowProc(TimerTick{});
    }
    if (terminationRequested()) windowProc(Destroy{});
    if (exitCode) return;
    frame();
    // A sentence is spoken at once, not with the next frame.
    const Clock::time_point end = Clock::now() + pacer.waitAfterFrame(Clock::now());
    while (!exitCode && messages.waitUntil(end))
        handleMessages();
}

void Companion::handleMessages() {
    for (const Message& message : messages.take())
        windowProc(message);
}

void Companion::frame() {
    const Clock::time_point now = Clock::now();
    const float seconds = std::chrono::duration<float>(now - previousFrame).count();
    previousFrame = now;

    const Rect place = window->rect();
    bubble.anchor(place);
    const Gaze gaze = look(place);
    animator.gazeX = gaze.x;
    animator.gazeY = gaze.y;
    animator.watching = gaze.watching && !asleep;
    conversation.guideEars();
    animator.state = headState();
    animator.speechLevel = voice.pending >= 1 ? voice.mouthOpen : -1;

    constexpr float longestFrame = 0.1F;  // seconds; after a stall the head doesn't jump
    animator.update(std::min(longestFrame, seconds));
    renderer.render(animator.pose);
    conversation.closeWhenDue(asleep);
    pacer.setRefreshRate(window->refreshRate());
}

Gaze Companion::look(Rect place) {
    // A camera that is off, or has stopped by itself, sees nobody.
    const Sighting sighting = eyes.running ? eyes.sighting() : Sighting();
    const std::string seen = seenText(sighting);
    if (seen != lastSeenText) {
        lastSeenText = seen;
        const std::lock_guard guard(assistant.mutex);
        assistant.seenText = seen;
    }
    const std::optional<Gaze> face = gazeAtFace(sighting, tickCount());
    return face ? *face : gazeAt(desktop->cursor(), place);
}

HeadState Companion::headState() const {
    if (asleep) return HeadState::Asleep;
    if (conversation.isSpeaking()) return HeadState::Speaking;
    if (ears.capturing) return HeadState::Listening;
    if (conversation.thinking) return HeadState::Thinking;
    return bubble.typing ? HeadState::Listening : HeadState::Idle;
}
