#include "tools/mpq_header.h"

#include <QFile>

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace {

// The scan reads this many bytes at a time, a whole number of header steps,
// so that a file with its header far in costs few reads.
constexpr qint64 kScanBlock = 128 * kHeaderAlignment;
constexpr qint64 kSignatureLength = 4;
constexpr qint64 kCountOffset = 28;

bool IsSignature(const char *bytes)
{
    return std::memcmp(bytes, "MPQ\x1A", 4) == 0 || std::memcmp(bytes, "BN3\x1A", 4) == 0;
}

// The first offset from `from` on, a multiple of the header step, where the
// file may hold anything but zeros. The holes of a sparse file read as zeros
// and hold no signature, so the scan skips them; where the file system does
// not tell, `from` itself.
qint64 SkipHole(const QFile &file, qint64 from)
{
    const off_t data = ::lseek(file.handle(), off_t(from), SEEK_DATA);
    if (data < 0) return errno == ENXIO ? file.size() : from;
    return qint64(data) - qint64(data) % kHeaderAlignment;
}

// The offset of the first header in the open file, or -1. A read that fails
// ends the scan as if the file ended there.
qint64 ScanForHeader(QFile &file)
{
    const qint64 length = file.size();
    std::vector<char> block(static_cast<std::size_t>(kScanBlock));
    for (qint64 start = SkipHole(file, 0); start < length; start = SkipHole(file, start + kScanBlock)) {
        if (!file.seek(start)) return -1;
        const qint64 got = file.read(block.data(), kScanBlock);
        if (got <= 0) return -1;
        for (qint64 at = 0; at + kSignatureLength <= got; at += kHeaderAlignment)
            if (IsSignature(block.data() + at)) return start + at;
        if (got < kScanBlock) return -1;  // the file ended inside the block
    }
    return -1;
}

bool OpenForReading(QFile &file)
{
    return file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

}  // namespace

qint64 FindMPQHeader(const QString &path)
{
    QFile file(path);
    if (!OpenForReading(file)) return -1;
    return ScanForHeader(file);
}

qint64 GetMPQFileCount(const QString &path)
{
    QFile file(path);
    if (!OpenForReading(file)) return 0;
    const qint64 header = ScanForHeader(file);
    if (header < 0 || !file.seek(header + kCountOffset)) return 0;
    unsigned char bytes[4] = {0, 0, 0, 0};
    if (file.read(reinterpret_cast<char *>(bytes), 4) < 0) return 0;
    return qint64(bytes[0]) | qint64(bytes[1]) << 8 | qint64(bytes[2]) << 16 | qint64(bytes[3]) << 24;
}

bool IsExecutable(const QString &path)
{
    QFile file(path);
    if (!OpenForReading(file)) return false;
    char bytes[2] = {0, 0};
    if (file.size() >= 2 && file.read(bytes, 2) != 2) return false;
    return bytes[0] == 'M' && bytes[1] == 'Z';
}
