// Guards against faults of StormLib 9.22: each check looks at an archive, or
// at a stored file StormLib has opened, before StormLib meets the fault, and
// says whether the engine may go on. The reason for each check is written
// beside it in mpq_guards.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace mpq::guards {

// What the checks before an open say of an archive.
enum class OpenVerdict {
    Safe,      // StormLib may open it
    Unsafe,    // it must not reach StormLib
    Screened,  // StormLib may open the copy that ScreenedCopy makes
};

// Looks at the archive at `path` before StormLib does: its own header (found
// as the engine finds it: at a multiple of 512 bytes, or where an "MPQ\x1B"
// user-data header points) and its tables. Unsafe are an MPK header (an
// archive kind of another game), a hash or block table of format 2 or later
// larger than the whole file or than its entries need, a version 2 header
// whose tables are out of order, and HET or BET tables that StormLib cannot
// read when no hash table stands beside them. Screened out are a
// "(signature)" entry that points at no file, format 1 tables that run past
// the end of the file (the block table is cut where the file ends, as the
// game cuts it, the hash table soon after), and HET and BET tables that
// StormLib cannot read (the copy is opened through the classic tables). A
// file that holds no header at all is safe: StormLib refuses it itself.
OpenVerdict CheckOpen(const std::string &path);
inline bool OpenIsSafe(const std::string &path) { return CheckOpen(path) == OpenVerdict::Safe; }

// A descriptor of a copy in memory of the archive at `path` (up to 256 MiB)
// with what CheckOpen screens out changed, so that every other file lists and
// reads; -1 when there is none. The caller closes it; StormLib opens it as
// "/proc/self/fd/N".
int ScreenedCopy(const std::string &path);

// Whether a stored file that StormLib has opened (`stormFile`, the engine's
// handle) may be read. `archiveFd` reads the archive's bytes; it is opened by
// the caller. Refuses files whose reading makes StormLib write past a buffer
// or abort; a file it refuses counts as unreadable.
bool ReadIsSafe(int archiveFd, void *stormFile);

// From now on, ReadIsSafe also refuses files whose reading runs StormLib's
// Huffman decoder, which a damaged stream crashes. The program reads archives
// in child processes, where such a crash ends only the child; a process that
// reads them in itself (the fuzzing target) calls this first.
void RefuseHuffmanReads();

// Whether StormLib may open the archive at `path` for an update: what
// OpenIsSafe asks, and whether the internal files that such an open reads by
// itself ("(listfile)" and "(attributes)") may be read.
bool UpdateOpenIsSafe(const std::string &path);

// What the guards' own files share.
namespace detail {

// Reads up to `size` bytes at `offset`; what lies past the end stays zero.
// Returns the count read.
std::size_t ReadAt(int fd, std::uint64_t offset, void *buffer, std::size_t size);
// Decrypts whole 32-bit words in place, as MPQ tables and file data are encrypted.
void Decrypt(std::vector<std::uint32_t> &words, std::uint32_t key);
// Runs `work` in a child process whose crash ends only the child, quietly;
// what `work` returned (0 to 255), or -1 when the child did not end normally.
int InChild(const std::function<int()> &work);

// What StormLib makes of the HET and BET tables of a format 3 or 4 archive.
enum class ExtTables {
    Unread,  // none, or StormLib passes them by and uses the classic tables
    Sound,   // StormLib reads them within its bounds
    Broken,  // StormLib would abort or read outside its buffers on them
};
// `header` holds MPQ_HEADER_SIZE_V4 bytes of the header at `headerAt`.
ExtTables CheckExtTables(int fd, std::uint64_t fileSize, std::uint64_t headerAt, const unsigned char *header,
                         int version);

// Whether StormLib reads the hash and block tables of a format 3 or 4 header
// within the buffers it gives them: it reads each at its stored size, taken
// in 32 bits (measured from the next table in version 3, given in version
// 4), into a buffer of its entries' size.
bool ClassicTablesFit(const unsigned char *header, int version);

// Bytes that a screened copy writes over the archive's own.
struct Patch {
    std::uint64_t at;
    std::vector<unsigned char> bytes;
};
// What makes StormLib pass the HET and BET tables of that header by: their
// positions cleared, and a version 4 header's sizes and MD5 to match.
std::vector<Patch> WithoutExtTables(std::uint64_t headerAt, const unsigned char *header, int version);

}  // namespace detail

}  // namespace mpq::guards
