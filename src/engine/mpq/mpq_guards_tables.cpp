// Guards of the HET and BET tables of format 3 and 4 archives, which StormLib
// 9.22 reads before the classic hash and block tables. It checks most of
// their header fields with assertions, which Debian's build keeps, and trusts
// the rest: a few changed bytes in a StarCraft II archive end the program, or
// make StormLib read and write outside its buffers. The checks below repeat
// what its loaders (LoadExtTable, TranslateHetTable, TranslateBetTable and the
// file table built from them) do with each field, and call the tables broken
// where StormLib would fail. Such tables are left out of the copy that the
// engine opens, whose classic tables name the same files.
#include "mpq/mpq_guards.h"

#include <StormLib.h>
#include <tomcrypt.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace mpq::guards::detail {

namespace {

std::uint32_t Le32(const unsigned char *p)
{
    return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}

std::uint16_t Le16(const unsigned char *p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }

std::uint64_t Le64(const unsigned char *p) { return Le32(p) | std::uint64_t{Le32(p + 4)} << 32; }

// Exit statuses of the child that unpacks a compressed table.
enum : int { kUnread = 0, kSound = 1, kBroken = 2 };

ExtTables FromStatus(int status)
{
    return status == kUnread ? ExtTables::Unread : status == kSound ? ExtTables::Sound : ExtTables::Broken;
}

constexpr std::size_t kExtHeaderBytes = sizeof(TMPQExtHeader);
// A stored table may unpack to no more than this multiple of what it takes
// in the file; StormLib allocates the unpacked size before it unpacks. The
// tables of a million files take some megabytes.
constexpr std::uint64_t kLargestUnpacking = 64;
constexpr std::uint64_t kLargestTable = std::uint64_t{256} << 20;
// StormLib keeps bit positions and bit array lengths in 32 bits.
constexpr std::uint64_t kLargestBitCount = 0xFFFFFFF0u;

// Up to 32 bits at a bit position, lowest bit first, as StormLib reads them.
std::uint32_t BitsAt(const unsigned char *bits, std::uint64_t position, std::uint32_t count)
{
    std::uint32_t value = 0;
    for (std::uint32_t i = 0; i < count; ++i)
        value |= static_cast<std::uint32_t>((bits[(position + i) / 8] >> ((position + i) % 8)) & 1u) << i;
    return value;
}

// A whole HET table as StormLib holds it after loading (`bytes` of it, its
// 12-byte common header first, unpacked and decrypted).
ExtTables CheckHet(const unsigned char *table, std::size_t bytes)
{
    TMPQHetHeader het{};
    std::memcpy(&het, table, std::min(bytes, sizeof het));
    if (het.ExtHdr.dwVersion != 1) return ExtTables::Broken;  // asserted
    // A table too short for its header, or whose two sizes differ, is passed by.
    constexpr std::uint32_t kFixedPart = sizeof het - kExtHeaderBytes;
    if (het.ExtHdr.dwDataSize < kFixedPart || het.dwTableSize != het.ExtHdr.dwDataSize) return ExtTables::Unread;
    const std::uint64_t total = het.dwTotalCount, indexBits = total * het.dwIndexSizeTotal;
    // Asserted, in 32 bits: the parts add up to the table, the index width
    // fits the entry count and the index array fits the slots; and the
    // name hashes are 64 bits wide. Sums that wrap around are as wrong.
    if (kFixedPart + total + het.dwIndexTableSize != het.dwTableSize ||
        std::bit_width(het.dwEntryCount) != het.dwIndexSizeTotal || (indexBits + 7) / 8 != het.dwIndexTableSize ||
        indexBits > kLargestBitCount || het.dwNameHashBitSize != 0x40)
        return ExtTables::Broken;
    // Lookups read the slot of a name modulo the entry count, among the
    // total count of slots; a table without slots gets a made-up count,
    // which an assertion then finds wrong. An index read with more bits than
    // it takes writes past the 32-bit word it goes to.
    if (total < het.dwEntryCount || het.dwIndexSize > het.dwIndexSizeTotal) return ExtTables::Broken;
    return ExtTables::Sound;
}

// A whole BET table, as CheckHet takes a HET table, for an archive whose
// block table has `blockCount` entries and whose hash table `slots` slots.
ExtTables CheckBet(const unsigned char *table, std::size_t bytes, std::uint32_t blockCount, std::uint32_t slots)
{
    TMPQBetHeader bet{};
    std::memcpy(&bet, table, std::min(bytes, sizeof bet));
    if (bet.ExtHdr.dwVersion != 1) return ExtTables::Broken;  // asserted
    constexpr std::uint32_t kFixedPart = sizeof bet - kExtHeaderBytes;
    if (bet.ExtHdr.dwDataSize < kFixedPart || bet.dwTableSize != bet.ExtHdr.dwDataSize) return ExtTables::Unread;
    // Asserted: as many entries as the block table, no more than the hash
    // table's slots (all of them when it has none), and no unknown field.
    const std::uint32_t fileLimit = slots != 0 ? slots : HASH_TABLE_SIZE_MAX;
    if (bet.dwEntryCount != blockCount || bet.dwEntryCount > fileLimit || bet.dwBitCount_Unknown != 0)
        return ExtTables::Broken;
    // The flags, the entries' bit array and the name hash bit array are
    // copied out at the lengths the header gives: they must lie in the table.
    const std::uint64_t entries = bet.dwEntryCount;
    const std::uint64_t entryBits = entries * bet.dwTableEntrySize, hashBits = entries * bet.dwBitTotal_NameHash2;
    const std::uint64_t flagBytes = std::uint64_t{bet.dwFlagCount} * 4;
    if (entryBits > kLargestBitCount || hashBits > kLargestBitCount ||
        kFixedPart + flagBytes + (entryBits + 7) / 8 + (hashBits + 7) / 8 > bet.dwTableSize)
        return ExtTables::Broken;
    // Each field of an entry is read into a word of its own (64 bits for the
    // position, 32 for the rest): it must lie in the entry and fit the word.
    struct Field {
        std::uint32_t index, count, width;
    };
    const Field fields[] = {{bet.dwBitIndex_FilePos, bet.dwBitCount_FilePos, 64},
                            {bet.dwBitIndex_FileSize, bet.dwBitCount_FileSize, 32},
                            {bet.dwBitIndex_CmpSize, bet.dwBitCount_CmpSize, 32},
                            {bet.dwBitIndex_FlagIndex, bet.dwFlagCount != 0 ? bet.dwBitCount_FlagIndex : 0u, 32}};
    for (const Field &field : fields)
        if (field.count > field.width || std::uint64_t{field.index} + field.count > bet.dwTableEntrySize)
            return ExtTables::Broken;
    // Name hashes of another width than the HET table's make StormLib pass
    // the table by; one read past its slot runs out of the array at the last.
    if (bet.dwBitCount_NameHash2 + 8 != 0x40) return ExtTables::Unread;
    if (bet.dwBitCount_NameHash2 > bet.dwBitTotal_NameHash2) return ExtTables::Broken;
    // Each entry's flags are looked up by its flag index, unchecked.
    const unsigned char *entryArray = table + sizeof bet + flagBytes;
    for (std::uint64_t i = 0; bet.dwFlagCount != 0 && i < entries; ++i)
        if (BitsAt(entryArray, i * bet.dwTableEntrySize + bet.dwBitIndex_FlagIndex, bet.dwBitCount_FlagIndex) >=
            bet.dwFlagCount)
            return ExtTables::Broken;
    return ExtTables::Sound;
}

// Where a table lies, relative to the header, and how many bytes StormLib
// reads of it.
struct Extent {
    std::uint64_t at = 0, size = 0;
};

struct Layout {
    Extent het, bet, hash, block;
};

std::uint64_t Field64(const unsigned char *header, std::size_t offset) { return Le64(header + offset); }

// Version 4 headers give the stored sizes; version 3 ones are measured from
// the archive's end back to each table's start, in the order HET, BET, hash
// table, block table, high block table, with differences that wrap around
// when the tables are out of order.
Layout Measure(const unsigned char *h, int version)
{
    Layout layout;
    layout.het.at = Field64(h, offsetof(TMPQHeader, HetTablePos64));
    layout.bet.at = Field64(h, offsetof(TMPQHeader, BetTablePos64));
    layout.hash.at = std::uint64_t{Le16(h + offsetof(TMPQHeader, wHashTablePosHi))} << 32 |
                     Le32(h + offsetof(TMPQHeader, dwHashTablePos));
    layout.block.at = std::uint64_t{Le16(h + offsetof(TMPQHeader, wBlockTablePosHi))} << 32 |
                      Le32(h + offsetof(TMPQHeader, dwBlockTablePos));
    if (version == MPQ_FORMAT_VERSION_4) {
        layout.het.size = Field64(h, offsetof(TMPQHeader, HetTableSize64));
        layout.bet.size = Field64(h, offsetof(TMPQHeader, BetTableSize64));
        layout.hash.size = Field64(h, offsetof(TMPQHeader, HashTableSize64));
        layout.block.size = Field64(h, offsetof(TMPQHeader, BlockTableSize64));
        return layout;
    }
    // A header shorter than version 3's has no HET and BET tables, and a
    // 32-bit archive size.
    const bool full = Le32(h + 4) >= MPQ_HEADER_SIZE_V3;
    if (!full) layout.het.at = layout.bet.at = 0;
    std::uint64_t end = full ? Field64(h, offsetof(TMPQHeader, ArchiveSize64)) : Le32(h + 8);
    const std::uint64_t high = Field64(h, offsetof(TMPQHeader, HiBlockTablePos64));
    if (high != 0) end = high;
    for (Extent *table : {&layout.block, &layout.hash, &layout.bet, &layout.het}) {
        if (table->at == 0) continue;
        table->size = end - table->at;
        end = table->at;
    }
    return layout;
}

using TableCheck = ExtTables (*)(const unsigned char *, std::size_t, std::uint32_t, std::uint32_t);

// A stored table as LoadExtTable reads it: `size` bytes, the common header
// plain and the rest decrypted; a table whose data size says more than it
// holds is compressed, and unpacked to that size.
ExtTables CheckStored(int fd, std::uint64_t fileSize, std::uint64_t headerAt, Extent extent, std::uint32_t signature,
                      std::uint32_t key, TableCheck check, std::uint32_t blockCount, std::uint32_t slots)
{
    if (extent.at == 0 || extent.size == 0) return ExtTables::Unread;
    const std::uint64_t at = headerAt + extent.at;
    // A table that begins past the end makes StormLib refuse the archive.
    if (at < headerAt || at > fileSize) return ExtTables::Unread;
    // The read takes the size in 32 bits, and fails past the end of the file.
    const std::uint64_t readLength = extent.size & 0xFFFFFFFFu;
    if (readLength > fileSize - at) return ExtTables::Unread;
    // It reads into a buffer of the whole size, which a longer size leaves
    // unfilled, and a table shorter than its common header is decrypted for
    // about 4 GiB. No real table comes near the largest size.
    if (extent.size != readLength || extent.size < kExtHeaderBytes || extent.size > kLargestTable)
        return ExtTables::Broken;
    std::vector<std::uint32_t> words((extent.size + 3) / 4 + kExtHeaderBytes / 4);
    auto *stored = reinterpret_cast<unsigned char *>(words.data());
    ReadAt(fd, at, stored, extent.size);
    if (Le32(stored) != signature) return ExtTables::Unread;
    std::vector<std::uint32_t> data(words.begin() + 3, words.begin() + 3 + (extent.size - kExtHeaderBytes) / 4);
    for (std::uint32_t &word : data) word = Le32(reinterpret_cast<const unsigned char *>(&word));
    Decrypt(data, key);
    for (std::size_t i = 0; i < data.size(); ++i)
        for (std::size_t b = 0; b < 4; ++b)
            stored[kExtHeaderBytes + i * 4 + b] = static_cast<unsigned char>(data[i] >> (8 * b));
    const std::uint64_t dataSize = Le32(stored + 8);
    if (dataSize + kExtHeaderBytes <= extent.size) return check(stored, extent.size, blockCount, slots);
    if (dataSize > kLargestUnpacking * extent.size || dataSize > kLargestTable) return ExtTables::Broken;
    // Unpacked by the engine itself, in a child: a damaged stream may crash
    // it. StormLib passes a table by when unpacking fails; a shorter table
    // than its header says would be left partly unwritten.
    return FromStatus(InChild([&] {
        std::vector<unsigned char> table(kExtHeaderBytes + dataSize);
        std::memcpy(table.data(), stored, kExtHeaderBytes);
        int length = static_cast<int>(dataSize);
        if (!SCompDecompress2(table.data() + kExtHeaderBytes, &length, stored + kExtHeaderBytes,
                              static_cast<int>(extent.size)))
            return int{kUnread};
        if (static_cast<std::uint64_t>(length) != dataSize) return int{kBroken};
        const ExtTables verdict = check(table.data(), table.size(), blockCount, slots);
        return verdict == ExtTables::Unread ? int{kUnread} : verdict == ExtTables::Sound ? int{kSound} : int{kBroken};
    }));
}

// The MD5 of a version 4 header, taken over all of it before its own MD5.
std::array<unsigned char, MD5_DIGEST_SIZE> HeaderDigest(const unsigned char *header)
{
    std::array<unsigned char, MD5_DIGEST_SIZE> digest{};
    hash_state state;
    md5_init(&state);
    md5_process(&state, header, offsetof(TMPQHeader, MD5_MpqHeader));
    md5_done(&state, digest.data());
    return digest;
}

}  // namespace

