#include "presence/BubbleLayout.h"

#include <algorithm>
#include <limits>

#include "foundation/Scaling.h"

namespace {

// Not scaled: thin lines and gaps look the same on every screen.
constexpr int32_t screenMargin = 6;
constexpr int32_t gapToAnchor = 2;
constexpr int32_t pointerHalfWidth = 9;
constexpr int32_t borderPen = 2;

int32_t scaled(int32_t value, int32_t dpi) {
    constexpr int32_t leastDpi = 24;
    constexpr int32_t mostDpi = 480;
    return mulDiv(value, std::clamp(dpi, leastDpi, mostDpi), 96);
}

struct Metrics {
    explicit Metrics(int32_t dpi)
        : width(bubbleWidth(dpi)),
          pad(scaled(14, dpi)),
          editRow(scaled(30, dpi)),
          editGap(scaled(6, dpi)),
          editHeight(scaled(24, dpi)),
          editOffset(scaled(3, dpi)),
          maxText(scaled(220, dpi)),
          tail(scaled(10, dpi)),
          statusRow(scaled(20, dpi)),
          statusHeight(scaled(18, dpi)),
          minBody(scaled(56, dpi)),
          pointerMargin(scaled(30, dpi)) {}

    int32_t width;
    int32_t pad;         ///< also how far the panel overlaps the anchor
    int32_t editRow;     ///< height reserved for the edit line
    int32_t editGap;     ///< above that row
    int32_t editHeight;  ///< of the edit line itself
    int32_t editOffset;  ///< from the row's top to the edit line
    int32_t maxText;     ///< the tallest text area
    int32_t tail;        ///< height of the pointer
    int32_t statusRow;   ///< height reserved for the status line
    int32_t statusHeight;
    int32_t minBody;        ///< the least height without the pointer
    int32_t pointerMargin;  ///< least distance of the pointer from the sides
};

/// Returns a left or top edge such that `length` pixels lie between the limits, or begin at the first. The
/// result is limited to half of the numbers' range, which leaves room for sums.
int32_t placed(int64_t wanted, int64_t first, int64_t last, int32_t length) {
    constexpr int64_t farthest = std::numeric_limits<int32_t>::max() / 2;
    return static_cast<int32_t>(
        std::clamp(std::max(std::min(wanted, last - length), first), -farthest, farthest));
}

int64_t middleOf(const Rect& rect) {
    return (static_cast<int64_t>(rect.left) + rect.right) / 2;
}

void placeWindow(BubbleLayout& layout, const BubbleFacts& facts, const Metrics& metrics, int32_t height) {
    const Rect& anchor = facts.anchor;
    const Rect& area = facts.workArea;
    const int32_t left =
        placed(middleOf(anchor) - metrics.width / 2, static_cast<int64_t>(area.left) + screenMargin,
               static_cast<int64_t>(area.right) - screenMargin, metrics.width);
    layout.above = static_cast<int64_t>(anchor.top) - height - gapToAnchor >= area.top;
    const int64_t wanted = layout.above ? static_cast<int64_t>(anchor.top) - height + metrics.pad
                                        : static_cast<int64_t>(anchor.bottom) - metrics.pad;
    const int32_t top = placed(wanted, area.top, area.bottom, height);
    layout.window = {left, top, left + metrics.width, top + height};
}

void placePointer(BubbleLayout& layout, const BubbleFacts& facts, const Metrics& metrics) {
    const int64_t onScreen = std::clamp<int64_t>(middleOf(facts.anchor), 0, 100000);
    const auto x = static_cast<int32_t>(std::clamp<int64_t>(
        onScreen - layout.window.left, metrics.pointerMargin, metrics.width - metrics.pointerMargin));
    // Its base lies within the border, so that no line is left between the two.
    const int32_t base = layout.above ? layout.body.bottom - borderPen : layout.body.top + borderPen;
    const int32_t tip = layout.above ? layout.window.height() - 1 : 1;
    layout.pointer = {Point{x - pointerHalfWidth, base}, Point{x + pointerHalfWidth, base}, Point{x, tip}};
}

}  // namespace

int32_t bubbleWidth(int32_t dpi) {
    return scaled(340, dpi);
}

int32_t bubbleTextWidth(int32_t dpi) {
    return bubbleWidth(dpi) - 2 * scaled(14, dpi);
}

BubbleStyle bubbleStyle(int32_t dpi) {
    BubbleStyle style;
    style.fontFamily = "Segoe UI";
    style.bodyFont = scaled(17, dpi);
    style.statusFont = scaled(14, dpi);
    style.cornerRadius = scaled(18, dpi) / 2;
    style.borderPen = borderPen;
    style.background = {18, 20, 30};
    style.border = {0, 190, 215};
    style.text = {232, 238, 245};
    style.statusText = {130, 150, 170};
    style.editBackground = {30, 34, 48};
    style.windowTitle = "Velu says";
    style.placeholder = "Ask Velu anything...";
    return style;
}

BubbleLayout layOutBubble(const BubbleFacts& facts) {
    const Metrics metrics(facts.dpi);
    const int32_t pad = metrics.pad;
    const int32_t editRows = facts.typing ? metrics.editRow + metrics.editGap : 0;
    const int32_t statusRows = facts.hasStatus ? metrics.statusRow : 0;
    const int32_t wanted = std::min(metrics.maxText, facts.textHeight) - 4 + 2 * pad + editRows + statusRows;
    const int32_t height = std::max(wanted, metrics.minBody) + metrics.tail;

    BubbleLayout layout;
    placeWindow(layout, facts, metrics, height);
    layout.body = layout.above ? Rect{0, 0, metrics.width, height - metrics.tail}
                               : Rect{0, metrics.tail, metrics.width, height};
    placePointer(layout, facts, metrics);

    const int32_t left = pad;
    const int32_t right = metrics.width - pad;
    int32_t bottom = layout.body.bottom - pad - editRows;
    if (facts.hasStatus) {
        layout.status = {left, bottom - metrics.statusHeight, right, bottom};
        // A text that fills its area must not run into the status.
        bottom -= metrics.statusHeight;
    }
    const int32_t top = layout.body.top - 2 + pad;
    layout.textTop = std::min(top, bottom - facts.textHeight);
    layout.text = {left, top, right, std::max(bottom, top)};
    if (facts.typing) {
        const int32_t y = layout.body.bottom - pad / 2 - metrics.editRow + metrics.editOffset;
        layout.edit = {left, y, right, y + metrics.editHeight};
    }
    return layout;
}
