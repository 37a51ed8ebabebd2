#include "core/WindowMode.h"

#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "core/Companion.h"
#include "core/Guard.h"
#include "core/HeadStart.h"
#include "core/MenuCommands.h"
#include "core/Placement.h"
#include "foundation/Log.h"
#include "platform/system.h"

namespace {

HeadWindowEvents eventsFor(Companion& companion) {
    HeadWindowEvents events;
    events.pointer = [&companion](PointerAction action, Point cursor) {
        switch (action) {
            case PointerAction::press:
                return companion.windowProc(LeftPressed{cursor});
            case PointerAction::move:
                return companion.windowProc(PointerMoved{cursor});
            case PointerAction::release:
                return companion.windowProc(LeftReleased{});
            case PointerAction::doubleClick:
                return companion.windowProc(DoubleClicked{});
        }
    };
    events.menuRequested = [&companion](Point cursor) { companion.windowProc(RightReleased{cursor}); };
    events.closed = [&companion] { companion.windowProc(Destroy{}); };
    return events;
}

MenuViewEvents menuEventsFor(Companion& companion) {
    MenuViewEvents events;
    events.items = [&companion] { return contextMenu(menuState(companion)); };
    events.chosen = guardedCallback(
        "menu entry", [&companion](int32_t id) { carryOut(companion, static_cast<MenuCommand>(id)); });
    events.iconClicked = [&companion] { companion.windowProc(TrayClicked{}); };
    return events;
}

void startVoice(Companion& companion) {
    if (companion.voice.init([&companion] { companion.messages.post(VoiceEvent{}); })) {
        companion.voice.chooseVoice(companion.settings.voiceName.get());
    } else {
        logLine("SAPI voice unavailable");
    }
}

void greet(Companion& companion) {
    const std::string name = companion.settings.userName.get();
    companion.conversation.say(
        name.empty()
            ? "Hi, I'm Velu! Say my name or click me to chat, drag me around, and right-click for settings."
            : "Hi " + name + "! Click me to chat, or right-click for settings.");
}

}  // namespace

bool startCompanion(Companion& companion) {
    std::string problem;
    companion.desktop = Desktop::connect(problem);
    if (!companion.desktop) {
        std::fprintf(stderr, "velu: %s\n", problem.c_str());
        return false;
    }
    const HeadSize size = headSize(companion.settings.sizePx, systemDpi());
    companion.window = HeadWindow::create(*companion.desktop, "Velu", size.width, size.height,
                                          eventsFor(companion), problem);
    const HeadSurface* surface = companion.window ? &companion.window->surface() : nullptr;
    if (!startRenderer(companion.renderer, surface, problem, size.width, size.height)) return false;
    companion.bubble.create(*companion.desktop, systemDpi());
    companion.bubble.onSubmit = guardedCallback(
        "question", [&companion](const std::string& text) { companion.conversation.typedText(text); });
    companion.bubble.onDismiss = [&companion] { companion.bubble.hide(); };
    startVoice(companion);
    companion.placeWindow(false);
    companion.desktop->screensChanged =
        guardedCallback("change of screens", [&companion] { companion.placeWindow(true); });
    companion.menu = std::make_unique<MenuView>(*companion.desktop, "Velu", menuEventsFor(companion));
    companion.transcriptions.listen(companion.ears);
    // Before the engine starts, because the tools are part of what it reads first.
    companion.assistant.learnFace = [&companion](const std::string& name) {
        return companion.eyes.learnFace(name);
    };
    companion.bringUp.startBrainWorker();
    companion.bringUp.startEarsWorker();
    companion.bringUp.startEyesWorker();
    greet(companion);
    return true;
}

void shutDownCompanion(Companion& companion) {
    // For the user it is gone at once, whatever the threads still wait for.
    if (companion.desktop) companion.desktop->screensChanged = nullptr;
    companion.settingsWindow.close();
    companion.menu.reset();
    companion.bubble.hide();
    if (companion.window) companion.window->hide();
    if (companion.desktop) companion.desktop->processEvents();
    companion.bringUp.brainWorker.cancel();
    companion.bringUp.earsWorker.cancel();
    companion.bringUp.eyesWorker.cancel();
    companion.transcriptions.end();
    companion.conversation.end();
    companion.conversation.turnThread.join();
    companion.bringUp.brainWorker.join();
    companion.bringUp.earsWorker.join();
    companion.ears.stop();
    companion.transcriptions.join();
    companion.bringUp.stopEyes();
    companion.bringUp.eyesWorker.join();
    // Last, because the threads above may have waited for their answers.
    companion.speech.stop();
    companion.brain.stop();
}

int runAndShutDown(Companion& companion, const std::function<int()>& work) {
    int code = 1;
    try {
        code = work();
    } catch (const std::exception& error) {
        logLine("ended by an unexpected error: %s", error.what());
    }
    shutDownCompanion(companion);
    return code;
}

int runWindowMode(Companion& companion) {
    catchTermination();
    return runAndShutDown(companion,
                          [&companion] { return startCompanion(companion) ? companion.mainLoop() : 1; });
}
