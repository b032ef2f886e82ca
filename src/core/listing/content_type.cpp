#include "listing/content_type.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

namespace {

// The looked-at bytes; every read is checked against their count.
struct HeadBytes {
    const unsigned char *data;
    qsizetype size;

    bool Has(qsizetype at, qsizetype count) const { return at >= 0 && count >= 0 && at <= size - count; }
    unsigned Byte(qsizetype at) const { return data[at]; }
    unsigned Le16(qsizetype at) const { return Byte(at) | Byte(at + 1) << 8; }
    quint32 Le32(qsizetype at) const { return Le16(at) | quint32(Le16(at + 2)) << 16; }
    bool StartsWith(std::string_view magic, qsizetype at = 0) const
    {
        const auto length = static_cast<qsizetype>(magic.size());
        return Has(at, length) && std::equal(magic.begin(), magic.end(), data + at,
                                             [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; });
    }
};

// --- MPEG audio without an ID3 tag ---

// Kilobits per second by [MPEG-1 or not][layer - 1][bitrate index]; index 0 (free
// format, whose frame length no header tells) and 15 (forbidden) are refused before.
constexpr unsigned short kMpegKbps[2][3][15] = {
    {{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
     {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
     {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}},
    {{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}}};
// MPEG-1 sampling rates; MPEG-2 halves them, MPEG-2.5 quarters them.
constexpr unsigned kMpegHz[3] = {44100, 48000, 32000};

struct MpegFrame {
    unsigned stream;  // version, layer and sampling rate bits: the same in every frame of a file
    qint64 length;    // bytes up to the next frame's header
};

// The frame whose four-byte header starts at `at`; a length of 0 when there is none.
MpegFrame MpegFrameAt(const HeadBytes &head, qsizetype at)
{
    if (!head.Has(at, 4) || head.Byte(at) != 0xFF) return {0, 0};
    const unsigned b1 = head.Byte(at + 1), b2 = head.Byte(at + 2), b3 = head.Byte(at + 3);
    const unsigned version = (b1 >> 3) & 3, layerBits = (b1 >> 1) & 3, bitrate = b2 >> 4, rate = (b2 >> 2) & 3;
    // Sync bits, then the reserved version, layer, bitrate, rate and emphasis values.
    if ((b1 & 0xE0) != 0xE0 || version == 1 || layerBits == 0 || bitrate == 0 || bitrate == 15 || rate == 3 ||
        (b3 & 3) == 2)
        return {0, 0};
    const bool mpeg1 = version == 3;
    const unsigned layer = 4 - layerBits;
    const qint64 bitsPerSecond = qint64(kMpegKbps[mpeg1 ? 0 : 1][layer - 1][bitrate]) * 1000;
    const qint64 hz = kMpegHz[rate] >> (mpeg1 ? 0 : version == 2 ? 1 : 2);
    const qint64 padding = (b2 >> 1) & 1;
    qint64 length = 0;
    if (layer == 1) length = (12 * bitsPerSecond / hz + padding) * 4;
    else length = (layer == 3 && !mpeg1 ? 72 : 144) * bitsPerSecond / hz + padding;
    return {(b1 & 0xFE) << 8 | (b2 & 0x0C), length};
}

// A whole frame at the start, and the next one's header right after it when the head reaches it.
bool IsMpegAudioStart(const HeadBytes &head, qint64 fileSize)
{
    const MpegFrame first = MpegFrameAt(head, 0);
    if (first.length == 0 || fileSize < first.length) return false;
    if (first.length > head.size - 4) return true;
    const MpegFrame second = MpegFrameAt(head, static_cast<qsizetype>(first.length));
    return second.length != 0 && second.stream == first.stream;
}

// --- Truevision images, which have no magic: every header field must fit ---

bool TgaFieldIn(unsigned value, std::initializer_list<unsigned> allowed)
{
    return std::find(allowed.begin(), allowed.end(), value) != allowed.end();
}

bool IsTgaHeader(const HeadBytes &head, qint64 fileSize)
{
    if (!head.Has(0, 18)) return false;
    const unsigned idLength = head.Byte(0), mapType = head.Byte(1), imageType = head.Byte(2);
    const unsigned mapLength = head.Le16(5), mapDepth = head.Byte(7);
    const unsigned width = head.Le16(12), height = head.Le16(14), depth = head.Byte(16);
    const unsigned descriptor = head.Byte(17);
    const unsigned kind = imageType & ~8u;  // 1 colour-mapped, 2 true colour, 3 grey; 8 adds run-length coding
    if (kind < 1 || kind > 3 || mapType > 1 || width == 0 || height == 0 || (descriptor & 0xC0) != 0) return false;
    // A colour map is there with entries of a known width, or else not described at all.
    const bool mapFits = mapType == 1 ? mapLength > 0 && TgaFieldIn(mapDepth, {15, 16, 24, 32})
                                      : head.Le16(3) == 0 && mapLength == 0 && mapDepth == 0;
    const bool depthFits = kind == 2 ? TgaFieldIn(depth, {15, 16, 24, 32}) : TgaFieldIn(depth, {8, 16});
    if (!mapFits || !depthFits || (kind == 1 && mapType != 1)) return false;
    // Alpha bits: none, or what the colour's own width leaves for them.
    const unsigned colourDepth = kind == 1 ? mapDepth : depth;
    const unsigned alphaRoom = colourDepth == 32 ? 8 : colourDepth == 16 ? (kind == 3 ? 8 : 1) : 0;
    if (!TgaFieldIn(descriptor & 15, {0, alphaRoom})) return false;
    const qint64 pixelBytes = (depth + 7) / 8;
    const qint64 pixels = qint64(width) * height;
    // Raw pixels all follow; run-length packets hold at most 128 pixels each.
    const qint64 imageBytes = imageType & 8 ? (pixels + 127) / 128 * (1 + pixelBytes) : pixels * pixelBytes;
    return fileSize >= 18 + qint64(idLength) + qint64(mapLength) * ((mapDepth + 7) / 8) + imageBytes;
}

// --- Text ---

constexpr qsizetype kShortestText = 4;

// Whether the bytes from `from` on are UTF-8 of printable characters, tabs and line
// ends. A character the end of a cut head breaks off counts as whole.
bool IsPrintableUtf8(const HeadBytes &head, qsizetype from, bool cut)
{
    if (head.size - from < kShortestText) return false;
    for (qsizetype at = from; at < head.size;) {
        const unsigned lead = head.Byte(at);
        if (lead < 0x80) {
            if (lead < 0x20 ? lead != '\t' && lead != '\n' && lead != '\r' : lead == 0x7F) return false;
            ++at;
            continue;
        }
        // Continuation bytes, overlong two-byte leads and leads past U+10FFFF start no character.
        qsizetype extra = 0;
        if (lead >= 0xC2 && lead <= 0xDF) extra = 1;
        else if (lead >= 0xE0 && lead <= 0xEF) extra = 2;
        else if (lead >= 0xF0 && lead <= 0xF4) extra = 3;
        else return false;
        unsigned point = lead & (0x3Fu >> extra);
        for (qsizetype k = 1; k <= extra; ++k) {
            if (at + k >= head.size) return cut;
            const unsigned next = head.Byte(at + k);
            if ((next & 0xC0) != 0x80) return false;
            point = point << 6 | (next & 0x3F);
        }
        const unsigned shortest = extra == 2 ? 0x800 : extra == 3 ? 0x10000 : 0x80;
        // Overlong forms, surrogates, and the C1 controls U+0080 to U+009F.
        if (point < shortest || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF) || point <= 0x9F) return false;
        at += extra + 1;
    }
    return true;
}

bool IsJassSpace(unsigned byte) { return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n'; }

// A WarCraft III script: past blank lines and // comments, a declaration's first word.
bool IsJassStart(const HeadBytes &head, qsizetype at)
{
    for (;;) {
        while (at < head.size && IsJassSpace(head.Byte(at))) ++at;
        if (!head.StartsWith("//", at)) break;
        while (at < head.size && head.Byte(at) != '\n') ++at;
    }
    for (const std::string_view word : {"globals", "function", "native", "type", "constant"}) {
        const qsizetype end = at + static_cast<qsizetype>(word.size());
        if (head.StartsWith(word, at) && end < head.size && IsJassSpace(head.Byte(end))) return true;
    }
    return false;
}

}  // namespace

QString DetectContentExtension(const QByteArray &head, qint64 fileSize)
{
    const HeadBytes bytes{reinterpret_cast<const unsigned char *>(head.constData()),
                          std::min(head.size(), kContentHeadSize)};
    const qint64 size = std::max<qint64>(fileSize, bytes.size);
    if (bytes.StartsWith("\x89PNG\r\n\x1A\n")) return QStringLiteral(".png");
    if (bytes.StartsWith("DDS ") && bytes.Has(4, 4) && bytes.Le32(4) == 124) return QStringLiteral(".dds");
    if (bytes.StartsWith(std::string_view("OggS\0", 5))) return QStringLiteral(".ogg");  // with version 0
    if (bytes.StartsWith("W3E!")) return QStringLiteral(".w3e");
    if (IsMpegAudioStart(bytes, size)) return QStringLiteral(".mp3");
    if (IsTgaHeader(bytes, size)) return QStringLiteral(".tga");
    const qsizetype textStart = bytes.StartsWith("\xEF\xBB\xBF") ? 3 : 0;
    if (!IsPrintableUtf8(bytes, textStart, size > bytes.size)) return {};
    return IsJassStart(bytes, textStart) ? QStringLiteral(".j") : QStringLiteral(".txt");
}
