// Reading the images an archive holds, for the preview, the command-line
// conversions and the thumbnailer: BLP1 and BLP2 textures, DDS and TGA, and
// the PNG, JPEG and BMP that Qt's own readers decode. The bytes are untrusted: a
// header is never believed past the data that follows it, and nothing is
// allocated past the limits whatever a header claims.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <vector>

// How large a decoded image may grow.
struct ImageLimits {
    std::uint32_t maxSide = 8192;            // pixels, across or down
    qint64 maxBytes = qint64(64) << 20;      // of decoded 32-bit pixels
};

// Pixels row by row from the top, each 0xAARRGGBB with straight (not
// premultiplied) alpha: the layout of QImage::Format_ARGB32.
struct DecodedImage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint32_t> pixels;
};

enum class ImageFault {
    None,
    NotAnImage,   // no reader knows the bytes
    Unsupported,  // a kind of image known but not decoded here (a DDS of another pixel format)
    PastLimit,    // the image would be larger than the limits allow
    Damaged,      // the data contradicts itself or ends early
};

struct ImageResult {
    ImageFault fault = ImageFault::None;
    QString format;  // for display: "BLP2 DXT5", "DDS RGBA", "PNG"; as far as the header told
    QString detail;  // why it is refused, a short English phrase; empty when decoded
    DecodedImage image;

    bool Decoded() const { return fault == ImageFault::None; }
};

// Decodes the first (largest) image of `bytes`. The reader is chosen by the
// first bytes; TGA, which has no magic, by the extension of `storedName`.
ImageResult DecodeImage(const QByteArray &bytes, const QString &storedName, const ImageLimits &limits = {});
