// BLP, the textures of WarCraft III. BLP1 holds a JPEG or paletted image,
// BLP2 a paletted, DXT or plain BGRA one; both keep up to 16 mipmaps, of
// which the first, the whole image, is read here.
#include "preview/image_decoding.h"

namespace {

// BLP1: magic, content (0 JPEG, 1 paletted), alpha bits, width, height,
// picture type, has-mipmaps, 16 mipmap offsets, 16 mipmap sizes.
constexpr qint64 kBlp1HeaderSize = 156;
// BLP2: magic, content (0 JPEG, 1 otherwise), then one byte each of
// compression, alpha depth, alpha type and has-mipmaps, width, height, 16
// offsets and 16 sizes; a palette of 256 colours always follows.
constexpr qint64 kBlp2HeaderSize = 148;
constexpr qint64 kBlpPaletteEntries = 256;
// The shared JPEG header of a JPEG BLP sits after the header, led by its size.
constexpr qint64 kBlpJpegHeaderLimit = 64 * 1024;

enum class BlpContent { Jpeg, Paletted, Dxt1, Dxt3, Dxt5, Bgra };

struct BlpHeader {
    int version = 1;
    BlpContent content = BlpContent::Paletted;
    std::uint32_t alphaBits = 0;
    std::uint32_t width = 0, height = 0;
    std::uint32_t mipOffset = 0, mipSize = 0;
    qint64 tableAt = 0;  // where the palette or the JPEG header's size starts
};

QString BlpFormatName(const BlpHeader &header)
{
    const char *names[] = {"JPEG", "paletted", "DXT1", "DXT3", "DXT5", "ARGB"};
    return QStringLiteral("BLP%1 %2").arg(header.version).arg(QLatin1String(names[static_cast<int>(header.content)]));
}

// Reads the header; false with the fault set when it is cut short or names a
// content this reader does not know.
bool ReadBlpHeader(const ImageBytes &data, BlpHeader &header, ImageResult &result)
{
    header.version = data.Byte(3) == '1' ? 1 : 2;
    result.format = QStringLiteral("BLP%1").arg(header.version);
    const qint64 headerSize = header.version == 1 ? kBlp1HeaderSize : kBlp2HeaderSize;
    if (!data.Has(0, headerSize)) return RefuseImage(result, ImageFault::Damaged, QStringLiteral("header is cut short"));
    const std::uint32_t content = data.Le32(4);
    if (content > 1)
        return RefuseImage(result, ImageFault::Unsupported, QStringLiteral("content type %1 is not read").arg(content));
    qint64 sizesAt = 0;
    if (header.version == 1) {
        header.alphaBits = data.Le32(8);
        header.width = data.Le32(12);
        header.height = data.Le32(16);
        header.content = content == 0 ? BlpContent::Jpeg : BlpContent::Paletted;
        sizesAt = 28;
    } else {
        const std::uint32_t compression = data.Byte(8), alphaType = data.Byte(10);
        header.alphaBits = data.Byte(9);
        header.width = data.Le32(12);
        header.height = data.Le32(16);
        sizesAt = 20;
        if (content == 0) {
            header.content = BlpContent::Jpeg;
        } else if (compression == 1) {
            header.content = BlpContent::Paletted;
        } else if (compression == 2) {
            // DXT1 carries one bit of alpha at most; of the others, alpha
            // type 7 marks the interpolated alpha of DXT5.
            header.content = header.alphaBits <= 1 ? BlpContent::Dxt1
                             : alphaType == 7      ? BlpContent::Dxt5
                                                   : BlpContent::Dxt3;
        } else if (compression == 3) {
            header.content = BlpContent::Bgra;
        } else {
            return RefuseImage(result, ImageFault::Unsupported, QStringLiteral("compression %1 is not read").arg(compression));
        }
    }
    header.mipOffset = data.Le32(sizesAt);
    header.mipSize = data.Le32(sizesAt + 64);
    header.tableAt = headerSize;
    result.format = BlpFormatName(header);
    // Plain BGRA files have been seen with other values there, flags of some
    // kind; their pixels carry four bytes all the same.
    const std::uint32_t bits = header.alphaBits;
    if (header.content != BlpContent::Bgra && bits != 0 && bits != 1 && bits != 4 && bits != 8)
        return RefuseImage(result, ImageFault::Damaged, QStringLiteral("alpha depth %1 is none of 0, 1, 4 and 8").arg(bits));
    return true;
}

bool BlpMipTooShort(ImageResult &result)
{
    return RefuseImage(result, ImageFault::Damaged, QStringLiteral("mipmap 0 is shorter than the image needs"));
}

// Indices into the palette, one byte a pixel, then the alpha plane of
// alphaBits a pixel, packed from the low bits up.
bool DecodeBlpPaletted(const ImageBytes &data, const BlpHeader &header, const ImageLimits &limits, ImageResult &result)
{
    const qint64 count = qint64(header.width) * header.height;
    const qint64 alphaBytes = (count * header.alphaBits + 7) / 8;
    if (header.mipSize < count + alphaBytes) return BlpMipTooShort(result);
    // Every byte indexes a palette of 256 colours, so the whole palette must
    // be there; writers always store all of it.
    if (!data.Has(header.tableAt, kBlpPaletteEntries * 4))
        return RefuseImage(result, ImageFault::Damaged, QStringLiteral("palette is cut short"));
    if (!AllocateImage(result, header.width, header.height, limits)) return false;
    const unsigned char *indices = data.data + header.mipOffset;
    const unsigned char *alpha = indices + count;
    for (qint64 i = 0; i < count; ++i) {
        const std::uint32_t index = indices[i];
        std::uint32_t a = 255;
        if (header.alphaBits == 1)
            a = (alpha[i / 8] >> (i % 8)) & 1 ? 255 : 0;
        else if (header.alphaBits == 4)
            a = ((alpha[i / 2] >> (4 * (i % 2))) & 0xF) * 17;
        else if (header.alphaBits == 8)
            a = alpha[i];
        // The palette is BGRA; its own fourth byte is not the alpha.
        result.image.pixels[std::size_t(i)] = a << 24 | (data.Le32(header.tableAt + qint64(index) * 4) & 0x00FFFFFF);
    }
    return true;
}

// The shared JPEG header and the mipmap's data make one JPEG file.
bool DecodeBlpJpeg(const ImageBytes &data, const BlpHeader &header, const ImageLimits &limits, ImageResult &result)
{
    const qint64 jpegHeaderSize = data.Has(header.tableAt, 4) ? qint64(data.Le32(header.tableAt)) : -1;
    if (jpegHeaderSize < 0 || jpegHeaderSize > kBlpJpegHeaderLimit || !data.Has(header.tableAt + 4, jpegHeaderSize))
        return RefuseImage(result, ImageFault::Damaged, QStringLiteral("JPEG header lies past the end of the data"));
    QByteArray jpeg(reinterpret_cast<const char *>(data.data + header.tableAt + 4), jpegHeaderSize);
    jpeg.append(reinterpret_cast<const char *>(data.data + header.mipOffset), header.mipSize);
    return DecodeBlpJpegPart(jpeg, header.alphaBits > 0, limits, result);
}

}  // namespace

