// TGA (Truevision Targa): colour-mapped, true-colour and grey images, plain
// or run-length encoded. WarCraft III keeps its map previews in it, 32-bit
// BGRA, bottom-up or top-down. The format has no magic: the stored name's
// extension chose this reader.
#include <vector>

#include "preview/image_decoding.h"

namespace {

// ID length, colour map type, image type, the colour map's first entry,
// length and entry size, the origin, width, height, pixel depth and the
// descriptor; then the ID, the colour map and the pixels.
constexpr qint64 kTgaHeaderSize = 18;
constexpr std::uint32_t kTgaRunLengthType = 8;         // image type bit
constexpr std::uint32_t kTgaAlphaBits = 0x0F;          // descriptor bits
constexpr std::uint32_t kTgaRightToLeft = 0x10;
constexpr std::uint32_t kTgaTopToBottom = 0x20;
constexpr std::uint32_t kTgaRunPacket = 0x80;          // packet header: a run, not raw pixels
constexpr qint64 kTgaMaxPacketPixels = 128;

enum class TgaKind : std::uint32_t { ColourMapped = 1, TrueColour = 2, Grey = 3 };

std::uint32_t TgaWiden5(std::uint32_t v) { return v << 3 | v >> 2; }

// One stored colour of `depth` bits as 0xAARRGGBB. The attribute bits (the
// top bit of 16, the fourth byte of 32) are the alpha only when the
// descriptor says the pixels carry alpha; otherwise they are often zero.
std::uint32_t TgaColour(const unsigned char *at, std::uint32_t depth, bool grey, bool alpha)
{
    if (grey) {
        const std::uint32_t a = depth == 16 && alpha ? at[1] : 255;
        return a << 24 | std::uint32_t(at[0]) * 0x010101;
    }
    if (depth == 15 || depth == 16) {
        const std::uint32_t v = at[0] | std::uint32_t(at[1]) << 8;
        const std::uint32_t a = depth == 16 && alpha && (v & 0x8000) == 0 ? 0 : 255;
        return a << 24 | TgaWiden5(v >> 10 & 0x1F) << 16 | TgaWiden5(v >> 5 & 0x1F) << 8 | TgaWiden5(v & 0x1F);
    }
    const std::uint32_t a = depth == 32 && alpha ? at[3] : 255;
    return a << 24 | std::uint32_t(at[2]) << 16 | std::uint32_t(at[1]) << 8 | at[0];
}

bool TgaColourDepth(std::uint32_t depth) { return depth == 15 || depth == 16 || depth == 24 || depth == 32; }

struct TgaHeader {
    TgaKind kind = TgaKind::TrueColour;
    bool runLength = false;
    std::uint32_t width = 0, height = 0, depth = 0, descriptor = 0;
    std::uint32_t mapFirst = 0, mapLength = 0, mapDepth = 0;
    qint64 mapAt = 0, pixelsAt = 0;
};

// Reads and checks the header; false with the fault set.
bool ReadTgaHeader(const ImageBytes &data, TgaHeader &header, ImageResult &result)
{
    if (!data.Has(0, kTgaHeaderSize)) return RefuseImage(result, ImageFault::Damaged, QStringLiteral("header is cut short"));
    const std::uint32_t type = data.Byte(2), kind = type & ~kTgaRunLengthType;
    if (kind < 1 || kind > 3)
        return RefuseImage(result, ImageFault::Unsupported, QStringLiteral("image type %1 is not read").arg(type));
    header.kind = static_cast<TgaKind>(kind);
    header.runLength = (type & kTgaRunLengthType) != 0;
    header.width = data.Le16(12);
    header.height = data.Le16(14);
    header.depth = data.Byte(16);
    header.descriptor = data.Byte(17);
    const bool hasMap = data.Byte(1) == 1;
    header.mapFirst = hasMap ? data.Le16(3) : 0;
    header.mapLength = hasMap ? data.Le16(5) : 0;
    header.mapDepth = hasMap ? data.Byte(7) : 0;
    header.mapAt = kTgaHeaderSize + data.Byte(0);
    header.pixelsAt = header.mapAt + qint64(header.mapLength) * ((header.mapDepth + 7) / 8);

    result.format = header.kind == TgaKind::ColourMapped ? QStringLiteral("TGA colour-mapped")
                    : header.kind == TgaKind::Grey       ? QStringLiteral("TGA grey")
                                                         : QStringLiteral("TGA %1-bit").arg(header.depth);
    if (header.runLength) result.format += QLatin1String(" RLE");

    const bool depthRead = header.kind == TgaKind::ColourMapped ? header.depth == 8 || header.depth == 16
                           : header.kind == TgaKind::Grey       ? header.depth == 8 || header.depth == 16
                                                                : TgaColourDepth(header.depth);
    if (!depthRead)
        return RefuseImage(result, ImageFault::Unsupported, QStringLiteral("%1 bits a pixel are not read").arg(header.depth));
    if (header.kind == TgaKind::ColourMapped && !hasMap)
        return RefuseImage(result, ImageFault::Damaged, QStringLiteral("colour-mapped image has no colour map"));
    if (hasMap && !TgaColourDepth(header.mapDepth))
        return RefuseImage(result, ImageFault::Unsupported,
                           QStringLiteral("colour map entries of %1 bits are not read").arg(header.mapDepth));
    if (!data.Has(header.mapAt, header.pixelsAt - header.mapAt))
        return RefuseImage(result, ImageFault::Damaged, QStringLiteral("colour map lies past the end of the data"));
    return true;
}

// The pixels in stored order, placed by the origin the descriptor names.
struct TgaPlacer {
    DecodedImage &image;
    bool topDown, rightToLeft;
    std::uint32_t x = 0, row = 0;