ExtTables CheckExtTables(int fd, std::uint64_t fileSize, std::uint64_t headerAt, const unsigned char *header,
                         int version)
{
    // StormLib refuses a version 4 header whose MD5, when it has one, is not
    // its own.
    if (version == MPQ_FORMAT_VERSION_4) {
        const unsigned char *md5 = header + offsetof(TMPQHeader, MD5_MpqHeader);
        const bool present = std::any_of(md5, md5 + MD5_DIGEST_SIZE, [](unsigned char b) { return b != 0; });
        if (present && std::memcmp(md5, HeaderDigest(header).data(), MD5_DIGEST_SIZE) != 0) return ExtTables::Unread;
    }
    const Layout layout = Measure(header, version);
    const std::uint32_t slots = Le32(header + 24) & BLOCK_INDEX_MASK, blockCount = Le32(header + 28) & BLOCK_INDEX_MASK;
    const TableCheck hetCheck = [](const unsigned char *t, std::size_t n, std::uint32_t, std::uint32_t) {
        return CheckHet(t, n);
    };
    const ExtTables first = CheckStored(fd, fileSize, headerAt, layout.het, HET_TABLE_SIGNATURE, MPQ_KEY_HASH_TABLE,
                                        hetCheck, blockCount, slots);
    // The BET table is only read beside a HET table that StormLib took.
    if (first != ExtTables::Sound) return first;
    return CheckStored(fd, fileSize, headerAt, layout.bet, BET_TABLE_SIGNATURE, MPQ_KEY_BLOCK_TABLE, CheckBet,
                       blockCount, slots);
}

