#include "presence/Bubble.h"

#include "presence/BubbleLayout.h"
#include "presence/BubbleText.h"

namespace {

Point middleOf(const Rect& rect) {
    return {rect.left + rect.width() / 2, rect.top + rect.height() / 2};
}

}  // namespace

void Bubble::create(const Desktop& desktop, int32_t newDpi) {
    screens = &desktop;
    dpi = newDpi;
    width = bubbleWidth(dpi);
    workArea = desktop.workAreaNearest(middleOf(anchorRect));
    view = BubbleView::create(desktop, bubbleStyle(dpi), viewEvents());
}

BubbleViewEvents Bubble::viewEvents() {
    BubbleViewEvents events;
    events.clicked = [this] {
        if (!typing) hide();
    };
    events.submitted = [this](const std::string& typed) {
        const std::string question = typedQuestion(typed);
        if (!question.empty() && onSubmit) onSubmit(question);
    };
    events.escaped = [this] {
        if (onDismiss) onDismiss();
    };
    events.deactivated = [this] {
        if (typing && onDismiss) onDismiss();
    };
    return events;
}

void Bubble::anchor(const Rect& rect) {
    const Rect area = screens == nullptr ? workArea : screens->workAreaNearest(middleOf(rect));
    if (rect == anchorRect && area == workArea) return;
    anchorRect = rect;
    workArea = area;
    if (isVisible()) relayout();
}

void Bubble::showText(const std::string& newText) {
    text = newestPart(newText);
    relayout();
}

void Bubble::appendSentence(const std::string& sentence) {
    text = newestPart(text.empty() ? sentence : text + " " + sentence);
    relayout();
}

void Bubble::setStatus(const std::string& newStatus) {
    status = newStatus;
    relayout();
}

void Bubble::openChat() {
    if (!view) return;
    typing = true;
    relayout();
    view->takeKeyboard();
}

void Bubble::endTyping() {
    if (!view) return;
    typing = false;
    relayout();
    view->giveKeyboardBack();
}

void Bubble::hide() {
    if (!view) return;
    // Cleared first: losing the keyboard by hiding isn't a dismissal.
    typing = false;
    view->hide();
}

bool Bubble::isVisible() const {
    return view && view->isVisible();
}

void Bubble::relayout() {
    if (!view) return;
    BubbleFacts facts;
    facts.textHeight = view->textHeight(text, bubbleTextWidth(dpi));
    facts.hasStatus = !status.empty();
    facts.typing = typing;
    facts.anchor = anchorRect;
    facts.workArea = workArea;
    facts.dpi = dpi;
    const BubbleLayout layout = layOutBubble(facts);
    above = layout.above;
    view->show(layout, text, status);
}
