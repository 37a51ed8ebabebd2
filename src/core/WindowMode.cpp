#include "core/WindowMode.h"

#include <cstdio>
#include <string>
#include <utility>

#include "core/Companion.h"
#include "core/HeadStart.h"
#include "core/Placement.h"
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
    events.closed = [&companion] { companion.windowProc({MessageId::WM_DESTROY}); };
    return events;
}

/// In this order: window and renderer first, for without them there is no companion; then what it says, hears
/// and sees with, each of which may be missing; the threads last.
bool start(Companion& companion) {
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
    companion.placeWindow(false);
    companion.desktop->screensChanged = [&companion] { companion.placeWindow(true); };
    return true;
}

/// First what is running is told to stop, then the threads are joined, and the engine that they may still
/// wait for ends last.
void shutDown(Companion& companion) {
    companion.brain.stop();
}

}  // namespace

int runWindowMode(Companion& companion) {
    catchTermination();
    if (!start(companion)) return 1;
    const int code = companion.mainLoop();
    shutDown(companion);
    return code;
}
