#include "platform/linux/desktop/BrokenText.h"

#include <QTextOption>
#include <cmath>

int32_t BrokenText::heightOf(const std::string& newText, int32_t newWidth) {
    if (newText == text && newWidth == width) return height;
    text = newText;
    width = newWidth;
    QString lines = QString::fromStdString(text);
    lines.replace("\r\n", "\n").replace('\n', QChar::LineSeparator);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.setText(lines);

    double bottom = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, bottom});
        bottom += line.height();
    }
    layout.endLayout();
    height = text.empty() ? 0 : static_cast<int32_t>(std::ceil(bottom));
    return height;
}

void BrokenText::draw(QPainter& painter, QPoint topLeft, int32_t top) const {
    for (int index = 0; index < layout.lineCount(); ++index) {
        const QTextLine line = layout.lineAt(index);
        constexpr double hardly = 0.25;
        if (topLeft.y() + line.y() >= top - hardly * line.height()) line.draw(&painter, topLeft);
    }
}
