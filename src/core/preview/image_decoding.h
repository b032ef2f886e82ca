// What the readers of src/core/preview share: bounds-checked reads of the
// data, the limits test before any allocation, and the DXT block decoder
// that BLP2 and DDS both use.
#pragma once

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <cstdint>

#include "preview/image_reader.h"

// The data of one image file; every read is checked against its size first.
struct ImageBytes {
    const unsigned char *data;
    qint64 size;

    explicit ImageBytes(const QByteArray &bytes)
        : data(reinterpret_cast<const unsigned char *>(bytes.constData())), size(bytes.size())
    {
    }
    bool Has(qint64 at, qint64 count) const { return at >= 0 && count >= 0 && at <= size && count <= size - at; }
    std::uint32_t Byte(qint64 at) const { return data[at]; }
    std::uint32_t Le16(qint64 at) const { return Byte(at) | Byte(at + 1) << 8; }
    std::uint32_t Le32(qint64 at) const { return Le16(at) | Le16(at + 2) << 16; }
    bool StartsWith(const char *magic, qint64 length) const
    {
        return Has(0, length) && std::equal(data, data + length, reinterpret_cast<const unsigned char *>(magic));
    }
};

// Sets `result` to a fault of `kind` with `detail`; returns false, for `return Refuse(...)`.
bool RefuseImage(ImageResult &result, ImageFault kind, const QString &detail);

// Whether width by height pixels are an image within the limits; refuses
// them otherwise.
bool ImageSizeAllowed(ImageResult &result, std::uint64_t width, std::uint64_t height, const ImageLimits &limits);

// Makes room in result.image for width by height pixels, or refuses an empty
// image or one past the limits. Nothing is allocated before the test.
bool AllocateImage(ImageResult &result, std::uint64_t width, std::uint64_t height, const ImageLimits &limits);

// Decodes a JPEG, PNG or BMP (`qtFormat` "jpeg", "png", "bmp") with Qt's
// reader of that format alone, within the limits; a failure is "<format>
// data does not decode".
ImageResult DecodeWithQt(const QByteArray &bytes, const char *qtFormat, const QString &format,
                         const ImageLimits &limits);

ImageResult DecodeBlp(const QByteArray &bytes, const ImageLimits &limits);
ImageResult DecodeDds(const QByteArray &bytes, const ImageLimits &limits);
ImageResult DecodeTga(const QByteArray &bytes, const ImageLimits &limits);

// Decodes the JPEG of a BLP1 texture into result.image with libjpeg: its
// channels are blue, green, red and, in a fourth, alpha, stored with no
// colour transform. The alpha is 255 throughout unless `keepAlpha`.
bool DecodeBlpJpegPart(const QByteArray &jpeg, bool keepAlpha, const ImageLimits &limits, ImageResult &result);

// --- S3TC blocks of 4 by 4 pixels ---

enum class DxtKind { Dxt1, Dxt3, Dxt5 };

// Bytes of DXT data that width by height pixels take: whole blocks, 8 bytes
// each for DXT1 and 16 for DXT3 and DXT5.
qint64 DxtDataSize(DxtKind kind, std::uint32_t width, std::uint32_t height);

// Decodes `image`'s pixels (allocated, its size set) from `blocks`, which
// hold DxtDataSize bytes. DXT1's fourth colour of a block whose first colour
// is not the greater is transparent black.
void DecodeDxtBlocks(DxtKind kind, const unsigned char *blocks, DecodedImage &image);
