#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/geometry.h"

/// The place where the head is drawn with OpenGL 3.3 core: its window on the desktop, or no window at all,
/// for pictures in files. Threads: the one that made it; a process may have several surfaces.
class HeadSurface {
public:
    /// The operations of one kind of surface; filled in by the platform.
    struct Operations {
        std::function<bool()> makeCurrent;
        std::function<bool()> isShown;
        std::function<void()> present;
        std::function<bool()> needsOutline;
        std::function<void(const std::vector<Rect>&)> setOutline;
    };

    explicit HeadSurface(Operations operations) : operations(std::move(operations)) {}

    /// Returns a surface that needs no display and has no framebuffer of its own. Returns null when the
    /// system can't draw; `problem` is then a line for the log.
    static std::unique_ptr<HeadSurface> offscreen(std::string& problem);

    /// Makes this surface's GL context the current one. Returns false when the context is lost.
    [[nodiscard]] bool makeCurrent() const { return operations.makeCurrent(); }

    /// Returns false while the surface is hidden, so that drawing would be wasted.
    [[nodiscard]] bool isShown() const { return operations.isShown(); }

    /// Shows the default framebuffer, whose colours are multiplied by their alpha. Blocks until the second
    /// vertical blank since the last call, if the driver supports that. Does nothing without a window.
    void present() const { operations.present(); }

    /// Returns true while no compositor blends windows with what lies behind them. Then the surroundings of
    /// the head would be black, and each frame must cut the window to the head's outline.
    [[nodiscard]] bool needsOutline() const { return operations.needsOutline(); }

    /// Cuts the window to these rectangles, relative to its top left corner.
    void setOutline(const std::vector<Rect>& rows) const { operations.setOutline(rows); }

private:
    Operations operations;
};
