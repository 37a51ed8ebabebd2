#include "platform/linux/desktop/BubblePicture.h"

#include <QFontDatabase>
#include <QPainter>
#include <QPainterPath>

namespace {

/// Body and pointer as one shape, along the middle of the border's pen.
QPainterPath outlineOf(const BubbleLayout& layout, const BubbleStyle& style) {
    const double inset = style.borderPen / 2.0;
    const double radius = style.cornerRadius;
    QPainterPath body;
    body.addRoundedRect(QRectF(toQRect(layout.body)).adjusted(inset, inset, -inset, -inset), radius, radius);
    QPolygonF triangle;
    for (const Point& corner : layout.pointer)
        triangle << QPointF(corner.x, corner.y);
    QPainterPath pointer;
    pointer.addPolygon(triangle);
    pointer.closeSubpath();
    return body.united(pointer);
}

}  // namespace

QColor toColor(const Rgb& colour) {
    return {colour.red, colour.green, colour.blue};
}

QRect toQRect(const Rect& rect) {
    return {rect.left, rect.top, rect.width(), rect.height()};
}

QFont bubbleFont(const BubbleStyle& style, int32_t pixels, bool italic) {
    QFont font;
    font.setFamilies({style.fontFamily, QFontDatabase::systemFont(QFontDatabase::GeneralFont).family()});
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixels);
    font.setItalic(italic);
    return font;
}

QImage bubblePicture(const BubbleLayout& layout, const BubbleStyle& style, const BrokenText& body,
                     const std::string& status) {
    QImage picture(layout.window.width(), layout.window.height(), QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(toColor(style.border), style.borderPen, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(toColor(style.background));
    painter.drawPath(outlineOf(layout, style));
    painter.setPen(Qt::NoPen);
    painter.setBrush(toColor(style.editBackground));
    painter.drawRoundedRect(toQRect(layout.edit), style.cornerRadius / 2.0, style.cornerRadius / 2.0);

    painter.setPen(toColor(style.text));
    body.draw(painter, {layout.text.left, layout.textTop}, layout.text.top);

    painter.setFont(bubbleFont(style, style.statusFont, true));
    painter.setPen(toColor(style.statusText));
    const QRect row = toQRect(layout.status);
    const QString line =
        painter.fontMetrics().elidedText(QString::fromStdString(status), Qt::ElideRight, row.width());
    painter.drawText(row, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, line);
    return picture;
}

std::vector<Rect> visibleRows(const QImage& picture) {
    constexpr int half = 128;
    std::vector<Rect> rows;
    for (int y = 0; y < picture.height(); ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
        int left = 0;
        int right = picture.width();
        while (left < right && qAlpha(row[left]) < half)
            ++left;
        while (right > left && qAlpha(row[right - 1]) < half)
            --right;
        if (left < right) rows.push_back({left, y, right, y + 1});
    }
    return rows;
}
