// DDS, DirectDraw surfaces: the S3TC formats DXT1, DXT3 and DXT5 named by
// their FourCC, and uncompressed 24- and 32-bit pixels described by masks.
#include <bit>

#include "preview/image_decoding.h"

namespace {

// The magic, then a header of 124 bytes; the pixels follow it.
constexpr qint64 kDdsDataAt = 128;
constexpr std::uint32_t kDdsPitchGiven = 0x8;          // header flags: the pitch field holds a row's bytes
constexpr std::uint32_t kDdsAlphaPixels = 0x1;         // pixel format flags
constexpr std::uint32_t kDdsFourCc = 0x4;
constexpr std::uint32_t kDdsRgb = 0x40;

struct DdsChannel {
    std::uint32_t mask = 0;
    int shift = 0;
    std::uint64_t top = 0;  // the mask's value shifted down

    explicit DdsChannel(std::uint32_t m) : mask(m), shift(m == 0 ? 0 : std::countr_zero(m)), top(m >> shift) {}
    // The channel widened or narrowed to 8 bits; `fallback` when the mask is empty.
    std::uint32_t Of(std::uint32_t pixel, std::uint32_t fallback) const
    {
        if (mask == 0) return fallback;
        return static_cast<std::uint32_t>(std::uint64_t((pixel & mask) >> shift) * 255 / top);
    }
};

bool DdsRefuse(ImageResult &result, const char *detail)
{
    return RefuseImage(result, ImageFault::Damaged, QLatin1String(detail));
}

void DecodeDdsPlain(const ImageBytes &data, std::uint32_t flags, const ImageLimits &limits, ImageResult &result)
{
    const std::uint32_t width = data.Le32(16), height = data.Le32(12);
    const std::uint32_t bits = data.Le32(88);
    const bool hasAlpha = (data.Le32(80) & kDdsAlphaPixels) != 0 && data.Le32(104) != 0;
    result.format = QLatin1String(hasAlpha ? "DDS RGBA" : "DDS RGB");
    if (bits != 24 && bits != 32) {
        RefuseImage(result, ImageFault::Unsupported, QStringLiteral("%1 bits a pixel are not read").arg(bits));
        return;
    }
    if (!ImageSizeAllowed(result, width, height, limits)) return;
    const qint64 pixelBytes = bits / 8, rowBytes = qint64(width) * pixelBytes;
    // Some writers pad the rows; the pitch then says by how much.
    const qint64 pitch = (flags & kDdsPitchGiven) != 0 && data.Le32(20) >= rowBytes ? data.Le32(20) : rowBytes;
    if (!data.Has(kDdsDataAt, pitch * (height - 1) + rowBytes)) {
        DdsRefuse(result, "pixel data is shorter than the image needs");
        return;
    }
    if (!AllocateImage(result, width, height, limits)) return;
    const DdsChannel red(data.Le32(92)), green(data.Le32(96)), blue(data.Le32(100)), alpha(hasAlpha ? data.Le32(104) : 0);
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            const qint64 at = kDdsDataAt + pitch * y + pixelBytes * x;
            const std::uint32_t pixel = bits == 32 ? data.Le32(at) : data.Le16(at) | data.Byte(at + 2) << 16;
            result.image.pixels[std::size_t(y) * width + x] =
                alpha.Of(pixel, 255) << 24 | red.Of(pixel, 0) << 16 | green.Of(pixel, 0) << 8 | blue.Of(pixel, 0);
        }
    }
}

}  // namespace

ImageResult DecodeDds(const QByteArray &bytes, const ImageLimits &limits)
{
    const ImageBytes data(bytes);
    ImageResult result;
    result.format = QStringLiteral("DDS");
    if (!data.Has(0, kDdsDataAt)) {
        DdsRefuse(result, "header is cut short");
        return result;
    }
    const std::uint32_t flags = data.Le32(8), formatFlags = data.Le32(80);
    if ((formatFlags & kDdsFourCc) == 0) {
        if ((formatFlags & kDdsRgb) != 0)
            DecodeDdsPlain(data, flags, limits, result);
        else
            RefuseImage(result, ImageFault::Unsupported, QStringLiteral("pixel format is not read"));
        return result;
    }
    const QByteArray fourCc(reinterpret_cast<const char *>(data.data + 84), 4);
    DxtKind kind = DxtKind::Dxt1;
    if (fourCc == "DXT1")
        kind = DxtKind::Dxt1;
    else if (fourCc == "DXT3")
        kind = DxtKind::Dxt3;
    else if (fourCc == "DXT5")
        kind = DxtKind::Dxt5;
    else {
        const QString printable = QString::fromLatin1(fourCc.toPercentEncoding());
        RefuseImage(result, ImageFault::Unsupported, QStringLiteral("FourCC \"%1\" is not read").arg(printable));
        return result;
    }
    result.format = QStringLiteral("DDS %1").arg(QLatin1String(fourCc));
    const std::uint32_t width = data.Le32(16), height = data.Le32(12);
    if (!ImageSizeAllowed(result, width, height, limits)) return result;
    if (!data.Has(kDdsDataAt, DxtDataSize(kind, width, height))) {
        DdsRefuse(result, "DXT data is shorter than the image needs");
        return result;
    }
    if (!AllocateImage(result, width, height, limits)) return result;
    DecodeDxtBlocks(kind, data.data + kDdsDataAt, result.image);
    return result;
}
