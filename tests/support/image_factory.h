// Images that the tests make for themselves, byte by byte where Qt writes no
// such format: BLP1 and BLP2, DDS, S3TC blocks, TGA.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>

namespace fixtures {

// Header fields that tests damage: the sides, mipmap 0's offset (its size 64 bytes on).
inline constexpr int kBlpWidthAt = 12;
inline constexpr int kBlp1MipAt = 28;
inline constexpr int kBlp2MipAt = 20;

void PutLe32(QByteArray &bytes, int at, quint32 value);
QByteArray Le64(quint64 value);

struct BlpImage {
    int version = 2;
    quint32 content = 1;                    // 0 JPEG, 1 the others
    quint8 compression = 1, alphaType = 0;  // of BLP2: 1 paletted, 2 DXT, 3 BGRA
    quint32 alphaBits = 0;
    quint32 width = 0, height = 0;
    QByteArray table;  // written as it is: the palette, or the JPEG header's size and bytes
    QByteArray mip;    // mipmap 0, the only one
};
QByteArray BlpBytes(const BlpImage &image);
// 256 BGRA entries, `colours` first and black after them.
QByteArray BlpPalette(const QList<QRgb> &colours);
// A BLP1 holding `image` as BLP1 keeps it: a JPEG of the channels blue,
// green, red and, of four `channels`, alpha (then 8 alpha bits), with no
// colour transform; its header is the JPEG up to the start of the scan.
BlpImage Blp1Jpeg(const QImage &image, int channels);

// The indices of a 4 by 4 block, `bits` wide, perColumn[x] in every row.
// DXT3's alpha half is the indices of 4 bits alone.
quint64 DxtIndices(const QList<int> &perColumn, int bits);
inline QByteArray DxtColourBlock(quint16 c0, quint16 c1, quint64 indices)
{
    return Le64(indices << 32 | quint64(c1) << 16 | c0);
}
inline QByteArray Dxt5AlphaBlock(quint8 a0, quint8 a1, quint64 indices)
{
    return Le64(indices << 16 | quint64(a1) << 8 | a0);
}

// A DDS of the FourCC's blocks, or, with an empty FourCC, of plain pixels of
// `bits` described by the masks red, green, blue, alpha.
QByteArray DdsBytes(quint32 width, quint32 height, const QByteArray &fourCc, const QByteArray &data, quint32 bits = 0,
                    const QList<quint32> &masks = {});

// A TGA of its pixels (or packets) `data`, after the colour map `map` of
// entries of `mapDepth` bits when there is one.
QByteArray TgaBytes(quint8 type, quint16 width, quint16 height, quint8 depth, quint8 descriptor, const QByteArray &data,
                    const QByteArray &map = {}, quint8 mapDepth = 0);

// `image` saved by Qt in `format`.
QByteArray QtImageBytes(const QImage &image, const char *format);

}  // namespace fixtures
