// Makes MPQFile.ico, the icon that the association of ".mpq" files names:
// the program's archive drum on a sheet of paper, 48 pixels square.
//
// Usage: arcavera-make-icon OUTPUT_FILE
#include <QCoreApplication>
#include <QImage>
#include <QImageWriter>
#include <QPainter>

#include <cstdio>

#include "tools/archive_drum_widget.h"

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fputs("Usage: arcavera-make-icon OUTPUT_FILE\n", stderr);
        return 1;
    }
    constexpr int size = 48;
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        // A sheet with a folded corner behind the drum.
        painter.setPen(QPen(QColor(0x70, 0x78, 0x88), 1));
        painter.setBrush(QColor(0xf4, 0xf6, 0xfa));
        const QPointF sheet[] = {{8.5, 2.5}, {32.5, 2.5}, {40.5, 10.5}, {40.5, 45.5}, {8.5, 45.5}};
        painter.drawPolygon(sheet, 5);
        painter.drawPolyline(QPolygonF({{32.5, 2.5}, {32.5, 10.5}, {40.5, 10.5}}));
        DrawArchiveDrum(painter, 7, 16, 34);
    }
    QImageWriter writer(QString::fromLocal8Bit(argv[1]), "ico");
    if (!writer.write(image)) {
        std::fprintf(stderr, "arcavera-make-icon: %s\n", writer.errorString().toLocal8Bit().constData());
        return 1;
    }
    return 0;
}