bool ClassicTablesFit(const unsigned char *header, int version)
{
    const Layout layout = Measure(header, version);
    const std::uint64_t hashBytes = std::uint64_t{Le32(header + 24) & BLOCK_INDEX_MASK} * 16;
    const std::uint64_t blockBytes = std::uint64_t{Le32(header + 28) & BLOCK_INDEX_MASK} * 16;
    return (layout.hash.size & 0xFFFFFFFFu) <= hashBytes && (layout.block.size & 0xFFFFFFFFu) <= blockBytes;
}

std::vector<Patch> WithoutExtTables(std::uint64_t headerAt, const unsigned char *header, int version)
{
    std::array<unsigned char, MPQ_HEADER_SIZE_V4> changed{};
    std::memcpy(changed.data(), header, changed.size());
    std::vector<std::size_t> fields = {offsetof(TMPQHeader, BetTablePos64), offsetof(TMPQHeader, HetTablePos64)};
    if (version == MPQ_FORMAT_VERSION_4)
        fields.insert(fields.end(), {offsetof(TMPQHeader, HetTableSize64), offsetof(TMPQHeader, BetTableSize64)});
    std::vector<Patch> patches;
    for (std::size_t field : fields) {
        std::memset(&changed[field], 0, 8);
        patches.push_back({headerAt + field, std::vector<unsigned char>(8, 0)});
    }
    if (version == MPQ_FORMAT_VERSION_4) {
        const auto digest = HeaderDigest(changed.data());
        patches.push_back({headerAt + offsetof(TMPQHeader, MD5_MpqHeader), {digest.begin(), digest.end()}});
    }
    return patches;
}

}  // namespace mpq::guards::detail
