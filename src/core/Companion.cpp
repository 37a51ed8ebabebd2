#include "core/Companion.h"

#include <algorithm>
#include <chrono>
#include <mutex>

#include "core/FramePacer.h"
#include "core/Gestures.h"
#include "core/MenuCommands.h"
#include "core/Placement.h"
#include "core/Sight.h"
#include "foundation/Settings.h"
#include "foundation/Ticks.h"
#include "platform/system.h"

Companion* theCompanion = nullptr;

namespace {

constexpr uint64_t timerMs = 1000;

}  // namespace

void Companion::windowProc(const Message& message) {
    switch (message.id) {
        case MessageId::WM_APP_VOICE_EVENT:
            voice.pumpEvents();
            break;
        case MessageId::WM_APP_SENTENCE:
            conversation.onSentence(message);
            break;
        case MessageId::WM_APP_BRAIN_STATUS:
            conversation.onBrainStatus(message);
            break;
        case MessageId::WM_APP_TURN_DONE:
            conversation.onTurnDone(message);
            break;
        case MessageId::WM_APP_BRAIN_READY:
            conversation.onBrainReady(message);
            break;
        case MessageId::WM_APP_TRAY:
            if (message.parameter == static_cast<uint64_t>(MessageId::WM_LBUTTONUP)) placeWindow(true);
            break;
        case MessageId::WM_APP_WAKE:
            asleep = false;
            conversation.onWake();
            break;
        case MessageId::WM_APP_UTTERANCE:
            if (transcriptions.isCurrent(message)) conversation.decideUtterance(message);
            break;
        case MessageId::WM_APP_EARS_STATUS:
            conversation.onEarsStatus(message);
            break;
        case MessageId::WM_APP_GREET:
            if (!asleep) conversation.onGreet(message);
            break;
        case MessageId::WM_TIMER:
            everySecond();
            break;
        case MessageId::WM_LBUTTONDOWN:
            pressed = true;
            dragMoved = false;
            dragStartCursor = message.point;
            dragStartWindow = {window->rect().left, window->rect().top};
            break;
        case MessageId::WM_MOUSEMOVE:
            if (pressed) dragTo(message.point);
            break;
        case MessageId::WM_LBUTTONUP:
            if (pressed) release();
            break;
        case MessageId::WM_LBUTTONDBLCLK:
            // The press that came with it isn't a further click.
            pressed = false;
            animator.startWink();
            break;
        case MessageId::WM_RBUTTONUP:
            if (menu) menu->popup(message.point);
            break;
        case MessageId::WM_DESTROY:
            exitCode = 0;
            break;
        default:
            break;
    }
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
    Settings& settings = Settings::instance();
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
    if (Settings::instance().alwaysOnTop && !menu->isOpen() && !window->isOnTop()) window->setOnTop(true);
}

void Companion::placeWindow(bool keepPosition) {
    const Settings& settings = Settings::instance();
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
        windowProc({MessageId::WM_TIMER});
    }
    if (terminationRequested()) windowProc({MessageId::WM_DESTROY});
    if (exitCode) return;
    frame();
    // A sentence doesn't wait for the next frame to be heard.
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

    constexpr float longestFrame = 0.1F;  // seconds; after a stall the head goes on, it doesn't jump
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
