// S3TC (DXT1, DXT3, DXT5) blocks: each covers 4 by 4 pixels, row by row
// from the top left; blocks run left to right, then top to bottom.
#include <array>

#include "preview/image_decoding.h"

namespace {

using DxtBlockPixels = std::array<std::uint32_t, 16>;

struct DxtRgb {
    std::uint32_t r, g, b;
};

// A 5:6:5 colour widened to 8 bits a channel, the top bits repeated below.
DxtRgb DxtWiden(std::uint32_t colour)
{
    const std::uint32_t r = (colour >> 11) & 0x1F, g = (colour >> 5) & 0x3F, b = colour & 0x1F;
    return {r << 3 | r >> 2, g << 2 | g >> 4, b << 3 | b >> 2};
}

std::uint32_t DxtPixel(std::uint32_t alpha, DxtRgb c) { return alpha << 24 | c.r << 16 | c.g << 8 | c.b; }

// (a * wa + b * wb) / (wa + wb) rounded to the nearest, as the common
// decoders round the widened channels; truncating darkens by up to one.
std::uint32_t DxtMix(std::uint32_t a, std::uint32_t wa, std::uint32_t b, std::uint32_t wb)
{
    const std::uint32_t sum = wa + wb;
    return (a * wa + b * wb + sum / 2) / sum;
}

DxtRgb DxtBlend(DxtRgb a, std::uint32_t wa, DxtRgb b, std::uint32_t wb)
{
    return {DxtMix(a.r, wa, b.r, wb), DxtMix(a.g, wa, b.g, wb), DxtMix(a.b, wa, b.b, wb)};
}

std::uint32_t DxtLe32(const unsigned char *at)
{
    return std::uint32_t(at[0]) | std::uint32_t(at[1]) << 8 | std::uint32_t(at[2]) << 16 | std::uint32_t(at[3]) << 24;
}

// The colour half of a block, 8 bytes: two 5:6:5 end points, then two bits a
// pixel. Only DXT1 knows the three-colour mode with its transparent fourth.
void DxtColours(const unsigned char *block, bool threeColourMode, DxtBlockPixels &out)
{
    const std::uint32_t c0 = block[0] | std::uint32_t(block[1]) << 8, c1 = block[2] | std::uint32_t(block[3]) << 8;
    const DxtRgb e0 = DxtWiden(c0), e1 = DxtWiden(c1);
    std::array<std::uint32_t, 4> palette{DxtPixel(255, e0), DxtPixel(255, e1), 0, 0};
    if (c0 > c1 || !threeColourMode) {
        palette[2] = DxtPixel(255, DxtBlend(e0, 2, e1, 1));
        palette[3] = DxtPixel(255, DxtBlend(e0, 1, e1, 2));
    } else {
        palette[2] = DxtPixel(255, DxtBlend(e0, 1, e1, 1));
        palette[3] = 0;  // transparent black
    }
    const std::uint32_t indices = DxtLe32(block + 4);
    for (unsigned i = 0; i < 16; ++i) out[i] = palette[(indices >> (2 * i)) & 3];
}

// DXT3's alpha half: four bits a pixel, low nibble first.
void DxtExplicitAlpha(const unsigned char *block, DxtBlockPixels &out)
{
    for (unsigned i = 0; i < 16; ++i) {
        const std::uint32_t nibble = (block[i / 2] >> (4 * (i % 2))) & 0xF;
        out[i] = (out[i] & 0x00FFFFFF) | (nibble * 17) << 24;
    }
}

// DXT5's alpha half: two end points, then three bits a pixel that pick one of
// eight values between them (or six, and 0 and 255, when the first is not
// the greater).
void DxtInterpolatedAlpha(const unsigned char *block, DxtBlockPixels &out)
{
    const std::uint32_t a0 = block[0], a1 = block[1];
    std::array<std::uint32_t, 8> values{a0, a1, 0, 0, 0, 0, 0, 255};
    if (a0 > a1) {
        for (std::uint32_t k = 2; k < 8; ++k) values[k] = DxtMix(a0, 8 - k, a1, k - 1);
    } else {
        for (std::uint32_t k = 2; k < 6; ++k) values[k] = DxtMix(a0, 6 - k, a1, k - 1);
    }
    std::uint64_t indices = 0;
    for (unsigned i = 0; i < 6; ++i) indices |= std::uint64_t(block[2 + i]) << (8 * i);
    for (unsigned i = 0; i < 16; ++i) out[i] = (out[i] & 0x00FFFFFF) | values[(indices >> (3 * i)) & 7] << 24;
}

}  // namespace

qint64 DxtDataSize(DxtKind kind, std::uint32_t width, std::uint32_t height)
{
    const qint64 blocks = (qint64(width) + 3) / 4 * ((qint64(height) + 3) / 4);
    return blocks * (kind == DxtKind::Dxt1 ? 8 : 16);
}

void DecodeDxtBlocks(DxtKind kind, const unsigned char *blocks, DecodedImage &image)
{
    const std::uint32_t across = (image.width + 3) / 4, down = (image.height + 3) / 4;
    const std::size_t blockSize = kind == DxtKind::Dxt1 ? 8 : 16;
    DxtBlockPixels pixels{};
    for (std::uint32_t by = 0; by < down; ++by) {
        for (std::uint32_t bx = 0; bx < across; ++bx, blocks += blockSize) {
            if (kind == DxtKind::Dxt1) {
                DxtColours(blocks, true, pixels);
            } else {
                DxtColours(blocks + 8, false, pixels);
                if (kind == DxtKind::Dxt3)
                    DxtExplicitAlpha(blocks, pixels);
                else
                    DxtInterpolatedAlpha(blocks, pixels);
            }
            // The blocks on the right and bottom edges may reach past the image.
            for (std::uint32_t y = 0; y < 4 && by * 4 + y < image.height; ++y)
                for (std::uint32_t x = 0; x < 4 && bx * 4 + x < image.width; ++x)
                    image.pixels[std::size_t(by * 4 + y) * image.width + bx * 4 + x] = pixels[y * 4 + x];
        }
    }
}
