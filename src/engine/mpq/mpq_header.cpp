#include "mpq/mpq_header.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace mpq {

namespace {

// The scan reads this many bytes at a time, a whole number of header steps,
// so that a file with its header far in costs few reads.
constexpr std::uint64_t kScanBlock = 128 * kHeaderStep;
constexpr std::size_t kSignatureLength = 4;
constexpr std::size_t kCountOffset = 28;

// Reads up to `size` bytes at `offset`; what lies past the end stays zero.
// The count read, or -1 when the read fails.
long long ReadAt(int fd, std::uint64_t offset, unsigned char *buffer, std::size_t size)
{
    std::memset(buffer, 0, size);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = ::pread(fd, buffer + done, size - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return -1;
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return static_cast<long long>(done);
}

// The first offset from `from` on, a multiple of the header step, where the
// file may hold anything but zeros; `length` past its last data. Where the
// file system does not tell, `from` itself.
std::uint64_t SkipHole(int fd, std::uint64_t from, std::uint64_t length)
{
    const off_t data = ::lseek(fd, static_cast<off_t>(from), SEEK_DATA);
    if (data < 0) return errno == ENXIO ? length : from;
    return static_cast<std::uint64_t>(data) - static_cast<std::uint64_t>(data) % kHeaderStep;
}

// A descriptor of the regular file at `path`, or -1.
int OpenRegular(const std::string &path)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat st {};
    if (fd >= 0 && (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))) {
        ::close(fd);
        return -1;
    }
    return fd;
}

bool IsSignature(const unsigned char *bytes, std::size_t count)
{
    return count >= kSignatureLength &&
           (std::memcmp(bytes, "MPQ\x1A", 4) == 0 || std::memcmp(bytes, "BN3\x1A", 4) == 0);
}

// The bytes of the first signature, `want` of them, at `header`; -1 when none.
std::int64_t FindSignature(int fd, std::vector<unsigned char> *bytes)
{
    const std::size_t want = bytes != nullptr ? bytes->size() : kSignatureLength;
    return ScanForHeader(fd, UINT64_MAX, want, [&](std::uint64_t, const unsigned char *at, std::size_t count) {
        if (!IsSignature(at, count)) return false;
        if (bytes != nullptr) std::copy(at, at + want, bytes->begin());
        return true;
    });
}

}  // namespace

std::int64_t ScanForHeader(int fd, std::uint64_t end, std::size_t want, const HeaderTest &accept)
{
    struct stat st {};
    if (fd < 0 || ::fstat(fd, &st) != 0) return -1;
    end = std::min(end, static_cast<std::uint64_t>(st.st_size));
    std::vector<unsigned char> block(kScanBlock + want);
    for (std::uint64_t start = SkipHole(fd, 0, end); start < end; start = SkipHole(fd, start + kScanBlock, end)) {
        // One read takes the block and the bytes that a test at its last
        // offset looks at.
        const long long got = ReadAt(fd, start, block.data(), block.size());
        if (got <= 0) return -1;
        const auto inside = static_cast<std::uint64_t>(got);
        for (std::uint64_t at = 0; at < std::min(inside, kScanBlock) && start + at < end; at += kHeaderStep) {
            const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(want, inside - at));
            if (accept(start + at, block.data() + at, count)) return static_cast<std::int64_t>(start + at);
        }
    }
    return -1;
}

std::int64_t FindHeaderSignature(const std::string &path)
{
    const int fd = OpenRegular(path);
    if (fd < 0) return -1;
    const std::int64_t header = FindSignature(fd, nullptr);
    ::close(fd);
    return header;
}

std::int64_t HeaderFileCount(const std::string &path)
{
    const int fd = OpenRegular(path);
    if (fd < 0) return 0;
    std::vector<unsigned char> bytes(kCountOffset + 4);
    const std::int64_t header = FindSignature(fd, &bytes);
    ::close(fd);
    if (header < 0) return 0;
    const unsigned char *count = bytes.data() + kCountOffset;
    return std::int64_t{count[0]} | std::int64_t{count[1]} << 8 | std::int64_t{count[2]} << 16 |
           std::int64_t{count[3]} << 24;
}

bool StartsAsExecutable(const std::string &path)
{
    const int fd = OpenRegular(path);
    if (fd < 0) return false;
    unsigned char bytes[2];
    const long long got = ReadAt(fd, 0, bytes, sizeof bytes);
    ::close(fd);
    return got == 2 && bytes[0] == 'M' && bytes[1] == 'Z';
}

}  // namespace mpq
