// The image reader: what each format decodes to, and how damaged or oversized
// images are refused without reading or allocating past their data.
#include <QtTest>

#include "preview/image_reader.h"
#include "support/image_factory.h"

using namespace fixtures;

Q_DECLARE_METATYPE(ImageLimits)

namespace {

constexpr quint16 kRed = 0xF800, kGreen = 0x07E0, kBlue = 0x001F, kWhite = 0xFFFF, kBlack = 0;

QByteArray PalettedBlp(int version, quint32 alphaBits, QByteArray mip)
{
    return BlpBytes({version, 1, 1, 0, alphaBits, 3, 3, BlpPalette({0x7F102030, 0x7F405060, 0x7F708090}), mip});
}

QByteArray DxtBlp(quint32 width, quint32 height, quint32 alphaBits, quint8 alphaType, const QByteArray &blocks)
{
    return BlpBytes({2, 1, 2, alphaType, alphaBits, width, height, BlpPalette({}), blocks});
}

// 8 by 8 pixels, the left half `left`, the right half `right`.
QImage Halves(QRgb left, QRgb right)
{
    QImage image(8, 8, QImage::Format_ARGB32);
    for (int i = 0; i < 64; ++i) image.setPixel(i % 8, i / 8, i % 8 < 4 ? left : right);
    return image;
}

}  // namespace

class TestImageReader : public QObject {
    Q_OBJECT

private slots:
    void decodesEachFormat_data();
    void decodesEachFormat();
    void refusesBadImages_data();
    void refusesBadImages();
};

