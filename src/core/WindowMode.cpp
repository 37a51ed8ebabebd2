#include "core/WindowMode.h"

#include <cstdio>
#include <string>
#include <utility>

#include "core/Companion.h"
#include "core/HeadStart.h"
#include "core/MenuCommands.h"
#include "core/Placement.h"
#include "foundation/Log.h"
#include "foundation/Settings.h"
#include "platform/system.h"

namespace {

HeadWindowEvents eventsFor(Companion& companion) {
    HeadWindowEvents events;
    events.pointer = [&companion](PointerAction action, Point cursor) {
        constexpr MessageId ids[] = {MessageId::WM_LBUTTONDOWN, MessageId::WM_MOUSEMOVE,
                                     MessageId::WM_LBUTTONUP, MessageId::WM_LBUTTONDBLCLK};
        companion.windowProc({ids[static_cast<size_t>(action)], 0, {}, cursor});
    };
    events.menuRequested = [&companion](Point cursor) {
        companion.windowProc({MessageId::WM_RBUTTONUP, 0, {}, cursor});
    };
    events.closed = [&companion] { companion.windowProc({MessageId::WM_DESTROY}); };
    return events;
}

MenuViewEvents menuEventsFor(Companion& companion) {
    MenuViewEvents events;
    events.items = [&companion] { return contextMenu(menuState(companion)); };
    events.chosen = [&companion](int32_t id) { carryOut(companion, static_cast<MenuCommand>(id)); };
    events.iconClicked = [&companion] {
        companion.windowProc({MessageId::WM_APP_TRAY, static_cast<uint64_t>(MessageId::WM_LBUTTONUP)});
    };
    return events;
}

void startVoice(Companion& companion) {
    if (companion.voice.init([&companion] { companion.messages.post({MessageId::WM_APP_VOICE_EVENT}); })) {
        companion.voice.chooseVoice(Settings::instance().voiceName.get());
    } else {
        logLine("SAPI voice unavailable");
    }
}

void greet(Companion& companion) {
    const std::string name = Settings::instance().userName.get();
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
    const HeadSize size = headSize(Settings::instance().sizePx, systemDpi());
    companion.window = HeadWindow::create(*companion.desktop, "Velu", size.width, size.height,
                                          eventsFor(companion), problem);
    const HeadSurface* surface = companion.window ? &companion.window->surface() : nullptr;
    if (!startRenderer(companion.renderer, surface, problem, size.width, size.height)) return false;
    companion.bubble.create(*companion.desktop, systemDpi());
    companion.bubble.onSubmit = [&companion](const std::string& text) {
        companion.conversation.typedText(text);
    };
    companion.bubble.onDismiss = [&companion] { companion.bubble.hide(); };
    startVoice(companion);
    companion.placeWindow(false);
    companion.desktop->screensChanged = [&companion] { companion.placeWindow(true); };
    companion.menu = std::make_unique<MenuView>(*companion.desktop, "Velu", menuEventsFor(companion));
    companion.transcriptions.listen();
    // Before the engine reads what all turns begin with: the tools are a part of it.
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
    // To the user it is gone at once, whatever the threads still wait for.
    companion.desktop->screensChanged = nullptr;
    companion.settingsWindow.close();
    companion.menu.reset();
    companion.bubble.hide();
    companion.window->hide();
    companion.desktop->processEvents();
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
    // Last: what was joined may have waited for their answers.
    companion.speech.stop();
    companion.brain.stop();
}

int runWindowMode(Companion& companion) {
    catchTermination();
    if (!startCompanion(companion)) return 1;
    const int code = companion.mainLoop();
    shutDownCompanion(companion);
    return code;
}
