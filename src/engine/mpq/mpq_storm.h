// What the engine reads from StormLib's own memory: the archive and file
// structures that StormLib 9.22 keeps behind its handles, and the few
// functions it exports without declaring them. mpq_storm.cpp is the only
// file that knows their layout (the build insists on version 9.22, see the
// top CMakeLists.txt); everything else sees the values copied out here.
// Private to the engine: it includes StormLib.h.
#pragma once

#include <StormLib.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace mpq::stormlib {

// What an open archive's header and tables are, as StormLib took them.
struct ArchiveFacts {
    std::uint32_t formatVersion = 0;  // as StormLib counts it: MPQ_FORMAT_VERSION_1 (0) for format 1
    std::uint32_t headerSize = 0;     // the header's own length in the file
    std::uint32_t rawChunkSize = 0;   // bytes of stored data per MD5 behind them; 0: none
    std::uint64_t headerAt = 0;       // where the header begins in the file
    bool hasUserData = false;         // an "MPQ\x1B" user-data block points at the header
    std::uint64_t userDataAt = 0;     // where that block begins
    std::uint32_t sectorSize = 0;     // the archive's sector size, unchecked
    bool hasFileTable = false;
    std::uint32_t fileTableSize = 0;  // entries of the file table in use
    std::uint32_t maxFileCount = 0;   // entries the file table has room for
    std::uint32_t reservedFiles = 0;  // entries kept for the internal files
    bool hasHashTable = false;        // false: only the newer HET and BET tables were loaded
    std::uint32_t hashTableSize = 0;  // slots of the hash table; 0 without one
    std::uint32_t blockTableSize = 0; // entries of the block table, as the header gives them
    bool malformed = false;           // StormLib bent what it read to make sense of it
    bool blockTableCut = false;       // the block table ran past the end of the file
    bool hashTableCut = false;        // the hash table ran past the end of the file
};

// The facts of the open archive `storm`; all zero for null. Every question
// the engine asks of an archive's layout goes through here.
ArchiveFacts Facts(HANDLE storm);

// An entry of the file table.
struct Entry {
    const char *name = nullptr;   // the name StormLib knows it by, or null; valid while the archive is open and unchanged
    std::uint64_t offset = 0;     // where its stored bytes begin, from the archive's header
    std::uint32_t storedSize = 0; // bytes it takes in the archive
    std::uint32_t fullSize = 0;   // bytes it unpacks to
    std::uint32_t flags = 0;      // MPQ_FILE_* flags
};

// Copies the file-table entries from `first` on into `out`; the count copied,
// less than out.size() only at the end of the table. The engine walks the
// file table in such batches (ForEachFileEntry) to list, name and place files.
std::size_t FileEntries(HANDLE storm, std::uint32_t first, std::span<Entry> out);

// A slot of the hash table.
struct HashSlot {
    std::uint64_t key = 0;         // its two name hashes, name A high (as NameKey, mpq_hash.h)
    std::uint32_t blockIndex = 0;  // as stored: a file-table index, or HASH_ENTRY_FREE or HASH_ENTRY_DELETED
    std::uint16_t locale = 0;      // the variant's locale; 0 neutral
    std::uint8_t platform = 0;
    bool used = false;             // it points at a file that exists, as StormLib's own walk takes it
    Entry file;                    // that file's entry when used; empty otherwise

    std::uint32_t FileIndex() const { return blockIndex & BLOCK_INDEX_MASK; }
};

// Copies the hash slots from `first` on into `out`, with the entry of each
// used one; the count copied, less than out.size() only at the end of the
// table, and 0 without one. Listings take a million files this way, so the
// walk (ForEachHashSlot) costs one call a batch.
std::size_t HashSlots(HANDLE storm, std::uint32_t first, std::span<HashSlot> out);

// Calls fn(const Item &, std::uint32_t place) for each item that `copy`
// (FileEntries or HashSlots) gives, a batch of 256 at a time.
template <typename Item, typename Fn>
void ForEachBatched(HANDLE storm, std::size_t (*copy)(HANDLE, std::uint32_t, std::span<Item>), Fn &&fn)
{
    std::array<Item, 256> batch;
    for (std::uint32_t first = 0;; first += static_cast<std::uint32_t>(batch.size())) {
        const std::size_t count = copy(storm, first, batch);
        for (std::size_t i = 0; i < count; ++i) fn(batch[i], first + static_cast<std::uint32_t>(i));
        if (count < batch.size()) return;
    }
}

