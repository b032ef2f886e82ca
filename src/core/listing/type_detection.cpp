#include "listing/type_detection.h"

#include <array>
#include <cstring>

namespace {

struct Signature {
    unsigned char bytes[3];
    const char *extension;
};

constexpr std::array<Signature, 16> kSignatures{{
    {{0x4D, 0x50, 0x51}, ".mpq"},  // "MPQ"
    {{0x53, 0x4D, 0x4B}, ".smk"},  // "SMK"
    {{0x52, 0x49, 0x46}, ".wav"},  // "RIF"
    {{0x4D, 0x5A, 0x90}, ".exe"},  // "MZ" 0x90
    {{0x50, 0x4B, 0x03}, ".zip"},  // "PK" 0x03
    {{0x4D, 0x44, 0x4C}, ".mdx"},  // "MDL"
    {{0x42, 0x4C, 0x50}, ".blp"},  // "BLP"
    {{0x49, 0x44, 0x33}, ".mp3"},  // "ID3"
    {{0x0A, 0x05, 0x01}, ".pcx"},
    {{0x4D, 0x54, 0x68}, ".mid"},  // "MTh"
    {{0x42, 0x4D, 0x36}, ".bmp"},  // "BM6"
    {{0x47, 0x49, 0x46}, ".gif"},  // "GIF"
    {{0xFF, 0xD8, 0xFF}, ".jpg"},
    {{0x48, 0x4D, 0x33}, ".w3m"},  // "HM3"
    {{0x56, 0x45, 0x52}, ".chk"},  // "VER"
    {{0x54, 0x59, 0x50}, ".chk"},  // "TYP"
}};

}  // namespace

QString DetectExtension(const QByteArray &firstBytes)
{
    unsigned char head[3] = {0, 0, 0};
    std::memcpy(head, firstBytes.constData(), static_cast<std::size_t>(std::min<qsizetype>(firstBytes.size(), 3)));
    for (const Signature &signature : kSignatures)
        if (std::memcmp(head, signature.bytes, 3) == 0) return QString::fromLatin1(signature.extension);
    return {};
}
