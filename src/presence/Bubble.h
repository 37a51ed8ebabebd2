#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/bubble_view.h"
#include "platform/desktop.h"

/// The companion's one text surface: a panel beside the head with what is being said, a status line and,
/// while the user types, an edit line. Without a panel, because `create` wasn't called or failed, nothing
/// happens. What changes a text shows the panel, even if it then is empty. Texts are UTF-8.
///
/// Threads: window thread only.
class Bubble {
public:
    std::function<void(const std::string& question)> onSubmit;  ///< Enter; never with an empty question
    std::function<void()> onDismiss;  ///< Escape, or the keyboard went elsewhere while typing
    std::string text;                 ///< of a very long one the newest part
    std::string status;
    bool typing = false;  ///< the chat box is open
    Rect anchorRect;      ///< the head's window
    Rect workArea;        ///< of the screen that the head is on
    int32_t width = 340;  ///< of the panel, pixels
    int32_t dpi = 96;     ///< from `create`
    bool above = true;    ///< the panel stands above the head, else below it

    Bubble() = default;
    Bubble(const Bubble&) = delete;
    Bubble& operator=(const Bubble&) = delete;

    /// Makes the panel, hidden. The desktop must outlive the bubble; `dpi` scales everything.
    void create(const Desktop& desktop, int32_t dpi);

    /// Tells where the head is. A hidden panel stays hidden.
    void anchor(const Rect& rect);

    void showText(const std::string& newText);

    /// Adds a sentence, after a blank if there is text already.
    void appendSentence(const std::string& sentence);

    void setStatus(const std::string& newStatus);

    /// Shows the edit line and gives it the keyboard.
    void openChat();

    /// Takes the edit line away and gives the keyboard back to the window that had it.
    void endTyping();

    /// Hides the panel, with the keyboard given back likewise.
    void hide();

    [[nodiscard]] bool isVisible() const;

private:
    BubbleViewEvents viewEvents();
    void relayout();

    const Desktop* screens = nullptr;
    std::unique_ptr<BubbleView> view;
};