    void Put(std::uint32_t pixel)
    {
        const std::uint32_t y = topDown ? row : image.height - 1 - row;
        image.pixels[std::size_t(y) * image.width + (rightToLeft ? image.width - 1 - x : x)] = pixel;
        if (++x == image.width) {
            x = 0;
            ++row;
        }
    }
};

bool TgaEndsEarly(ImageResult &result, bool runLength)
{
    return RefuseImage(result, ImageFault::Damaged, runLength ? QStringLiteral("run-length data ends early")
                                                              : QStringLiteral("pixel data is shorter than the image needs"));
}

bool DecodeTgaPixels(const ImageBytes &data, const TgaHeader &header, const ImageLimits &limits, ImageResult &result)
{
    const qint64 count = qint64(header.width) * header.height;
    const qint64 pixelBytes = (header.depth + 7) / 8;
    // The least data that can hold the pixels: all of them raw, or, run-length
    // encoded, runs of the most pixels a packet holds. Shorter data is
    // refused before the image is allocated.
    const qint64 least = header.runLength ? (count + kTgaMaxPacketPixels - 1) / kTgaMaxPacketPixels * (1 + pixelBytes)
                                          : count * pixelBytes;
    if (!data.Has(header.pixelsAt, least)) return TgaEndsEarly(result, header.runLength);

    const bool alpha = (header.descriptor & kTgaAlphaBits) != 0;
    std::vector<std::uint32_t> colourMap;
    if (header.kind == TgaKind::ColourMapped) {
        const qint64 entryBytes = (header.mapDepth + 7) / 8;
        colourMap.resize(header.mapLength);
        for (std::uint32_t i = 0; i < header.mapLength; ++i)
            colourMap[i] = TgaColour(data.data + header.mapAt + i * entryBytes, header.mapDepth, false, alpha);
    }
    if (!AllocateImage(result, header.width, header.height, limits)) return false;
    TgaPlacer placer{result.image, (header.descriptor & kTgaTopToBottom) != 0, (header.descriptor & kTgaRightToLeft) != 0};
    const bool grey = header.kind == TgaKind::Grey;
    qint64 at = header.pixelsAt;
    for (qint64 done = 0; done < count;) {
        // Without run-length encoding, all the pixels make one raw packet.
        qint64 pixels = count;
        bool run = false;
        if (header.runLength) {
            if (!data.Has(at, 1)) return TgaEndsEarly(result, true);
            const std::uint32_t packet = data.Byte(at++);
            run = (packet & kTgaRunPacket) != 0;
            pixels = (packet & ~kTgaRunPacket) + 1;
            // Runs may cross from one row into the next, as many writers
            // make them, but not past the last pixel.
            if (pixels > count - done)
                return RefuseImage(result, ImageFault::Damaged, QStringLiteral("a run-length packet runs past the image"));
        }
        const qint64 stored = run ? 1 : pixels;
        if (!data.Has(at, stored * pixelBytes)) return TgaEndsEarly(result, header.runLength);
        for (qint64 i = 0; i < stored; ++i, at += pixelBytes) {
            std::uint32_t pixel = 0;
            if (header.kind == TgaKind::ColourMapped) {
                const std::uint32_t index = pixelBytes == 1 ? data.Byte(at) : data.Le16(at);
                if (index < header.mapFirst || index - header.mapFirst >= header.mapLength)
                    return RefuseImage(result, ImageFault::Damaged,
                                       QStringLiteral("colour index %1 lies outside the colour map").arg(index));
                pixel = colourMap[index - header.mapFirst];
            } else {
                pixel = TgaColour(data.data + at, header.depth, grey, alpha);
            }
            for (qint64 k = run ? pixels : 1; k > 0; --k) placer.Put(pixel);
        }
        done += pixels;
    }
    return true;
}

}  // namespace

ImageResult DecodeTga(const QByteArray &bytes, const ImageLimits &limits)
{
    const ImageBytes data(bytes);
    ImageResult result;
    result.format = QStringLiteral("TGA");
    TgaHeader header;
    if (ReadTgaHeader(data, header, result) && ImageSizeAllowed(result, header.width, header.height, limits))
        DecodeTgaPixels(data, header, limits, result);
    return result;
}
