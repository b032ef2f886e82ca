// The scan for an archive header: an archive may follow an executable or a
// map header, so its header is looked for at every offset that is a whole
// multiple of 512 bytes, lowest first. Offsets and lengths are 64-bit, so
// files over 2 GiB are scanned to their end; the holes of a sparse file,
// which read as zeros and hold no header, are skipped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace mpq {

// The step between the offsets where a header may stand.
inline constexpr std::uint64_t kHeaderStep = 512;

// Shows `accept` the bytes at each multiple of kHeaderStep below `end` and
// below the end of the file `fd` reads: `want` bytes, of which `count` lie
// inside the file and the rest are zero. The first offset accepted; -1 when
// none is, or when a read fails. `accept` must never take all zeros.
using HeaderTest = std::function<bool(std::uint64_t offset, const unsigned char *bytes, std::size_t count)>;
std::int64_t ScanForHeader(int fd, std::uint64_t end, std::size_t want, const HeaderTest &accept);

// The scan with the signatures the tools know ("MPQ" 0x1A or "BN3" 0x1A),
// and nothing else of the format: a plain archive runs from its header to
// the end of the file. Every call reads the file anew.
//
// The offset of the first header, 0 or more; -1 when the file holds none or
// cannot be read.
std::int64_t FindHeaderSignature(const std::string &path);
// The entry count of the block table of the first header: the unsigned
// 32-bit little-endian value 28 bytes behind the header's start. 0 when the
// file holds no header or cannot be read. A header so close to the end of
// the file that the value is cut off counts the missing bytes as zeros.
std::int64_t HeaderFileCount(const std::string &path);
// True when the file begins with the two bytes "MZ". Nothing else of the
// executable format is looked at; a file that cannot be read gives false.
bool StartsAsExecutable(const std::string &path);

}  // namespace mpq
