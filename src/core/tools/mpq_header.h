// Where an MPQ archive stands inside a file: the archive may follow an
// executable, so its header is looked for rather than assumed at offset 0.
//
// A header counts only at an offset that is a whole multiple of 512 and
// begins with "MPQ" 0x1A or "BN3" 0x1A; the first one, at the lowest offset,
// wins. Nothing else of the format is read: an archive runs from its header
// to the end of the file. Every call reads the file anew, and offsets and
// lengths are 64-bit, so files over 2 GiB are scanned to their end. The scan
// itself is the engine's (mpq/mpq_header.h); these take Qt paths.
#pragma once

#include <QString>

// The step between the offsets where a header may stand.
inline constexpr qint64 kHeaderAlignment = 512;

// The offset of the first header, 0 or more; -1 when the file holds none or
// cannot be opened or read.
qint64 FindMPQHeader(const QString &path);

// The entry count of the block table of the first header: the unsigned
// 32-bit little-endian value 28 bytes behind the header's start. 0 when the
// file holds no header or cannot be read. A header so close to the end of
// the file that the value is cut off counts the missing bytes as zeros.
qint64 GetMPQFileCount(const QString &path);

// True when the file begins with the two bytes "MZ". Nothing else of the
// executable format is looked at; a file that cannot be read gives false.
bool IsExecutable(const QString &path);
