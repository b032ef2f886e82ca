// Reading the shape of an archive (mpq_shape.h). Its layout comes from the
// header and tables as StormLib took them, the names from the caller's
// listing, and what only a file's stored bytes tell (its compression, the
// key of a nameless one) from the file opened as a read opens it.
#include "mpq/mpq_shape.h"

#include "mpq/mpq_handle.h"
#include "mpq/mpq_hash.h"
#include "mpq/mpq_isolation.h"
#include "mpq/mpq_library.h"
#include "mpq/mpq_storm.h"
#include "mpq/whole_io.h"

#include <fcntl.h>
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <string_view>

// The helpers live in a namespace of their own: the engine is compiled in
// batches of files (a unity build), where other files have helpers of the
// same names.
namespace mpq::shape_reading {

namespace {

// Which internal file, which the archive built back writes for itself, a
// stored name names; null for any other.
const char *InternalFile(std::string_view storedName)
{
    std::string_view bare;
    std::uint16_t locale = 0;
    if (!SplitLocaleVariant(storedName, bare, locale)) return nullptr;
    const std::string name(bare);
    for (const char *internal : {LISTFILE_NAME, ATTRIBUTES_NAME, SIGNATURE_NAME})
        if (::strcasecmp(name.c_str(), internal) == 0) return internal;
    return nullptr;
}

std::uint32_t Le32(const unsigned char *p)
{
    return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}

// What "(attributes)" holds that the shape keeps: its flags, and the time
// of each entry of the block table.
struct Attributes {
    std::uint32_t flags = 0;
    std::vector<std::uint64_t> times;
};

// Reads "(attributes)" as a read of the file reads it, the guards first. Its
// arrays hold `entries` entries, or one less; a file too short for either
// holds no times.
Attributes ReadAttributes(MpqHandle archive, std::uint32_t entries)
{
    Attributes read;
    const StoredFile file = SFileOpenFileEx(archive, ATTRIBUTES_NAME);
    const std::int64_t size = SFileGetFileInfo(file.get(), SFILE_INFO_SIZE);
    constexpr std::uint64_t kLargestEntry = 4 + 8 + 16 + 4;  // CRC32, time, MD5 and a patch word
    if (!file || size < 8 || static_cast<std::uint64_t>(size) > 8 + kLargestEntry * (std::uint64_t{entries} + 1))
        return read;
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    std::uint32_t got = 0;
    if (!SFileReadFile(file.get(), bytes.data(), static_cast<std::uint32_t>(size), &got, nullptr) || got != static_cast<std::uint64_t>(size) ||
        Le32(bytes.data()) != MPQ_ATTRIBUTES_V1)
        return read;
    read.flags = Le32(bytes.data() + 4) & MPQ_ATTRIBUTE_ALL;
    if ((read.flags & MPQ_ATTRIBUTE_FILETIME) == 0) return read;
    const std::uint64_t perEntry = ((read.flags & MPQ_ATTRIBUTE_CRC32) ? 4 : 0) + 8 +
                                   ((read.flags & MPQ_ATTRIBUTE_MD5) ? 16 : 0);
    std::uint64_t count = entries;
    if (8 + perEntry * count > bytes.size() && count > 0) --count;
    if (8 + perEntry * count > bytes.size()) return read;
    const unsigned char *times = bytes.data() + 8 + ((read.flags & MPQ_ATTRIBUTE_CRC32) ? 4 * count : 0);
    read.times.resize(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < read.times.size(); ++i)
        read.times[i] = Le32(times + 8 * i) | std::uint64_t{Le32(times + 8 * i + 4)} << 32;
    return read;
}

// The compression mask of a sector stored shorter than it unpacks to: its
// first byte, once the word it begins is decrypted (a sector shorter than a
// word is not encrypted). 0 when it cannot be read.
std::uint8_t MaskAt(int fd, std::uint64_t at, std::uint32_t stored, bool encrypted, std::uint32_t key)
{
    unsigned char bytes[4] = {};
    if (!ReadAllAt(fd, bytes, std::min<std::uint32_t>(stored, 4), at)) return 0;
    std::uint32_t word = Le32(bytes);
    if (encrypted && stored >= 4) DecryptWords({&word, 1}, key);
    return static_cast<std::uint8_t>(word);
}

struct Compressions {
    std::uint8_t first = 0, next = 0;
};

// The masks of the first compressed sector of the open file and of the next
// one after it. Where the key of an encrypted file is not known, none.
Compressions ReadCompressions(int fd, HANDLE stormFile)
{
    const stormlib::OpenedFile file = stormlib::Opened(stormFile);
    const std::uint32_t flags = file.entry.flags;
    const bool encrypted = (flags & MPQ_FILE_ENCRYPTED) != 0;
    if ((flags & MPQ_FILE_COMPRESS) == 0 || file.dataSize == 0) return {};
    if (flags & MPQ_FILE_SINGLE_UNIT) {
        const std::uint32_t stored = file.entry.storedSize;
        if (stored == 0 || stored >= file.dataSize || (encrypted && file.key == 0)) return {};
        return {MaskAt(fd, file.rawAt, stored, encrypted, file.key), 0};
    }
    // The table as the first read loads it (the guards have loaded it already).
    const stormlib::SectorTable table = stormlib::LoadSectorTable(stormFile);
    if (!table.loaded || table.sectorSize == 0 || (encrypted && table.key == 0)) return {};
    Compressions found;
    bool seen = false;
    for (std::uint32_t i = 0; i < table.count; ++i) {
        const std::uint32_t full = std::min<std::uint32_t>(table.sectorSize, file.dataSize - i * table.sectorSize);
        const std::uint32_t begins = table.offsets[i], ends = table.offsets[i + 1];
        if (ends <= begins || ends - begins >= full) continue;  // stored as it is
        const std::uint8_t mask = MaskAt(fd, stormlib::RawSectorAt(stormFile, begins), ends - begins, encrypted, table.key + i);
        if (seen) {
            if (mask != found.first) found.next = mask;
            break;
        }
        found.first = mask;
        seen = true;
    }
    return found;
}

// Where a file's stored bytes begin in the archive's file: in format 1 the
// position wraps at 4 GiB, as StormLib reckons it.
std::uint64_t RawPosition(const stormlib::ArchiveFacts &facts, std::uint64_t offset)
{
    const std::uint64_t at = facts.headerAt + offset;
    return facts.formatVersion == 0 ? static_cast<std::uint32_t>(at) : at;
}

// The masks of a file stored neither encrypted nor as a patch, read from its
// stored bytes at `at` in the file without opening it: its sector table is
// plain, and the first few of its positions say where the sectors lie.
// False when those positions do not make sense or hold no compressed
// sector, and the file is then opened to be sure.
bool PlainCompressions(int fd, std::uint64_t at, const stormlib::Entry &entry, std::uint32_t sectorSize,
                       Compressions &found)
{
    found = {};
    const std::uint32_t stored = entry.storedSize, full = entry.fullSize;
    if (entry.flags & MPQ_FILE_SINGLE_UNIT) {
        if (stored == 0 || stored >= full) return true;  // stored as it is
        found.first = MaskAt(fd, at, stored, false, 0);
        return true;
    }
    if (sectorSize == 0 || full == 0) return false;
    constexpr std::uint32_t kLooked = 16;  // positions read; a file with more sectors stored plain is opened
    const std::uint32_t count = (full - 1) / sectorSize + 1;
    const std::uint32_t positions = std::min(count + 1, kLooked);
    unsigned char bytes[4 * kLooked];
    if (std::uint64_t{positions} * 4 > stored || !ReadAllAt(fd, bytes, positions * 4, at)) return false;
    bool seen = false;
    for (std::uint32_t i = 0; i + 1 < positions; ++i) {
        const std::uint32_t begins = Le32(bytes + 4 * i), ends = Le32(bytes + 4 * i + 4);
        const std::uint32_t unpacked = std::min(sectorSize, full - i * sectorSize);
        if (ends < begins || ends > stored) return false;
        if (ends == begins || ends - begins >= unpacked) continue;
        const std::uint8_t mask = MaskAt(fd, at + begins, ends - begins, false, 0);
        if (seen) {
            if (mask != found.first) found.next = mask;
            return true;
        }
        found.first = mask;
        seen = true;
    }
    return seen && positions == count + 1;
}

// The key an encrypted file is read with, before its adjustment by its
// place; 0 when StormLib does not find it. A key that no name gives is
// found from the sector table as it loads, or else from the first bytes as
// the first read takes them.
std::uint32_t ReadKey(MpqHandle file)
{
    stormlib::OpenedFile opened = stormlib::Opened(file->storm);
    if (opened.key == 0) {
        char first = 0;
        std::uint32_t got = 0;
        SFileReadFile(file, &first, 1, &got, nullptr);
        opened = stormlib::Opened(file->storm);
    }
    const stormlib::Entry &entry = opened.entry;
    if (opened.key == 0 || (entry.flags & MPQ_FILE_FIX_KEY) == 0) return opened.key;
    return (opened.key ^ entry.fullSize) - static_cast<std::uint32_t>(entry.offset);
}

// A stored file as its slot (or its file-table entry) gives it.
struct Placed {
    std::uint32_t slot = 0;
    std::uint64_t key = 0;
    std::uint32_t index = 0;  // its file-table index
    std::uint16_t locale = 0;
    std::uint8_t platform = 0;
    stormlib::Entry entry;
};

}  // namespace

}  // namespace mpq::shape_reading