ImageResult DecodeBlp(const QByteArray &bytes, const ImageLimits &limits)
{
    const ImageBytes data(bytes);
    ImageResult result;
    BlpHeader header;
    if (!ReadBlpHeader(data, header, result)) return result;
    // The claimed size first, before anything is read or allocated for it.
    if (!ImageSizeAllowed(result, header.width, header.height, limits)) return result;
    if (!data.Has(header.mipOffset, header.mipSize)) {
        RefuseImage(result, ImageFault::Damaged, QStringLiteral("mipmap 0 lies past the end of the data"));
        return result;
    }
    const unsigned char *mip = data.data + header.mipOffset;
    switch (header.content) {
    case BlpContent::Jpeg:
        DecodeBlpJpeg(data, header, limits, result);
        break;
    case BlpContent::Paletted:
        DecodeBlpPaletted(data, header, limits, result);
        break;
    case BlpContent::Bgra:
        if (header.mipSize < qint64(header.width) * header.height * 4) {
            BlpMipTooShort(result);
            break;
        }
        if (!AllocateImage(result, header.width, header.height, limits)) break;
        for (std::size_t i = 0; i < result.image.pixels.size(); ++i) {
            const std::uint32_t pixel = data.Le32(header.mipOffset + qint64(i) * 4);
            result.image.pixels[i] = header.alphaBits == 0 ? pixel | 0xFF000000 : pixel;
        }
        break;
    case BlpContent::Dxt1:
    case BlpContent::Dxt3:
    case BlpContent::Dxt5: {
        const DxtKind kind = header.content == BlpContent::Dxt1   ? DxtKind::Dxt1
                             : header.content == BlpContent::Dxt3 ? DxtKind::Dxt3
                                                                  : DxtKind::Dxt5;
        if (header.mipSize < DxtDataSize(kind, header.width, header.height)) {
            RefuseImage(result, ImageFault::Damaged, QStringLiteral("DXT data is shorter than the image needs"));
            break;
        }
        if (!AllocateImage(result, header.width, header.height, limits)) break;
        DecodeDxtBlocks(kind, mip, result.image);
        if (header.alphaBits == 0)
            for (std::uint32_t &pixel : result.image.pixels) pixel |= 0xFF000000;
        break;
    }
    }
    return result;
}
