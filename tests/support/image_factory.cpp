#include "support/image_factory.h"

#include <QBuffer>
#include <QtEndian>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <utility>

#include <jpeglib.h>

namespace fixtures {

void PutLe32(QByteArray &bytes, int at, quint32 value) { qToLittleEndian(value, bytes.data() + at); }

QByteArray Le64(quint64 value)
{
    QByteArray bytes(8, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

namespace {

// `size` zero bytes with the 32-bit `fields` at their offsets, in order:
// a later one may overwrite part of an earlier one.
QByteArray ImageFields(int size, std::initializer_list<std::pair<int, quint32>> fields)
{
    QByteArray bytes(size, '\0');
    for (const auto &[at, value] : fields) PutLe32(bytes, at, value);
    return bytes;
}

}  // namespace

QByteArray BlpBytes(const BlpImage &image)
{
    const bool one = image.version == 1;
    const int headerSize = one ? 156 : 148, mipAt = one ? kBlp1MipAt : kBlp2MipAt;
    // BLP1: alpha bits and the picture type; BLP2: one byte each.
    const quint32 bytes8 = one ? image.alphaBits
                               : image.compression | image.alphaBits << 8 | quint32(image.alphaType) << 16;
    QByteArray bytes = ImageFields(headerSize, {{4, image.content}, {8, bytes8}, {20, 5}, {kBlpWidthAt, image.width},
                                                {kBlpWidthAt + 4, image.height}, {mipAt, quint32(headerSize + image.table.size())},
                                                {mipAt + 64, quint32(image.mip.size())}});
    return bytes.replace(0, 4, one ? "BLP1" : "BLP2") + image.table + image.mip;
}

QByteArray BlpPalette(const QList<QRgb> &colours)
{
    QByteArray palette(1024, '\0');
    for (int i = 0; i < colours.size(); ++i) PutLe32(palette, 4 * i, colours[i]);
    return palette;
}

BlpImage Blp1Jpeg(const QImage &image, int channels)
{
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char *out = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &out, &size);
    info.image_width = JDIMENSION(image.width());
    info.image_height = JDIMENSION(image.height());
    info.input_components = channels;
    info.in_color_space = channels == 4 ? JCS_CMYK : JCS_RGB;
    jpeg_set_defaults(&info);
    info.write_Adobe_marker = FALSE;
    jpeg_set_quality(&info, 100, TRUE);
    jpeg_start_compress(&info, TRUE);
    // Red, green, blue (and alpha) bytes with red and blue traded.
    const QImage bgra = image.convertToFormat(channels == 4 ? QImage::Format_RGBA8888 : QImage::Format_RGB888).rgbSwapped();
    while (info.next_scanline < info.image_height) {
        auto *row = const_cast<JSAMPROW>(bgra.constScanLine(int(info.next_scanline)));
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const QByteArray jpeg(reinterpret_cast<const char *>(out), qsizetype(size));
    std::free(out);
    const QByteArray header = jpeg.left(jpeg.indexOf("\xff\xda"));
    QByteArray table(4, '\0');
    PutLe32(table, 0, quint32(header.size()));
    return {1, 0, 0, 0, channels == 4 ? 8u : 0u, quint32(image.width()), quint32(image.height()), table + header,
            jpeg.mid(header.size())};
}

quint64 DxtIndices(const QList<int> &perColumn, int bits)
{
    quint64 indices = 0;
    for (int i = 0; i < 16; ++i) indices |= quint64(perColumn[i % 4]) << (i * bits);
    return indices;
}

QByteArray DdsBytes(quint32 width, quint32 height, const QByteArray &fourCc, const QByteArray &data, quint32 bits,
                    const QList<quint32> &masks)
{
    // The size, the flags (caps, height, width, pixel format), the pixel
    // format's size and flags, the masks, and the caps of a texture.
    const quint32 formatFlags = !fourCc.isEmpty() ? 0x4 : masks.value(3) != 0 ? 0x41 : 0x40;
    QByteArray bytes = ImageFields(128, {{4, 124}, {8, 0x1007}, {12, height}, {16, width}, {76, 32}, {80, formatFlags},
                                         {88, bits}, {92, masks.value(0)}, {96, masks.value(1)}, {100, masks.value(2)},
                                         {104, masks.value(3)}, {108, 0x1000}});
    if (!fourCc.isEmpty()) bytes.replace(84, 4, fourCc);
    return bytes.replace(0, 4, "DDS ") + data;
}

QByteArray TgaBytes(quint8 type, quint16 width, quint16 height, quint8 depth, quint8 descriptor, const QByteArray &data,
                    const QByteArray &map, quint8 mapDepth)
{
    const quint32 entries = map.isEmpty() ? 0 : quint32(map.size() / ((mapDepth + 7) / 8));
    // Bytes 0-7: ID length, map type, image type, first entry, entries, entry size.
    const QByteArray header = ImageFields(20, {{0, quint32(!map.isEmpty()) << 8 | quint32(type) << 16},
                                               {4, entries << 8 | quint32(mapDepth) << 24},
                                               {12, width | quint32(height) << 16}, {16, depth | quint32(descriptor) << 8}});
    return header.left(18) + map + data;
}

QByteArray QtImageBytes(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

}  // namespace fixtures
