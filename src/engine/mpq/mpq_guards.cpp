// Guards against faults of StormLib 9.22. Debian builds the library with its
// assertions on, so a check that fails inside it ends the whole program; a
// damaged or hostile archive must instead list what can be listed, and a file
// that cannot be read must count as unreadable. Each guard below names the
// fault it keeps the engine away from.
#include "mpq/mpq_guards.h"
#include "mpq/mpq_isolation.h"

#include "mpq/mpq_hash.h"
#include "mpq/mpq_header.h"
#include "mpq/mpq_storm.h"
#include "mpq/whole_io.h"

#include <StormLib.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <vector>

namespace mpq::guards {

namespace detail {

std::size_t ReadAt(int fd, std::uint64_t offset, void *buffer, std::size_t size)
{
    if (size == 0) return 0;
    std::memset(buffer, 0, size);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = ::pread(fd, static_cast<char *>(buffer) + done, size - done,
                                    static_cast<off_t>(offset + done));
        if (got <= 0) break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

void Decrypt(std::vector<std::uint32_t> &words, std::uint32_t key) { DecryptWords(words, key); }

// The work runs in a child process (mpq_isolation.h): a crash there ends
// only the child.
int InChild(const std::function<int()> &work)
{
    const ChildResult run = RunInChild([&](ChildChannel &) { return work() & 0xFF; }, [](std::string_view) { return true; });
    return run.outcome == ChildOutcome::Finished ? run.status : -1;
}

}  // namespace detail

namespace {

using detail::Decrypt;
using detail::ReadAt;

constexpr std::uint32_t kUserDataId = 0x1B51504D;  // "MPQ\x1B"
constexpr std::uint32_t kMpkId = 0x1A4B504D;       // "MPK\x1A"
constexpr std::uint32_t kWarcraft3MapId = 0x57334D48;  // "HM3W"
constexpr std::uint64_t kHeaderSearchEnd = 0x08000000;  // the engine looks no further
constexpr std::size_t kHeaderBytes = MPQ_HEADER_SIZE_V4;

std::uint32_t Le32(const unsigned char *p)
{
    return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}

std::uint16_t Le16(const unsigned char *p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }

std::uint64_t Le64(const unsigned char *p) { return Le32(p) | std::uint64_t{Le32(p + 4)} << 32; }

std::uint32_t DecryptFirstWord(std::uint32_t word, std::uint32_t key)
{
    return word ^ (key + 0xEEEEEEEE + CryptTable()[0x400 + (key & 0xFF)]);
}

// The archive header as the engine reads it.
struct Header {
    enum class Kind { None, Mpq, Mpk } kind = Kind::None;
    std::uint64_t at = 0;  // its offset in the file
    std::array<unsigned char, kHeaderBytes> bytes{};
    bool warcraft3Map = false;  // the engine then takes every header as version 1
};

// Finds the header where StormLib finds it: the first "MPQ\x1A" whose size
// field says at least 32 bytes, or "MPK\x1A", at a multiple of 512 bytes
// within the first 128 MiB. The first valid "MPQ\x1B" user-data header met
// on the way sends the search to where it points, and the search goes on
// from there in steps of 512 bytes: protected maps hide their header behind
// such a redirect. Files that begin as a Warcraft III map have their
// user-data and MPK headers ignored, as the game ignores them.
Header FindHeader(int fd, std::uint64_t fileSize)
{
    Header header;
    unsigned char first[16] = {};
    if (ReadAt(fd, 0, first, sizeof first) < sizeof first) return header;
    header.warcraft3Map = Le32(first) == kWarcraft3MapId && Le32(first + 4) == 0;
    const std::uint64_t end = std::min(fileSize, kHeaderSearchEnd);
    std::uint64_t redirect = 0;
    bool redirected = false;
    const auto take = [&](std::uint64_t offset, const unsigned char *at, bool userDataCounts) {
        const std::uint32_t id = Le32(at);
        if (id == kUserDataId && userDataCounts && !header.warcraft3Map) {
            const std::uint32_t userDataSize = Le32(at + 4), headerOffset = Le32(at + 8);
            const std::uint32_t userDataHeader = Le32(at + 12);
            if (userDataHeader <= userDataSize && userDataSize <= headerOffset &&
                offset + headerOffset + MPQ_HEADER_SIZE_V1 < fileSize) {
                redirect = offset + headerOffset;
                return redirected = true;
            }
        }
        if (id == ID_MPQ && Le32(at + 4) >= MPQ_HEADER_SIZE_V1)
            header.kind = Header::Kind::Mpq;
        else if (id == kMpkId && !header.warcraft3Map)
            header.kind = Header::Kind::Mpk;
        else
            return false;
        header.at = offset;
        std::memcpy(header.bytes.data(), at, kHeaderBytes);
        return true;
    };
    ScanForHeader(fd, end, kHeaderBytes,
                  [&](std::uint64_t offset, const unsigned char *at, std::size_t) { return take(offset, at, true); });
    if (!redirected) return header;
    constexpr std::uint64_t kChunk = 128 * kHeaderStep;
    std::vector<unsigned char> chunk(kChunk + kHeaderBytes);
    for (std::uint64_t base = redirect; base < end; base += kChunk) {
        ReadAt(fd, base, chunk.data(), chunk.size());
        for (std::uint64_t step = 0; step < kChunk && base + step < end; step += kHeaderStep)
            if (take(base + step, &chunk[step], false)) return header;
    }
    return header;
}

// The format version the engine gives a header. A version 2 header must be
// exactly of its size, else it is read as version 1; a Warcraft III map's
// header is always version 1, and so is one of a version the engine does not
// know. A version 1 header's size is taken as 32 bytes whatever its field
// says, and its archive size field is never looked at: protected maps fill
// both with garbage text, which the game ignores, and so does StormLib 9.22
// (it measures such an archive to the end of the file).
int FormatVersion(const Header &header)
{
    if (header.warcraft3Map) return MPQ_FORMAT_VERSION_1;
    switch (Le16(&header.bytes[12])) {
    case MPQ_FORMAT_VERSION_2:
        return Le32(&header.bytes[4]) == MPQ_HEADER_SIZE_V2 ? MPQ_FORMAT_VERSION_2 : MPQ_FORMAT_VERSION_1;
    case MPQ_FORMAT_VERSION_3: return MPQ_FORMAT_VERSION_3;
    case MPQ_FORMAT_VERSION_4: return MPQ_FORMAT_VERSION_4;
    default: return MPQ_FORMAT_VERSION_1;
    }
}

// StormLib 9.22 asserts, and so aborts, or writes past a buffer, while it
// reads a version 2 header whose tables do not lie in the order hash table,
// block table, high block table, each at most as long as its entries need; it measures them from the
// next table's position, or from the archive's end. This repeats the
// engine's measure.
bool Version2TablesInOrder(const Header &header, std::uint64_t fileSize)
{
    const unsigned char *h = header.bytes.data();
    const std::uint32_t archiveSize = Le32(h + 8), blockPos = Le32(h + 20), blockEntries = Le32(h + 28);
    const std::uint64_t hashAt = std::uint64_t{Le16(h + 40)} << 32 | Le32(h + 16);
    const std::uint64_t blockAt = std::uint64_t{Le16(h + 42)} << 32 | blockPos;
    const std::uint64_t highBlockAt = Le64(h + 32);
    const std::uint64_t blockBytes = std::uint64_t{blockEntries} * 16;
    if (blockAt < hashAt) return true;  // taken as damaged, not measured
    // The hash table is read at its measured length into a buffer of its
    // entries' size: a longer one writes past that buffer.
    if (blockAt - hashAt > std::uint64_t{Le32(h + 24) & BLOCK_INDEX_MASK} * 16) return false;
    auto archiveEnd = [&]() -> std::uint64_t {
        if ((fileSize >> 32) == 0 && blockPos < archiveSize) {
            if (std::uint64_t{archiveSize - blockPos} <= blockBytes) return archiveSize;
            if (archiveSize <= static_cast<std::uint32_t>(fileSize - header.at)) return archiveSize;
        }
        return fileSize - header.at;
    };
    if (highBlockAt != 0)
        return highBlockAt - blockAt <= blockBytes && archiveEnd() - highBlockAt == std::uint64_t{blockEntries} * 2;
    return archiveEnd() - blockAt <= blockBytes;
}

// A table position (relative to the header) as a file offset. In version 1
// offsets are 32-bit and wrap around.
std::uint64_t TableOffset(const Header &header, int version, std::uint32_t low, std::uint16_t high)
{
    if (version == MPQ_FORMAT_VERSION_1) return static_cast<std::uint32_t>(header.at + low);
    return header.at + (std::uint64_t{high} << 32 | low);
}

// The table's words as far as the file holds them, decrypted.
std::vector<std::uint32_t> ReadTable(int fd, std::uint64_t fileSize, std::uint64_t offset, std::uint64_t bytes,
                                     std::uint32_t key)
{
    if (offset >= fileSize) return {};
    const std::uint64_t present = std::min(bytes, fileSize - offset) / 4;
    std::vector<std::uint32_t> words(static_cast<std::size_t>(present));
    const std::size_t got = ReadAt(fd, offset, words.data(), words.size() * 4);
    words.resize(got / 4);
    for (std::uint32_t &word : words) word = Le32(reinterpret_cast<const unsigned char *>(&word));
    Decrypt(words, key);
    return words;
}

}  // namespace

namespace {

using detail::Patch;

// What the checks before an open found, and what the screened copy changes.
struct Examination {
    OpenVerdict verdict = OpenVerdict::Safe;
    std::vector<Patch> patches;
};

void Screen(Examination &result, std::vector<Patch> patches)
{
    result.verdict = OpenVerdict::Screened;
    result.patches.insert(result.patches.end(), patches.begin(), patches.end());
}

std::vector<unsigned char> WordBytes(const std::vector<std::uint32_t> &words)
{
    std::vector<unsigned char> bytes(words.size() * 4);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(words[i / 4] >> (8 * (i % 4)));
    return bytes;
}

Examination Examine(int fd, std::uint64_t fileSize)
{
    Examination result;
    const Header header = FindHeader(fd, fileSize);

    // StormLib 9.22 as Debian builds it asserts, and so aborts, on an MPK
    // header whose size field is off.
    if (header.kind == Header::Kind::Mpk) result.verdict = OpenVerdict::Unsafe;
    if (header.kind != Header::Kind::Mpq) return result;

    const int version = FormatVersion(header);
    const unsigned char *h = header.bytes.data();
    // StormLib 9.22 reads a header that the end of the file cuts short with
    // whatever its buffer held past the end, and may then abort (a version 2
    // header's tables measure out of order). Its tables would lie behind it:
    // no loader reads such an archive.
    const std::uint64_t headerBytes = version == MPQ_FORMAT_VERSION_1   ? MPQ_HEADER_SIZE_V1
                                      : version == MPQ_FORMAT_VERSION_2 ? MPQ_HEADER_SIZE_V2
                                      : version == MPQ_FORMAT_VERSION_3 ? MPQ_HEADER_SIZE_V3
                                                                        : MPQ_HEADER_SIZE_V4;
    if (header.at + headerBytes > fileSize) {
        result.verdict = OpenVerdict::Unsafe;
        return result;
    }
    // StormLib 9.22 takes the sector size, 512 shifted by the header's field
    // (by its low five bits, as the processor shifts), unchecked, and an open
    // for update reads the internal list with it at once: a size shifted out
    // to zero divides by zero, and a huge one is allocated for every read.
    // Archives use sectors of a few kilobytes.
    const std::uint32_t sectorSize = 512u << (Le16(h + 14) & 31);
    if (sectorSize == 0 || sectorSize > (1u << 24)) {
        result.verdict = OpenVerdict::Unsafe;
        return result;
    }
    const std::uint64_t hashAt = TableOffset(header, version, Le32(h + 16), version >= MPQ_FORMAT_VERSION_2 ? Le16(h + 40) : 0);
    const std::uint64_t blockAt = TableOffset(header, version, Le32(h + 20), version >= MPQ_FORMAT_VERSION_2 ? Le16(h + 42) : 0);
    std::uint64_t hashCount = Le32(h + 24) & BLOCK_INDEX_MASK, blockCount = Le32(h + 28) & BLOCK_INDEX_MASK;
    // StormLib 9.22 allocates, fills and decrypts the hash and block tables
    // at the size the header claims (up to 2^28 entries of 16 bytes), and a
    // file table beside them, before it looks at what the file holds: a small
    // file that claims huge tables costs gigabytes and tens of seconds.
    if (version == MPQ_FORMAT_VERSION_1) {
        // Protected maps claim a block table far longer than the file, and
        // the game reads it as far as the file goes. StormLib does so too,
        // after that allocation, and takes the zeros it fills the rest with,
        // decrypted, for entries. The copy's header claims the entries the
        // file holds, 16 bytes each.
        const std::uint64_t blockRoom = blockAt < fileSize ? (fileSize - blockAt) / 16 : 0;
        if (blockCount > blockRoom) {
            blockCount = blockRoom;
            Screen(result, {{header.at + 28, WordBytes({static_cast<std::uint32_t>(blockRoom)})}});
        }
        // A hash table that runs past the end StormLib cuts likewise, then
        // gathers its valid entries at its start and looks names up among
        // them all. The copy claims the least power of two above the entries
        // the file holds: StormLib still cuts it there, and finds the same.
        const std::uint64_t hashRoom = hashAt < fileSize ? (fileSize - hashAt) / 16 : 0;
        const std::uint64_t hashCut = hashRoom == 0 ? 1 : std::bit_floor(hashRoom) * 2;
        if (hashCount > hashCut) {
            hashCount = hashCut;
            Screen(result, {{header.at + 24, WordBytes({static_cast<std::uint32_t>(hashCut)})}});
        }
    } else {
        // Tables of later versions are stored whole, so none can be larger
        // than the file. A version 4 table may be compressed; it can then
        // unpack to no more than a fixed multiple of what it takes in the file.
        std::uint64_t hashLimit = fileSize, blockLimit = fileSize;
        if (version == MPQ_FORMAT_VERSION_4) {
            constexpr std::uint64_t kLargestUnpacking = 64;
            hashLimit = std::min(fileSize, Le64(h + 68)) * kLargestUnpacking;
            blockLimit = std::min(fileSize, Le64(h + 76)) * kLargestUnpacking;
        }
        if (hashCount * 16 > hashLimit || blockCount * 16 > blockLimit ||
            (version == MPQ_FORMAT_VERSION_2 && !Version2TablesInOrder(header, fileSize)) ||
            (version >= MPQ_FORMAT_VERSION_3 && !detail::ClassicTablesFit(h, version))) {
            result.verdict = OpenVerdict::Unsafe;
            return result;
        }
    }

    // StormLib 9.22 aborts, or reads and writes outside its buffers, on HET
    // and BET tables it cannot read (mpq_guards_tables.cpp). The copy leaves
    // them out, so that StormLib reads the classic tables; without any,
    // nothing is left.
    if (version >= MPQ_FORMAT_VERSION_3 &&
        detail::CheckExtTables(fd, fileSize, header.at, h, version) == detail::ExtTables::Broken) {
        if (hashCount == 0) {
            result.verdict = OpenVerdict::Unsafe;
            return result;
        }
        Screen(result, detail::WithoutExtTables(header.at, h, version));
    }

    // StormLib 9.22 asserts, and so aborts, while it opens an archive whose
    // "(signature)" hash entry points at a file-table entry without the flag
    // that says a file exists there. The engine leaves an entry empty when
    // its block is no file, lies past the block table, claims 2 GiB or more,
    // or begins past the end of the file. Such entries are looked for in the
    // whole hash table, whatever their locale; the copy has them deleted.
    std::vector<std::uint32_t> hashes = ReadTable(fd, fileSize, hashAt, hashCount * 16, MPQ_KEY_HASH_TABLE);
    const std::uint64_t fileTableSize = std::max(hashCount, blockCount);
    static const std::uint32_t nameA = HashString(SIGNATURE_NAME, std::strlen(SIGNATURE_NAME), HashType::NameA);
    static const std::uint32_t nameB = HashString(SIGNATURE_NAME, std::strlen(SIGNATURE_NAME), HashType::NameB);
    std::vector<std::uint32_t> blocks;
    bool blocksRead = false, screened = false;
    for (std::size_t i = 0; i + 4 <= hashes.size(); i += 4) {
        if (hashes[i] != nameA || hashes[i + 1] != nameB) continue;
        const std::uint32_t index = hashes[i + 3] & BLOCK_INDEX_MASK;
        if (index >= fileTableSize) continue;
        if (!blocksRead) {
            blocks = ReadTable(fd, fileSize, blockAt, blockCount * 16, MPQ_KEY_BLOCK_TABLE);
            blocksRead = true;
        }
        const std::size_t at = std::size_t{index} * 4;
        const bool present = index < blockCount && at + 4 <= blocks.size();
        const std::uint32_t flags = present ? blocks[at + 3] : 0, fullSize = present ? blocks[at + 2] : 0;
        const std::uint64_t begins = TableOffset(header, version, present ? blocks[at] : 0, 0);
        if ((flags & MPQ_FILE_EXISTS) == 0 || (fullSize & 0x80000000u) != 0 || begins >= fileSize) {
            hashes[i + 3] = HASH_ENTRY_DELETED;
            screened = true;
        }
    }
    if (screened) {
        EncryptWords(hashes, MPQ_KEY_HASH_TABLE);
        Screen(result, {{hashAt, WordBytes(hashes)}});
    }
    return result;
}

}  // namespace

OpenVerdict CheckOpen(const std::string &path)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return OpenVerdict::Safe;  // StormLib fails the open itself
    struct stat st {};
    const OpenVerdict verdict = ::fstat(fd, &st) == 0 ? Examine(fd, static_cast<std::uint64_t>(st.st_size)).verdict
                                                      : OpenVerdict::Unsafe;
    ::close(fd);
    return verdict;
}

int ScreenedCopy(const std::string &path)
{
    constexpr std::uint64_t kLargestCopy = std::uint64_t{256} << 20;
    const int source = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (source < 0) return -1;
    struct stat st {};
    const auto fileSize = static_cast<std::uint64_t>(::fstat(source, &st) == 0 ? st.st_size : 0);
    const Examination found = fileSize > 0 && fileSize <= kLargestCopy ? Examine(source, fileSize) : Examination{};
    int copy = found.verdict == OpenVerdict::Screened ? ::memfd_create("arcavera-screened", MFD_CLOEXEC) : -1;
    std::vector<char> chunk(1 << 20);
    for (std::uint64_t at = 0; copy >= 0 && at < fileSize; at += chunk.size()) {
        const std::size_t size = static_cast<std::size_t>(std::min<std::uint64_t>(chunk.size(), fileSize - at));
        if (ReadAt(source, at, chunk.data(), size) != size || !WriteAllAt(copy, chunk.data(), size, at)) {
            ::close(copy);
            copy = -1;
        }
    }
    ::close(source);
    if (copy < 0) return -1;
    // Each change stays within the file, and the copy must then pass as it is.
    bool written = true;
    for (const Patch &patch : found.patches)
        written = written && patch.at + patch.bytes.size() <= fileSize &&
                  WriteAllAt(copy, patch.bytes.data(), patch.bytes.size(), patch.at);
    if (!written || Examine(copy, fileSize).verdict != OpenVerdict::Safe) {
        ::close(copy);
        return -1;
    }
    return copy;
}

namespace {

bool huffmanRefused = false;

// StormLib 9.22 reads a sector offset table whose first entry says it is
// longer than expected into a buffer cut to whole entries: a length that is
// no multiple of four writes past the buffer. Damaged or protected archives
// hold such tables, so a file whose table says so is not read at all.
//
// Likewise it reads a file stored whole and uncompressed into a buffer of
// the file's size, however many stored bytes the block table claims, and
// takes the size of a patch file from the file's own bytes.
bool SectorTableFits(int fd, const stormlib::OpenedFile &file, const stormlib::ArchiveFacts &archive)
{
    const stormlib::Entry &entry = file.entry;
    // Patch files of incremental updates never occur in these games'
    // archives; a damaged flag word that claims one sends StormLib to a
    // size read from the data itself.
    if (entry.flags & MPQ_FILE_PATCH_FILE) return false;
    if ((entry.flags & MPQ_FILE_SINGLE_UNIT) && (entry.flags & MPQ_FILE_COMPRESS_MASK) == 0 &&
        (entry.storedSize > entry.fullSize || entry.storedSize > file.dataSize))
        return false;
    if ((entry.flags & MPQ_FILE_COMPRESS_MASK) == 0 || (entry.flags & MPQ_FILE_SINGLE_UNIT) ||
        entry.fullSize == 0 || archive.sectorSize == 0)
        return true;
    // An encrypted file whose key StormLib does not know yet gets its key from
    // a table of the expected length, which never asks for the longer read.
    if ((entry.flags & MPQ_FILE_ENCRYPTED) && file.key == 0) return true;
    const std::uint64_t sectors = (std::uint64_t{entry.fullSize} - 1) / archive.sectorSize + 1;
    std::uint64_t expected = (sectors + 1) * 4;
    if (entry.flags & MPQ_FILE_SECTOR_CRC) expected += 4;
    unsigned char raw[4];
    if (ReadAt(fd, file.rawAt, raw, 4) != 4) return true;  // StormLib fails the read itself
    std::uint32_t first = Le32(raw);
    if (entry.flags & MPQ_FILE_ENCRYPTED) first = DecryptFirstWord(first, file.key - 1);
    return first <= expected || first % 4 == 0;
}

// A block of a compressed file that the engine unpacks: where it lies, its
// stored and its unpacked length, and the key it is decrypted with.
struct PackedBlock {
    std::uint64_t at;
    std::uint32_t stored, full, key;
};

// The blocks of a file that its reads unpack: the whole file when it is
// stored as one unit, else every sector stored shorter than it unpacks to.
// The sector table is loaded by the engine's own loader, which the first read
// would otherwise call, so the walk sees the key and the sector positions
// that read will use. False when the engine would guess the key from the
// data, which these checks cannot follow.
template <typename Fn>
bool ForEachPackedBlock(HANDLE stormFile, const stormlib::OpenedFile &file, const stormlib::ArchiveFacts &archive,
                        Fn &&fn)
{
    const stormlib::Entry &entry = file.entry;
    if ((entry.flags & MPQ_FILE_COMPRESS) == 0 || file.dataSize == 0) return true;
    if (entry.flags & MPQ_FILE_SINGLE_UNIT) {
        const std::uint32_t stored = entry.storedSize;
        if (stored == 0 || stored >= file.dataSize) return true;  // nothing to unpack
        fn(PackedBlock{file.rawAt, stored, file.dataSize, file.key});
        return true;
    }
    // The first read allocates the sector buffer, which sets the sector
    // size that the table loader divides by, then loads the table; when
    // either fails, so does the read.
    if (archive.sectorSize == 0) return false;
    const stormlib::SectorTable table = stormlib::LoadSectorTable(stormFile);
    if (!table.loaded) return true;
    if ((entry.flags & MPQ_FILE_ENCRYPTED) && table.key == 0) return false;
    const std::uint32_t sectorSize = archive.sectorSize;
    for (std::uint32_t i = 0; i < table.count; ++i) {
        const std::uint32_t full = std::min<std::uint32_t>(sectorSize, file.dataSize - i * sectorSize);
        const std::uint32_t stored = table.offsets[i + 1] - table.offsets[i];
        if (stored == 0 || stored >= full) continue;  // not unpacked
        fn(PackedBlock{stormlib::RawSectorAt(stormFile, table.offsets[i]), stored, full, table.key + i});
    }
    return true;
}

// A block's bytes as the engine unpacks them: decrypted in whole words.
std::vector<unsigned char> BlockBytes(int fd, const PackedBlock &block, bool encrypted, std::size_t limit)
{
    std::vector<unsigned char> bytes(std::min<std::size_t>(block.stored, limit));
    bytes.resize(ReadAt(fd, block.at, bytes.data(), bytes.size()));
    if (encrypted && block.stored >= 4) {
        std::vector<std::uint32_t> words(bytes.size() / 4);
        for (std::size_t i = 0; i < words.size(); ++i) words[i] = Le32(&bytes[i * 4]);
        Decrypt(words, block.key);
        for (std::size_t i = 0; i < words.size(); ++i)
            for (std::size_t b = 0; b < 4; ++b) bytes[i * 4 + b] = static_cast<unsigned char>(words[i] >> (8 * b));
    }
    return bytes;
}

// Guards of the blocks a read unpacks, looked at before the first read:
//
// StormLib 9.22 asserts, and so aborts, when a compressed block of a version
// 1 archive names LZMA as its compression: that method only exists from
// version 2 on.
//
// Its Huffman decoder (the second stage of compressed waves) trusts the
// stream: a damaged one grows its tree past the end of a fixed array on the
// stack, or reads past its input, and so crashes the process. The program
// reads only in child processes, which such a crash ends; the file is then
// named as damaged. A process that reads archives in itself (the fuzzing
// target) asks for files with such blocks to be refused
// (RefuseHuffmanReads).
//
// A file whose key the engine would guess from its data is not read: the
// checks cannot follow that guess.
bool PackedBlocksAreSafe(int fd, HANDLE stormFile, const stormlib::OpenedFile &file,
                         const stormlib::ArchiveFacts &archive)
{
    const bool encrypted = (file.entry.flags & MPQ_FILE_ENCRYPTED) != 0;
    const bool version1 = archive.formatVersion < MPQ_FORMAT_VERSION_2;
    bool lzmaInVersion1 = false;
    bool huffman = false;
    const bool followed = ForEachPackedBlock(stormFile, file, archive, [&](const PackedBlock &block) {
        const std::vector<unsigned char> head = BlockBytes(fd, block, encrypted, 4);
        if (head.empty()) return;
        if (version1 && head[0] == MPQ_COMPRESSION_LZMA) lzmaInVersion1 = true;
        if ((head[0] & MPQ_COMPRESSION_HUFFMANN) != 0) huffman = true;
    });
    return followed && !lzmaInVersion1 && !(huffman && huffmanRefused);
}

// StormLib 9.22 takes a file's size from the block table and reads into
// buffers of that size (a file stored whole, and every caller that reads a
// whole file, the internal list among them); sectors stored empty it fills
// with zeros. A file of a few kilobytes can so claim gigabytes. Stored bytes
// lie in the archive's file, and no compression of the engine unpacks a
// sector to more than about a thousand times what it takes with its entry
// of the sector table: a larger size than that cannot be read.
bool SizeFitsTheStoredBytes(int fd, const stormlib::OpenedFile &file)
{
    constexpr std::uint64_t kLargestUnpacking = 1024;
    struct stat st {};
    if (::fstat(fd, &st) != 0) return false;
    const auto fileSize = static_cast<std::uint64_t>(st.st_size);
    const std::uint64_t room = file.rawAt < fileSize ? fileSize - file.rawAt : 0;
    const bool compressed = (file.entry.flags & MPQ_FILE_COMPRESS_MASK) != 0;
    return file.dataSize <= (compressed ? room * kLargestUnpacking : room);
}

// StormLib 9.22 loads the sector checksums of a compressed file at its first
// read, whether anyone checks them or not, when its flags say it has them
// and its sector table has room for their place: a block behind the last
// sector, of four bytes up to a sector. It reads that block whole into a
// table of four bytes a sector, so a longer block writes past the table; in
// a version 1 archive it takes a block that runs past the end of the file
// for one cut short, and clears memory outside the table or unpacks bytes
// never read; and a shorter block is unpacked, Huffman and all (see
// PackedBlocksAreSafe).
bool SectorChecksumsAreSafe(int fd, HANDLE stormFile, const stormlib::OpenedFile &file,
                            const stormlib::ArchiveFacts &archive)
{
    const stormlib::Entry &entry = file.entry;
    if ((entry.flags & MPQ_FILE_SECTOR_CRC) == 0 || (entry.flags & MPQ_FILE_COMPRESS_MASK) == 0 ||
        (entry.flags & MPQ_FILE_SINGLE_UNIT) || file.dataSize == 0 || archive.sectorSize == 0)
        return true;
    // Loaded as the first read loads them; when that fails, so does the read.
    const stormlib::SectorTable table = stormlib::LoadSectorTable(stormFile);
    if (!table.loaded) return true;
    const std::uint32_t count = table.count;
    if (table.offsets[0] != (std::uint64_t{count} + 2) * 4) return true;  // no room: not loaded
    const std::uint32_t begins = table.offsets[count], ends = table.offsets[count + 1];
    const std::uint32_t stored = ends >= begins ? ends - begins : 0;
    if (stored < 4 || stored > table.sectorSize) return true;  // not loaded
    const std::uint64_t tableBytes = std::uint64_t{count} * 4;
    if (stored > tableBytes) return false;
    const std::uint64_t at = stormlib::RawSectorAt(stormFile, begins);
    struct stat st {};
    if (::fstat(fd, &st) != 0) return false;
    if (archive.formatVersion == MPQ_FORMAT_VERSION_1 && at + stored > static_cast<std::uint64_t>(st.st_size))
        return false;
    if (stored == tableBytes) return true;  // stored as it is
    // The table's loader unpacks it as a block of a version 2 archive.
    const PackedBlock block{at, stored, static_cast<std::uint32_t>(tableBytes), 0};
    const std::vector<unsigned char> bytes = BlockBytes(fd, block, false, 1);
    return !huffmanRefused || bytes.empty() || (bytes[0] & MPQ_COMPRESSION_HUFFMANN) == 0;
}

}  // namespace

void RefuseHuffmanReads() { huffmanRefused = true; }

bool ReadIsSafe(int archiveFd, void *stormFile)
{
    const stormlib::OpenedFile file = stormlib::Opened(stormFile);
    if (!file.known) return true;
    const stormlib::ArchiveFacts archive = stormlib::Facts(file.archive);
    return SizeFitsTheStoredBytes(archiveFd, file) && SectorTableFits(archiveFd, file, archive) &&
           PackedBlocksAreSafe(archiveFd, stormFile, file, archive) &&
           SectorChecksumsAreSafe(archiveFd, stormFile, file, archive);
}

bool UpdateOpenIsSafe(const std::string &path)
{
    if (CheckOpen(path) != OpenVerdict::Safe) return false;
    HANDLE storm = nullptr;
    const DWORD flags = STREAM_FLAG_READ_ONLY | MPQ_OPEN_NO_LISTFILE | MPQ_OPEN_NO_ATTRIBUTES;
    if (!::SFileOpenArchive(path.c_str(), 0, flags, &storm)) return true;  // the update's own open fails
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    bool safe = fd >= 0;
    for (const char *name : {LISTFILE_NAME, ATTRIBUTES_NAME}) {
        HANDLE file = nullptr;
        if (!safe || !::SFileOpenFileEx(storm, name, SFILE_OPEN_FROM_MPQ, &file)) continue;
        safe = ReadIsSafe(fd, file);
        ::SFileCloseFile(file);
    }
    if (fd >= 0) ::close(fd);
    ::SFileCloseArchive(storm);
    return safe;
}

}  // namespace mpq::guards
