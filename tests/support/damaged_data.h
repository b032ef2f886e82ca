// Stored data that takes StormLib down or keeps it busy for ever.
#pragma once

#include <QByteArray>
#include <QtEndian>

#include "support/archive_factory.h"

namespace fixtures {

// A compressed file of one sector of `fullSize` bytes stored as `packed`
// (its first byte the compression mask).
inline HandFile OneSectorFile(const QByteArray &name, const QByteArray &packed, quint32 fullSize)
{
    QByteArray sectors(8, '\0');
    qToLittleEndian<quint32>(8, sectors.data());
    qToLittleEndian<quint32>(quint32(8 + packed.size()), sectors.data() + 4);
    HandFile file{name, sectors + packed};
    file.flags = 0x80000200;  // exists, compressed
    file.fullSizeOverride = fullSize;
    return file;
}

// A file of one sector of 100 bytes whose bzip2 data holds 5000: StormLib
// 9.22 calls the decoder again and again once its output is full.
inline HandFile EndlessBzip2File(const QByteArray &name)
{
    const QByteArray bzip2("\x10\x42\x5a\x68\x39\x31\x41\x59\x26\x53\x59\x39\x64\xe9\xf9\x00\x00\x09\x81\x20\xa0\x00\x00"
                           "\x80\x00\x08\x20\x00\x20\xa5\x34\x19\x8d\x46\xc1\x3c\x5d\xc9\x14\xe1\x42\x40\xe5\x93\xa7\xe4",
                           46);
    return OneSectorFile(name, bzip2, 100);
}

// A file of one sector whose Huffman stream grows StormLib 9.22's decoding
// tree past its end: reading it crashes the process.
inline HandFile BrokenHuffmanFile(const QByteArray &name)
{
    return OneSectorFile(name, QByteArray::fromHex("0101fd182238bcc5ca2512f651"), 200);
}

}  // namespace fixtures