// Every row is stored as a .TGA: the other readers go by the first bytes.
void TestImageReader::decodesEachFormat_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QList<quint32>>("checks");  // x, y, expected 0xAARRGGBB, ...
    QTest::addColumn<int>("tolerance");           // per channel

    // Pixels 0..8 take colours 0, 1, 2, 0, ...; alpha from the low bits up;
    // the palette's own alpha is ignored.
    QTest::newRow("BLP1 paletted, 1-bit alpha") << PalettedBlp(1, 1, QByteArray::fromHex("000102000102000102" "0d01"))
        << "BLP1 paletted" << QSize(3, 3) << QList<quint32>{0, 0, 0xFF102030, 1, 0, 0x00405060, 2, 2, 0xFF708090} << 0;
    QTest::newRow("BLP2 paletted, 4-bit alpha") << PalettedBlp(2, 4, QByteArray::fromHex("000102000102000102" "0f05000008"))
        << "BLP2 paletted" << QSize(3, 3) << QList<quint32>{1, 0, 0x00405060, 2, 0, 0x55708090, 2, 2, 0x88708090} << 0;
    QTest::newRow("BLP1 JPEG, 4 channels") << BlpBytes(Blp1Jpeg(Halves(0x80C82828, 0xFF2828C8), 4)) << "BLP1 JPEG"
                                           << QSize(8, 8) << QList<quint32>{1, 1, 0x80C82828, 6, 6, 0xFF2828C8} << 4;
    QTest::newRow("BLP1 JPEG, 3 channels") << BlpBytes(Blp1Jpeg(Halves(0xFFC82828, 0xFF2828C8), 3)) << "BLP1 JPEG"
                                           << QSize(8, 8) << QList<quint32>{1, 1, 0xFFC82828, 6, 6, 0xFF2828C8} << 4;
    // Four blocks over 5 by 6 pixels; the thirds of 255 and 8 round to 173
    // and 90. Alpha depth 0: the transparent fourth colour of the second
    // block's three-colour mode is shown opaque.
    QTest::newRow("BLP2 DXT1")
        << DxtBlp(5, 6, 0, 0, DxtColourBlock(kRed, 0x0800, DxtIndices({0, 1, 2, 3}, 2)) +
                                  DxtColourBlock(kBlack, kGreen, DxtIndices({3, 1, 1, 1}, 2)) +
                                  DxtColourBlock(kBlue, kBlue, 0) + DxtColourBlock(kWhite, kBlack, 0))
        << "BLP2 DXT1" << QSize(5, 6) << QList<quint32>{0, 0, 0xFFFF0000, 1, 0, 0xFF080000, 2, 0, 0xFFAD0000, 3, 0,
                                                        0xFF5A0000, 4, 0, 0xFF000000, 0, 5, 0xFF0000FF, 4, 5, 0xFFFFFFFF} << 0;
    QTest::newRow("BLP2 DXT3") << DxtBlp(4, 4, 8, 0, Le64(DxtIndices({15, 0, 5, 8}, 4)) + DxtColourBlock(kWhite, kWhite, 0))
        << "BLP2 DXT3" << QSize(4, 4) << QList<quint32>{0, 0, 0xFFFFFFFF, 1, 0, 0x00FFFFFF, 3, 3, 0x88FFFFFF} << 0;
    // Sevenths of 200 (5/7 rounds to 143, 1/7 to 29); then fifths of 255,
    // and 0 and 255.
    QTest::newRow("BLP2 DXT5")
        << DxtBlp(8, 4, 8, 7, Dxt5AlphaBlock(200, 0, DxtIndices({0, 1, 3, 7}, 3)) + DxtColourBlock(kRed, kRed, 0) +
                                  Dxt5AlphaBlock(0, 255, DxtIndices({2, 6, 7, 0}, 3)) + DxtColourBlock(kBlue, kBlue, 0))
        << "BLP2 DXT5" << QSize(8, 4) << QList<quint32>{0, 0, 0xC8FF0000, 1, 0, 0x00FF0000, 2, 1, 0x8FFF0000, 3, 3,
                                                        0x1DFF0000, 4, 0, 0x330000FF, 5, 0, 0x0000FF, 6, 0, 0xFF0000FF} << 0;
    QTest::newRow("BLP2 ARGB") << BlpBytes({2, 1, 3, 8, 8, 2, 1, {}, QByteArray::fromHex("33221180 66554400")})
                               << "BLP2 ARGB" << QSize(2, 1) << QList<quint32>{0, 0, 0x80112233, 1, 0, 0x00445566} << 0;
    // Three-colour mode: the half of 0 and 255 rounds to 128; the fourth
    // colour is transparent black.
    QTest::newRow("DDS DXT1") << DdsBytes(4, 4, "DXT1", DxtColourBlock(kBlack, kRed, DxtIndices({0, 1, 2, 3}, 2)))
                              << "DDS DXT1" << QSize(4, 4) << QList<quint32>{0, 0, 0xFF000000, 2, 0, 0xFF800000, 3, 3, 0} << 0;
    QTest::newRow("DDS RGBA, red in the low byte")
        << DdsBytes(2, 1, {}, QByteArray::fromHex("11223380 ff0000ff"), 32, {0xFF, 0xFF00, 0xFF0000, 0xFF000000})
        << "DDS RGBA" << QSize(2, 1) << QList<quint32>{0, 0, 0x80112233, 1, 0, 0xFFFF0000} << 0;
    // 24-bit pixels holding 5:6:5 colours: each channel widened to 8 bits.
    QTest::newRow("DDS RGB, narrow masks")
        << DdsBytes(2, 1, {}, QByteArray::fromHex("00f800100000"), 24, {0xF800, 0x7E0, 0x1F}) << "DDS RGB" << QSize(2, 1)
        << QList<quint32>{0, 0, 0xFFFF0000, 1, 0, 0xFF000083} << 0;
    // Descriptor 0x28: eight alpha bits, the first row at the top.
    QTest::newRow("TGA 32-bit") << TgaBytes(2, 2, 2, 32, 0x28, QByteArray::fromHex("302010ff 605040ff 00000000 c0b0a0ff"))
        << "TGA 32-bit" << QSize(2, 2) << QList<quint32>{0, 0, 0xFF102030, 1, 1, 0xFFA0B0C0, 0, 1, 0} << 0;
    // One alpha bit, the top one: clear is transparent.
    QTest::newRow("TGA 16-bit") << TgaBytes(2, 2, 1, 16, 0x21, QByteArray::fromHex("007c e083")) << "TGA 16-bit"
                                << QSize(2, 1) << QList<quint32>{0, 0, 0x00FF0000, 1, 0, 0xFF00FF00} << 0;
    // Descriptor 0: the first row at the bottom, and no alpha bits, so the
    // fourth bytes are not alpha. A run of three crosses into the top row.
    QTest::newRow("TGA 32-bit RLE") << TgaBytes(10, 2, 2, 32, 0, QByteArray::fromHex("8230201000 00605040ff"))
        << "TGA 32-bit RLE" << QSize(2, 2) << QList<quint32>{1, 1, 0xFF102030, 0, 0, 0xFF102030, 1, 0, 0xFF405060} << 0;
    QTest::newRow("TGA grey RLE") << TgaBytes(11, 2, 2, 8, 0x20, QByteArray::fromHex("8140 01ff00")) << "TGA grey RLE"
        << QSize(2, 2) << QList<quint32>{1, 0, 0xFF404040, 0, 1, 0xFFFFFFFF, 1, 1, 0xFF000000} << 0;
    // Descriptor 0x38: eight alpha bits, the first row at the top, each row
    // from the right. A run of two, then one raw pixel.
    QTest::newRow("TGA colour-mapped RLE")
        << TgaBytes(9, 3, 1, 8, 0x38, QByteArray::fromHex("8101 0000"), QByteArray::fromHex("00000000 30201080"), 32)
        << "TGA colour-mapped RLE" << QSize(3, 1) << QList<quint32>{2, 0, 0x80102030, 1, 0, 0x80102030, 0, 0, 0} << 0;
    QTest::newRow("PNG") << QtImageBytes(Halves(0x80FF0000, 0xFF00FF00), "png") << "PNG" << QSize(8, 8)
                         << QList<quint32>{0, 0, 0x80FF0000, 7, 7, 0xFF00FF00} << 0;
}

