// Makes the seed corpus of the image fuzz target: one small image of each
// kind the reader decodes, made by the tests' own encoders.
//
//   arcavera-fuzz-image-seeds FOLDER
#include <QDir>
#include <QFile>
#include <QImage>

#include <cstdio>

#include "support/image_factory.h"

using namespace fixtures;

namespace {

// Run-length packets of `raw`, pixels of `size` bytes: a run where a pixel
// repeats, a raw packet of one pixel otherwise.
QByteArray RunLength(const QByteArray &raw, int size)
{
    QByteArray packets;
    for (int at = 0; at < raw.size();) {
        const QByteArray pixel = raw.mid(at, size);
        int count = 1;
        while (count < 128 && raw.mid(at + count * size, size) == pixel) ++count;
        packets += char(count > 1 ? 0x80 | (count - 1) : 0);
        packets += pixel;
        at += count * size;
    }
    return packets;
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    QImage picture(8, 6, QImage::Format_ARGB32);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) picture.setPixel(x, y, qRgba(x * 30, y * 40, 200, 255 - x * 20));
    const QByteArray palette = BlpPalette({0xFF102030, 0xFF405060, 0xFFA0B0C0});
    const QByteArray indices = QByteArray::fromHex("000102000102000102");
    const QByteArray dxt1 = DxtColourBlock(0xF800, 0x001F, DxtIndices({0, 1, 2, 3}, 2));
    const QByteArray dxt5 = Dxt5AlphaBlock(200, 10, DxtIndices({0, 1, 2, 7}, 3)) + dxt1;
    QByteArray argb(5 * 3 * 4, '\x7f');
    // 5 by 3 TGA pixels of each depth, with repeats for the runs.
    const QByteArray grey = QByteArray::fromHex("1010102040 6080a0c0c0 c0ffff0000");
    const QByteArray bgra = QByteArray::fromHex("302010ff302010ff302010ff60504080c0b0a000").repeated(3);
    QByteArray bgr, bgr16, greyAlpha;
    for (int i = 0; i < 15; ++i) {
        bgr += bgra.mid(4 * i, 3);
        bgr16 += QByteArray::fromHex(i % 3 == 0 ? "1f80" : "e07f");
        greyAlpha += grey.mid(i, 1) + char(i * 17);
    }
    const QByteArray map24 = QByteArray::fromHex("302010 605040 c0b0a0"), map16 = QByteArray::fromHex("1f80 e07f 0000");
    const struct {
        const char *name;
        QByteArray bytes;
    } seeds[] = {
        {"blp1-paletted.blp", BlpBytes({1, 1, 0, 0, 4, 3, 3, palette, indices + QByteArray(5, '\x5a')})},
        {"blp1-jpeg-alpha.blp", BlpBytes(Blp1Jpeg(picture, 4))},
        {"blp1-jpeg.blp", BlpBytes(Blp1Jpeg(picture, 3))},
        {"blp2-paletted.blp", BlpBytes({2, 1, 1, 8, 8, 3, 3, palette, indices + indices})},
        {"blp2-dxt1.blp", BlpBytes({2, 1, 2, 0, 1, 5, 6, palette, dxt1.repeated(4)})},
        {"blp2-dxt3.blp", BlpBytes({2, 1, 2, 1, 8, 4, 4, palette, Le64(0x123456789abcdef0) + dxt1})},
        {"blp2-dxt5.blp", BlpBytes({2, 1, 2, 7, 8, 8, 4, palette, dxt5.repeated(2)})},
        {"blp2-argb.blp", BlpBytes({2, 1, 3, 8, 8, 5, 3, palette, argb})},
        {"dxt1.dds", DdsBytes(5, 6, "DXT1", dxt1.repeated(4))},
        {"dxt3.dds", DdsBytes(4, 4, "DXT3", Le64(0x123456789abcdef0) + dxt1)},
        {"dxt5.dds", DdsBytes(8, 4, "DXT5", dxt5.repeated(2))},
        {"rgba.dds", DdsBytes(5, 3, {}, argb, 32, {0xFF0000, 0xFF00, 0xFF, 0xFF000000})},
        {"rgb.dds", DdsBytes(4, 2, {}, argb.left(24), 24, {0xF800, 0x7E0, 0x1F})},
        {"mapped.tga", TgaBytes(1, 5, 3, 8, 0x20, QByteArray::fromHex("000102000102000102000102000102"), map24, 24)},
        {"mapped16.tga", TgaBytes(1, 5, 3, 16, 0x01, QByteArray::fromHex("0100").repeated(15), map16, 16)},
        {"bgra.tga", TgaBytes(2, 5, 3, 32, 0x28, bgra)},
        {"bgr.tga", TgaBytes(2, 5, 3, 24, 0x00, bgr)},
        {"bgr16.tga", TgaBytes(2, 5, 3, 16, 0x31, bgr16)},
        {"bgr15.tga", TgaBytes(2, 5, 3, 15, 0x20, bgr16)},
        {"grey.tga", TgaBytes(3, 5, 3, 8, 0x00, grey)},
        {"grey-alpha.tga", TgaBytes(3, 5, 3, 16, 0x28, greyAlpha)},
        {"mapped-rle.tga", TgaBytes(9, 5, 3, 8, 0x20, RunLength(QByteArray::fromHex("000000010202").repeated(3).left(15), 1),
                                    map24, 24)},
        {"bgra-rle.tga", TgaBytes(10, 5, 3, 32, 0x08, RunLength(bgra, 4))},
        {"bgr-rle.tga", TgaBytes(10, 5, 3, 24, 0x20, RunLength(bgr, 3))},
        {"grey-rle.tga", TgaBytes(11, 5, 3, 8, 0x00, RunLength(grey, 1))},
        {"picture.png", QtImageBytes(picture, "png")},
        {"picture.jpg", QtImageBytes(picture, "jpeg")},
        {"picture.bmp", QtImageBytes(picture, "bmp")},
    };
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    for (const auto &seed : seeds) {
        QFile file(folder.filePath(QString::fromLatin1(seed.name)));
        if (!file.open(QIODevice::WriteOnly) || file.write(seed.bytes) != seed.bytes.size()) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file.fileName()));
            return 1;
        }
    }
    return 0;
}
