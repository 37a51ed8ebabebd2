#include "platform/linux/desktop/FaceIcon.h"

#include <QPainter>
#include <QPixmap>

namespace {

const QColor shell(226, 230, 236);
const QColor plate(18, 24, 34);
const QColor glow(64, 224, 255);

/// Drawn in a square of 32 units. The shapes are bold ones, so that 16 pixels still show a face.
void paintFace(QPainter& painter) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(shell);
    painter.drawRoundedRect(QRectF(1, 3, 30, 26), 11, 11);
    painter.setBrush(plate);
    painter.drawRoundedRect(QRectF(4, 7, 24, 18), 8, 8);
    painter.setBrush(glow);
    for (const double left : {8.5, 18.5})
        painter.drawRoundedRect(QRectF(left, 11, 5, 10), 2.5, 2.5);
}

QPixmap facePixmap(int side) {
    constexpr double units = 32;
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / units, side / units);
    paintFace(painter);
    return pixmap;
}

}  // namespace

QIcon faceIcon() {
    QIcon icon;
    for (const int side : {16, 22, 24, 32, 48, 64, 128, 256})
        icon.addPixmap(facePixmap(side));
    return icon;
}