void TestImageReader::decodesEachFormat()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QList<quint32>, checks);
    QFETCH(int, tolerance);
    const ImageResult result = DecodeImage(bytes, QStringLiteral("units\\Footman.TGA"));
    QVERIFY2(result.Decoded(), qPrintable(result.detail));
    QTEST(result.format, "format");
    QTEST(QSize(int(result.image.width), int(result.image.height)), "size");
    QCOMPARE(result.image.pixels.size(), std::size_t(result.image.width) * result.image.height);
    for (qsizetype i = 0; i + 2 < checks.size(); i += 3) {
        const quint32 pixel = result.image.pixels[checks[i + 1] * result.image.width + checks[i]];
        for (int shift = 0; shift < 32; shift += 8)
            QVERIFY2(std::abs(int(pixel >> shift & 0xFF) - int(checks[i + 2] >> shift & 0xFF)) <= tolerance,
                     qPrintable(QStringLiteral("(%1, %2) is %3").arg(checks[i]).arg(checks[i + 1]).arg(pixel, 8, 16)));
    }
}

// Most rows run with limits wide open, so that only the data bounds what a
// header's claims cost: a reader that allocated for them before checking
// the data would run out of memory.
void TestImageReader::refusesBadImages_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("name");
    QTest::addColumn<ImageLimits>("limits");
    QTest::addColumn<ImageFault>("fault");
    QTest::addColumn<QString>("detail");

    const ImageLimits open{1u << 20, qint64(1) << 40};
    const ImageFault damaged = ImageFault::Damaged, pastLimit = ImageFault::PastLimit;
    auto patched = [](QByteArray bytes, int at, quint32 value) {
        PutLe32(bytes, at, value);
        return bytes;
    };
    auto sized = [&](const QByteArray &bytes, quint32 side) {
        return patched(patched(bytes, kBlpWidthAt, side), kBlpWidthAt + 4, side);
    };
    const QByteArray paletted = PalettedBlp(1, 8, QByteArray(18, '\0'));
    const QByteArray dxt5 = DxtBlp(8, 8, 8, 7, (Dxt5AlphaBlock(0, 0, 0) + DxtColourBlock(0, 0, 0)).repeated(4));
    BlpImage jpeg = Blp1Jpeg(Halves(0xFFFF0000, 0xFFFF0000), 4);
    const QByteArray goodJpeg = BlpBytes(jpeg);
    jpeg.mip.fill('\x55');

    QTest::newRow("empty") << QByteArray() << "x.blp" << open << ImageFault::NotAnImage << "not an image";
    QTest::newRow("BLP header cut short") << paletted.left(100) << "x.blp" << open << damaged << "header is cut short";
    QTest::newRow("BLP past the side limit") << sized(paletted, 65536) << "x.blp" << ImageLimits{} << pastLimit
                                             << "header claims 65536x65536 pixels, past the limit";
    QTest::newRow("BLP past the byte limit") << dxt5 << "x.blp" << ImageLimits{8192, 255} << pastLimit
                                             << "header claims 8x8 pixels, past the limit";
    QTest::newRow("BLP JPEG past the limits") << sized(goodJpeg, 1) << "x.blp" << ImageLimits{4, 1024} << pastLimit
                                              << "header claims 8x8 pixels, past the limit";
    QTest::newRow("BLP mipmap 0 past the end") << patched(paletted, kBlp1MipAt, quint32(paletted.size()) - 4) << "x.blp"
                                               << open << damaged << "mipmap 0 lies past the end of the data";
    QTest::newRow("BLP alpha plane missing") << patched(paletted, kBlp1MipAt + 64, 9) << "x.blp" << open << damaged
                                             << "mipmap 0 is shorter than the image needs";
    QTest::newRow("BLP DXT5 short of 60000x60000") << sized(dxt5, 60000) << "x.blp" << open << damaged
                                                   << "DXT data is shorter than the image needs";
    QTest::newRow("BLP palette cut short") << BlpBytes({1, 1, 0, 0, 0, 2, 2, QByteArray(8, '\0'), QByteArray(4, '\0')})
                                           << "x.blp" << open << damaged << "palette is cut short";
    QTest::newRow("BLP JPEG part garbage") << BlpBytes(jpeg) << "x.blp" << open << damaged
                                           << "JPEG part does not decode (";
    QTest::newRow("BLP JPEG header past the end") << patched(goodJpeg, 156, 0x7FFFFFFF) << "x.blp" << open << damaged
                                                  << "JPEG header lies past the end of the data";
    QTest::newRow("DDS DXT1 short of 60000x60000") << DdsBytes(60000, 60000, "DXT1", QByteArray(64, '\0')) << "x.dds"
                                                   << open << damaged << "DXT data is shorter than the image needs";
    QTest::newRow("DDS RGBA rows short") << DdsBytes(2, 2, {}, QByteArray(15, '\0'), 32, {0xFF, 0xFF00, 0xFF0000, 0})
                                         << "x.dds" << open << damaged << "pixel data is shorter than the image needs";
    QTest::newRow("DDS of another FourCC") << DdsBytes(4, 4, "ATI2", QByteArray(16, '\0')) << "x.dds" << open
                                           << ImageFault::Unsupported << "FourCC \"ATI2\" is not read";
    QTest::newRow("TGA pixels short of 60000x60000") << TgaBytes(2, 60000, 60000, 32, 0, QByteArray(64, '\0')) << "x.tga"
                                                     << open << damaged << "pixel data is shorter than the image needs";
    QTest::newRow("TGA runs short of 60000x60000") << TgaBytes(10, 60000, 60000, 32, 0, QByteArray::fromHex("ff00000000"))
                                                   << "x.tga" << open << damaged << "run-length data ends early";
    // One packet that repeats a pixel 128 times over an image of 4.
    QTest::newRow("TGA run past the image") << TgaBytes(10, 2, 2, 32, 0, QByteArray::fromHex("ff11223344").repeated(2))
                                            << "x.tga" << open << damaged << "a run-length packet runs past the image";
    QTest::newRow("TGA colour index past the map")
        << TgaBytes(1, 2, 1, 8, 0, QByteArray::fromHex("0102"), QByteArray(6, '\0'), 24) << "x.tga" << open << damaged
        << "colour index 2 lies outside the colour map";
    QTest::newRow("TGA colour map past the end") << TgaBytes(1, 1, 1, 8, 0, {}, QByteArray(6, '\0'), 24).chopped(1)
                                                 << "x.tga" << open << damaged << "colour map lies past the end of the data";
    QTest::newRow("PNG damaged") << QtImageBytes(Halves(0xFFFF0000, 0xFFFF0000), "png").left(40) << "x.png" << open
                                 << damaged << "PNG data does not decode";
}

void TestImageReader::refusesBadImages()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, name);
    QFETCH(ImageLimits, limits);
    QFETCH(QString, detail);
    const ImageResult result = DecodeImage(bytes, name, limits);
    QTEST(result.fault, "fault");
    QVERIFY2(result.detail.startsWith(detail), qPrintable(result.detail));
    QVERIFY(result.image.pixels.empty());
}

QTEST_GUILESS_MAIN(TestImageReader)
#include "test_image_reader.moc"