// Each entry of the file table, with its index; each slot of the hash table,
// with its number.
template <typename Fn>
void ForEachFileEntry(HANDLE storm, Fn &&fn)
{
    ForEachBatched<Entry>(storm, &FileEntries, std::forward<Fn>(fn));
}
template <typename Fn>
void ForEachHashSlot(HANDLE storm, Fn &&fn)
{
    ForEachBatched<HashSlot>(storm, &HashSlots, std::forward<Fn>(fn));
}

// One entry or one slot: false past the end of its table.
inline bool FileEntryAt(HANDLE storm, std::uint32_t index, Entry &entry)
{
    return FileEntries(storm, index, {&entry, 1}) == 1;
}
inline bool HashSlotAt(HANDLE storm, std::uint32_t number, HashSlot &slot)
{
    return HashSlots(storm, number, {&slot, 1}) == 1;
}

// A stored file that StormLib has opened, as the guards see it before the
// first read.
struct OpenedFile {
    bool known = false;            // false: the handle names no entry of an archive, and nothing below holds
    HANDLE archive = nullptr;      // the archive it was opened in
    std::uint32_t index = 0;       // its place in the file table
    Entry entry;
    std::uint64_t rawAt = 0;       // where its stored bytes begin in the archive's file
    std::uint32_t dataSize = 0;    // bytes a read gives in all
    std::uint32_t key = 0;         // its decryption key; 0 while StormLib does not know it
};

// What the open file `file` is; its archive's facts come from Facts(archive).
// The guards judge a read from these, and updates tell files apart by index.
OpenedFile Opened(HANDLE file);

// The sector table of a compressed file, as its first read loads it.
struct SectorTable {
    bool loaded = false;                 // false: the load failed, and so will the first read
    std::uint32_t key = 0;               // the file's key after the load, which may have found it from the table
    std::uint32_t sectorSize = 0;        // the file's own sector size, set by the load
    std::uint32_t count = 0;             // sectors of data
    std::vector<std::uint32_t> offsets;  // count + 1 positions from the file's start, one more with sector checksums
};

// Loads the sector buffer and then the sector table of the open file
// `file` with StormLib's own loaders, as the first read would, and returns a
// copy of the table; the read then uses what was loaded. The guards must see
// exactly the positions and the key that read will use.
SectorTable LoadSectorTable(HANDLE file);

// Where in the archive's file a position of the sector table of `file`
// lies, as StormLib reckons it (32-bit in format 1). The guards read the
// bytes StormLib will unpack.
std::uint64_t RawSectorAt(HANDLE file, std::uint32_t position);

// Loads the CRC32s and MD5s of "(attributes)" into the file table, where
// Checksums finds them. The archive is opened without them; the check loads
// them once their read has passed the guards.
void LoadAttributes(HANDLE storm);

// What "(attributes)" holds of the open file `file`, as LoadAttributes put
// it into the file table: zero where it holds nothing, as in an archive
// opened without loading it.
struct FileChecksums {
    std::uint32_t crc32 = 0;
    std::array<unsigned char, 16> md5{};
};
FileChecksums Checksums(HANDLE file);

// From now on (or no longer) StormLib's reads of the open file `file` hold
// each sector against its checksum, where the file has them: a read that
// meets a sector that differs gives no bytes and fails with
// ERROR_CHECKSUM_ERROR, and the file's position stays where it was.
void CheckSectorChecksums(HANDLE file, bool check);

// Makes the update `storm` close without writing anything: its tables and
// internal files count as unchanged. For an update whose writes cannot be
// undone.
void ForgetChanges(HANDLE storm);

// When the update `storm` has no "(listfile)", has StormLib write one when
// it closes and keep its entry free until then; otherwise does nothing. For
// updates that keep the list current.
void AddListOnClose(HANDLE storm);

// Makes StormLib forget the name of the file-table entry `index` of the
// archive `storm` it is making, so that the "(listfile)" it writes on close
// leaves the file out: for a file written under a stand-in name.
void ForgetName(HANDLE storm, std::uint32_t index);

}  // namespace mpq::stormlib