namespace mpq {

using namespace shape_reading;

bool ReadArchiveShape(const std::string &path, const FileList &names, ArchiveShape &shape)
{
    const Archive archive = SFileOpenArchive(path);
    HANDLE storm = StormArchive(archive.get());
    if (storm == nullptr) return false;
    const stormlib::ArchiveFacts facts = stormlib::Facts(storm);
    ArchiveShape read;
    read.format = static_cast<int>(facts.formatVersion) + 1;
    read.sectorSize = facts.sectorSize;
    read.hashTableSize = facts.hashTableSize;
    read.headerAt = facts.headerAt;
    read.rawChunkSize = facts.rawChunkSize;

    // The files in the order of the listing's records: a used slot each, or
    // a file-table entry each where only the newer tables find them.
    std::vector<Placed> placed;
    if (facts.hasHashTable) {
        stormlib::ForEachHashSlot(storm, [&](const stormlib::HashSlot &slot, std::uint32_t number) {
            if (slot.used)
                placed.push_back({number, slot.key, slot.FileIndex(), slot.locale, slot.platform, slot.file});
            else if (slot.blockIndex != HASH_ENTRY_FREE)
                read.heldSlots.push_back(number);
        });
    } else {
        stormlib::ForEachFileEntry(storm, [&](const stormlib::Entry &entry, std::uint32_t index) {
            if (entry.flags & MPQ_FILE_EXISTS) placed.push_back({index, 0, index, 0, 0, entry});
        });
    }
    if (placed.size() != names.size()) return false;

    // "(attributes)" holds an entry per entry of the block table, as the
    // header counts them; a count the file table does not hold is damage.
    const std::uint32_t entries = facts.blockTableSize != 0 ? std::min(facts.blockTableSize, facts.fileTableSize)
                                                            : facts.fileTableSize;
    const Attributes attributes = ReadAttributes(archive.get(), entries);
    if (archive->fd < 0) archive->fd = ::open(archive->path.c_str(), O_RDONLY | O_CLOEXEC);
    read.attributes = attributes.flags;
    for (std::size_t k = 0; k < placed.size(); ++k) {
        const Placed &at = placed[k];
        const std::string_view name = names.Name(k);
        if (const char *internal = InternalFile(name)) {
            read.listfile = read.listfile || internal == std::string_view(LISTFILE_NAME);
            if (facts.hasHashTable) read.heldSlots.push_back(at.slot);
            continue;
        }
        FileShape file;
        file.name.assign(name);
        std::string_view bare;
        std::uint16_t locale = 0;
        const bool stored = SplitLocaleVariant(name, bare, locale);
        // A name is the file's when it hashes to the file's slot.
        file.named = facts.hasHashTable ? stored && NameKey(bare.data(), bare.size()) == at.key
                                        : stored && name.rfind(kUnknownPrefix, 0) != 0;
        file.nameKey = facts.hasHashTable ? at.key : file.named ? NameKey(bare.data(), bare.size()) : 0;
        file.slot = at.slot;
        file.locale = at.locale;
        file.platform = at.platform;
        file.flags = at.entry.flags;
        file.fullSize = at.entry.fullSize;
        file.offset = at.entry.offset;
        file.fileTime = at.index < attributes.times.size() ? attributes.times[at.index] : 0;
        // A file stored plain, or compressed without encryption, tells its
        // compression without being opened: a million small files unpack
        // at the pace of their writes.
        Compressions plain;
        const bool compressed = (file.flags & MPQ_FILE_COMPRESS) != 0;
        if (!compressed && (file.flags & MPQ_FILE_IMPLODE) == 0 && (!(file.flags & MPQ_FILE_ENCRYPTED) || file.named)) {
            read.files.push_back(std::move(file));
            Beat();
            continue;
        }
        if (compressed && (file.flags & (MPQ_FILE_ENCRYPTED | MPQ_FILE_PATCH_FILE)) == 0 &&
            PlainCompressions(archive->fd, RawPosition(facts, at.entry.offset), at.entry, facts.sectorSize, plain)) {
            file.compression = plain.first;
            file.nextCompression = plain.next;
            read.files.push_back(std::move(file));
            Beat();
            continue;
        }
        if (const StoredFile opened = SFileOpenFileEx(archive.get(), file.name)) {
            const Compressions compressions = (file.flags & MPQ_FILE_IMPLODE) ? Compressions{}
                                                                                : ReadCompressions(archive->fd, opened->storm);
            file.compression = compressions.first;
            file.nextCompression = compressions.next;
            if (!file.named && (file.flags & MPQ_FILE_ENCRYPTED)) file.key = ReadKey(opened.get());
        }
        read.files.push_back(std::move(file));
        Beat();
    }
    std::stable_sort(read.files.begin(), read.files.end(),
                     [](const FileShape &a, const FileShape &b) { return a.offset < b.offset; });
    std::sort(read.heldSlots.begin(), read.heldSlots.end());
    shape = std::move(read);
    return true;
}

}  // namespace mpq
