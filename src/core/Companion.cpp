#include "core/Companion.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "core/FramePacer.h"
#include "core/Gestures.h"
#include "core/Placement.h"
#include "foundation/Settings.h"
#include "foundation/Ticks.h"
#include "platform/system.h"

Companion* theCompanion = nullptr;

void Companion::windowProc(const Message& message) {
    switch (message.id) {
        case MessageId::WM_APP_WAKE:
            asleep = false;
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
}

void Companion::release() {
    pressed = false;
    if (dragMoved) {
        savePlace();
        placeUnconfirmed = true;
    } else if (asleep) {
        asleep = false;
        animator.startWink();
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
    if (Settings::instance().alwaysOnTop && !window->isOnTop()) window->setOnTop(true);
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
}

int Companion::mainLoop() {
    using Clock = FramePacer::Clock;
    constexpr uint64_t timerMs = 1000;
    FramePacer pacer;
    uint64_t timerDue = tickCount() + timerMs;
    Clock::time_point previous = Clock::now();
    while (true) {
        desktop->processEvents();
        for (const Message& message : messages.take())
            windowProc(message);
        if (tickCount() >= timerDue) {
            timerDue = tickCount() + timerMs;
            windowProc({MessageId::WM_TIMER});
        }
        if (terminationRequested()) windowProc({MessageId::WM_DESTROY});
        if (exitCode) return *exitCode;

        const Clock::time_point now = Clock::now();
        frame(std::chrono::duration<float>(now - previous).count());
        previous = now;
        pacer.setRefreshRate(window->refreshRate());
        std::this_thread::sleep_for(pacer.waitAfterFrame(Clock::now()));
    }
}

void Companion::frame(float seconds) {
    const Gaze gaze = gazeAt(desktop->cursor(), window->rect());
    animator.gazeX = gaze.x;
    animator.gazeY = gaze.y;
    animator.watching = gaze.watching && !asleep;
    animator.state = asleep ? HeadState::Asleep : HeadState::Idle;

    constexpr float longestFrame = 0.1F;  // seconds; after a stall the head goes on, it doesn't jump
    animator.update(std::min(longestFrame, seconds));
    renderer.render(animator.pose);
}
