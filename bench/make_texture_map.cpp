// Makes a map of large textures for the preview benchmark, each SIDE pixels a
// side (default 2048): a BLP2 of DXT5 blocks, a BLP2 paletted, a BLP1 JPEG of
// four channels, and an uncompressed and a run-length 32-bit TGA. Written
// byte by byte as the tests write theirs, the files stored plain.
// Usage: arcavera-bench-textures ARCHIVE [SIDE]
#include <QFile>
#include <QImage>
#include <QPainter>

#include <cstdio>
#include <cstdlib>

#include "support/archive_factory.h"
#include "support/image_factory.h"

using namespace fixtures;

namespace {

// Something of a landscape, so that JPEG and runs meet real-looking data.
QImage Landscape(int side)
{
    QImage image(side, side, QImage::Format_ARGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, side, side);
    sky.setColorAt(0, QColor(30, 80, 140));
    sky.setColorAt(1, QColor(220, 200, 120));
    painter.fillRect(image.rect(), sky);
    for (int i = 0; i < 64; ++i) {
        painter.setBrush(QColor::fromHsv((i * 37) % 360, 160, 200, 128 + i));
        painter.drawEllipse(QPoint((i * 7919) % side, (i * 104729) % side), side / 12, side / 16);
    }
    return image;
}

QByteArray Pixels(const QImage &image)
{
    return QByteArray(reinterpret_cast<const char *>(image.constBits()), image.sizeInBytes());
}

// Run-length packets of the image's rows: a run where pixels repeat, else raw.
QByteArray TgaRuns(const QImage &image)
{
    QByteArray out;
    for (int y = 0; y < image.height(); ++y) {
        const auto *row = reinterpret_cast<const quint32 *>(image.constScanLine(y));
        for (int x = 0; x < image.width();) {
            int run = 1;
            while (x + run < image.width() && run < 128 && row[x + run] == row[x]) ++run;
            out += char(0x80 | (run - 1));
            out.append(reinterpret_cast<const char *>(row + x), 4);
            x += run;
        }
    }
    return out;
}

}  // namespace

int main(int argc, char *argv[])
{
    const int side = argc == 3 ? std::atoi(argv[2]) : 2048;
    if ((argc != 2 && argc != 3) || side < 4 || side % 4 != 0 || side > 4096) {
        std::fputs("usage: arcavera-bench-textures ARCHIVE [SIDE] (a multiple of 4, up to 4096)\n", stderr);
        return 1;
    }
    const QImage image = Landscape(side);
    QByteArray dxt5;
    for (int block = 0; block < (side / 4) * (side / 4); ++block) {
        const auto c = static_cast<quint16>(block * 2654435761u >> 16);
        dxt5 += Dxt5AlphaBlock(255, quint8(block), 0x249249249249ull) + DxtColourBlock(c, quint16(~c), 0x1b1b1b1b);
    }
    QByteArray indices;
    const QImage indexed = image.convertToFormat(QImage::Format_Indexed8);
    for (int y = 0; y < side; ++y) indices.append(reinterpret_cast<const char *>(indexed.constScanLine(y)), side);
    QList<QRgb> colours = indexed.colorTable();
    const auto w = quint32(side);
    QFile out(QString::fromLocal8Bit(argv[1]));
    const QByteArray archive = HandMadeArchive(
        16, {{"dxt5.blp", BlpBytes({2, 1, 2, 7, 8, w, w, {}, dxt5})},
             {"paletted.blp", BlpBytes({2, 1, 1, 0, 0, w, w, BlpPalette(colours), indices})},
             {"jpeg.blp", BlpBytes(Blp1Jpeg(image, 4))},
             {"plain.tga", TgaBytes(2, quint16(side), quint16(side), 32, 0x28, Pixels(image))},
             {"runs.tga", TgaBytes(10, quint16(side), quint16(side), 32, 0x28, TgaRuns(image))}});
    if (!out.open(QIODevice::WriteOnly) || out.write(archive) != archive.size()) return 1;
    return 0;
}
