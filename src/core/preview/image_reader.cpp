#include "preview/image_reader.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>

#include <climits>

#include "preview/image_decoding.h"

namespace {

constexpr qint64 kMebibyte = qint64(1) << 20;

// Both sides are at most 32 bits wide, so the product fits 64 bits.
bool FitsImageLimits(std::uint64_t width, std::uint64_t height, const ImageLimits &limits)
{
    return width <= limits.maxSide && height <= limits.maxSide &&
           width * height * 4 <= static_cast<std::uint64_t>(std::max<qint64>(limits.maxBytes, 0));
}

bool RefusePastLimit(ImageResult &result, std::uint64_t width, std::uint64_t height)
{
    return RefuseImage(result, ImageFault::PastLimit,
                       QStringLiteral("header claims %1x%2 pixels, past the limit").arg(width).arg(height));
}

bool HasExtension(const QString &storedName, const char *extension)
{
    return storedName.endsWith(QLatin1String(extension), Qt::CaseInsensitive);
}

}  // namespace

bool RefuseImage(ImageResult &result, ImageFault kind, const QString &detail)
{
    result.fault = kind;
    result.detail = detail;
    result.image = {};
    return false;
}

bool ImageSizeAllowed(ImageResult &result, std::uint64_t width, std::uint64_t height, const ImageLimits &limits)
{
    if (width == 0 || height == 0)
        return RefuseImage(result, ImageFault::Damaged, QStringLiteral("header claims %1x%2 pixels").arg(width).arg(height));
    return FitsImageLimits(width, height, limits) || RefusePastLimit(result, width, height);
}

bool AllocateImage(ImageResult &result, std::uint64_t width, std::uint64_t height, const ImageLimits &limits)
{
    if (!ImageSizeAllowed(result, width, height, limits)) return false;
    result.image.width = static_cast<std::uint32_t>(width);
    result.image.height = static_cast<std::uint32_t>(height);
    result.image.pixels.assign(static_cast<std::size_t>(width * height), 0);
    return true;
}

ImageResult DecodeWithQt(const QByteArray &bytes, const char *qtFormat, const QString &format,
                         const ImageLimits &limits)
{
    ImageResult result;
    result.format = format;
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, qtFormat);
    reader.setAutoDetectImageFormat(false);  // the named format's reader or none
    // Qt's own cap, in whole mebibytes, keeps its buffers (an indexed image,
    // a scan line) within the limit too.
    reader.setAllocationLimit(static_cast<int>(std::clamp<qint64>((limits.maxBytes + kMebibyte - 1) / kMebibyte, 1, INT_MAX)));
    const QSize claimed = reader.size();
    if (claimed.isValid() && !claimed.isEmpty()) {
        const auto width = static_cast<std::uint64_t>(claimed.width()), height = static_cast<std::uint64_t>(claimed.height());
        if (!FitsImageLimits(width, height, limits)) {
            RefusePastLimit(result, width, height);
            return result;
        }
    }
    QImage image = reader.read();
    if (image.isNull()) {
        RefuseImage(result, ImageFault::Damaged, QStringLiteral("%1 data does not decode").arg(format));
        return result;
    }
    if (!AllocateImage(result, static_cast<std::uint64_t>(image.width()), static_cast<std::uint64_t>(image.height()), limits))
        return result;
    image = std::move(image).convertToFormat(QImage::Format_ARGB32);
    const auto width = static_cast<std::size_t>(image.width());
    for (int y = 0; y < image.height(); ++y) {
        const auto *line = reinterpret_cast<const std::uint32_t *>(image.constScanLine(y));
        std::copy(line, line + width, result.image.pixels.begin() + static_cast<std::ptrdiff_t>(width * static_cast<std::size_t>(y)));
    }
    return result;
}

ImageResult DecodeImage(const QByteArray &bytes, const QString &storedName, const ImageLimits &limits)
{
    const ImageBytes data(bytes);
    if (data.StartsWith("BLP1", 4) || data.StartsWith("BLP2", 4)) return DecodeBlp(bytes, limits);
    if (data.StartsWith("DDS ", 4)) return DecodeDds(bytes, limits);
    if (data.StartsWith("\x89PNG\r\n\x1a\n", 8)) return DecodeWithQt(bytes, "png", QStringLiteral("PNG"), limits);
    if (data.StartsWith("\xff\xd8\xff", 3)) return DecodeWithQt(bytes, "jpeg", QStringLiteral("JPEG"), limits);
    if (data.StartsWith("BM", 2)) return DecodeWithQt(bytes, "bmp", QStringLiteral("BMP"), limits);
    if (HasExtension(storedName, ".tga")) return DecodeTga(bytes, limits);
    ImageResult result;
    RefuseImage(result, ImageFault::NotAnImage, QStringLiteral("not an image"));
    return result;
}
