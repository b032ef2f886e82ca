#include "tools/archive_drum_widget.h"

#include <QPainter>
#include <QPainterPath>

void DrawArchiveDrum(QPainter &painter, qreal x, qreal top, qreal width)
{
    const qreal discHeight = width * 0.3;
    painter.setPen(QPen(QColor(0x8a, 0x5a, 0x12), qMax<qreal>(1.0, width / 40.0)));
    for (int disc = 2; disc >= 0; --disc) {
        const qreal discTop = top + disc * discHeight * 0.55;
        QPainterPath side;
        side.addRect(QRectF(x, discTop + discHeight / 2, width, discHeight * 0.55));
        painter.fillPath(side, QColor(0xc9, 0x86, 0x1c));
        painter.drawLine(QPointF(x, discTop + discHeight / 2), QPointF(x, discTop + discHeight * 1.05));
        painter.drawLine(QPointF(x + width, discTop + discHeight / 2), QPointF(x + width, discTop + discHeight * 1.05));
        painter.setBrush(QColor(0xc9, 0x86, 0x1c));
        painter.drawEllipse(QRectF(x, discTop + discHeight * 0.55, width, discHeight));
        painter.setBrush(QColor(0xf2, 0xb1, 0x3b));
        painter.drawEllipse(QRectF(x, discTop, width, discHeight));
    }
}
