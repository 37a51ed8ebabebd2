#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/bubble_view.h"
#include "platform/desktop.h"

/// The companion's one text surface: a panel beside the head with what is being said, a status line and,
/// while the user types, an edit line. All operations do nothing without a panel, when `create` wasn't called
/// or failed. Changing a text shows the panel, even when the text becomes empty. Texts are UTF-8.
///
/// Threads: window thread only.
class Bubble {
public:
    std::function<void(const std::string& question)> onSubmit;  ///< called on Enter; the question isn't empty
    std::function<void()> onDismiss;  ///< called on Escape, or when the focus is lost while typing
    std::string text;                 ///< only the newest part of a very long text
    std::string status;
    bool typing = false;  ///< the chat box is open
    Rect anchorRect;      ///< the head's window
    Rect workArea;        ///< of the head's screen
    int32_t width = 340;  ///< of the panel, pixels
    int32_t dpi = 96;     ///< from `create`
    bool above = true;    ///< the panel stands above the head, else below it

    Bubble() = default;
    Bubble(const Bubble&) = delete;
    Bubble& operator=(const Bubble&) = delete;

    /// Creates the panel, hidden. The desktop must outlive the bubble; `dpi` scales everything.
    void create(const Desktop& desktop, int32_t dpi);

    /// Sets the place of the head's window. A hidden panel stays hidden.
    void anchor(const Rect& rect);

    void showText(const std::string& newText);

    /// Adds a sentence, after a blank if there is text already.
    void appendSentence(const std::string& sentence);

    void setStatus(const std::string& newStatus);

    /// Shows the edit line and gives it the keyboard.
    void openChat();

    /// Removes the edit line and gives the keyboard back to the window that had it.
    void endTyping();

    /// Hides the panel and gives the keyboard back too.
    void hide();

    [[nodiscard]] bool isVisible() const;

private:
    BubbleViewEvents viewEvents();
    void relayout();

    const Desktop* screens = nullptr;
    std::unique_ptr<BubbleView> view;
};
