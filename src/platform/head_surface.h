#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/geometry.h"

/// Where the head is drawn with OpenGL 3.3 core: its window on the desktop, or nothing at all, for pictures
/// into files. Threads: the one that made it; a process may have several.
class HeadSurface {
public:
    /// What a kind of surface does; filled in by the platform.
    struct Operations {
        std::function<bool()> makeCurrent;
        std::function<bool()> isShown;
        std::function<void()> present;
        std::function<bool()> needsOutline;
        std::function<void(const std::vector<Rect>&)> setOutline;
    };

    explicit HeadSurface(Operations operations) : operations(std::move(operations)) {}

    /// A surface that needs no display and has no framebuffer of its own. Null when the system can't draw;
    /// `problem` is then a line for the log.
    static std::unique_ptr<HeadSurface> offscreen(std::string& problem);

    /// Makes this surface's GL context the thread's current one. False when it is lost.
    [[nodiscard]] bool makeCurrent() const { return operations.makeCurrent(); }

    /// False while nobody could see what would be drawn.
    [[nodiscard]] bool isShown() const { return operations.isShown(); }

    /// Shows what was drawn into the default framebuffer, colours multiplied by their alpha. Blocks until the
    /// second vertical blank since the last call, if the driver does that at all. Nothing happens without a
    /// window.
    void present() const { operations.present(); }

    /// True while nothing blends windows with what lies behind them: what isn't head would be black, so the
    /// window must be cut to the head's outline with each frame.
    [[nodiscard]] bool needsOutline() const { return operations.needsOutline(); }

    /// Cuts the window to these rectangles, given from its top left corner.
    void setOutline(const std::vector<Rect>& rows) const { operations.setOutline(rows); }

private:
    Operations operations;
};
