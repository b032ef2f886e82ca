// Building an archive from its shape (mpq_shape.h). StormLib writes the
// archive, file by file as the shape lists them, into a file beside the
// target. What StormLib cannot be told is then written into that file
// directly: the hash table with every file in its own slot, and the stored
// bytes of files that StormLib encrypted under a stand-in name. Last, the
// bytes in front and the archive are joined at the target.
//
// Nothing here takes a time or a random number: the files' times come from
// the shape, the internal files carry none, and StormLib's compressions and
// tables depend on their input alone. So the same shape and sources give
// the same bytes.
#include "mpq/mpq_handle.h"
#include "mpq/mpq_hash.h"
#include "mpq/mpq_isolation.h"
#include "mpq/mpq_library.h"
#include "mpq/mpq_shape.h"
#include "mpq/mpq_storm.h"
#include "mpq/whole_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>
#include <span>
#include <string_view>
#include <utility>

// The helpers live in a namespace of their own, apart from those of the
// files compiled with this one in a unity build.
namespace mpq::shape_building {

namespace {

// The flags StormLib takes from a file's creation; it sets the rest itself.
constexpr DWORD kCreationFlags = MPQ_FILE_IMPLODE | MPQ_FILE_COMPRESS | MPQ_FILE_ENCRYPTED | MPQ_FILE_FIX_KEY |
                                 MPQ_FILE_SINGLE_UNIT | MPQ_FILE_SECTOR_CRC;
// StormLib 9.22 cannot open the archives it makes with sectors of 512
// bytes; the engine opens none with sectors past 16 MiB.
constexpr std::uint32_t kSmallestSector = 1024, kLargestSector = 1u << 24;
// The tables an update makes, up to the largest (mpq_update.cpp).
constexpr std::uint32_t kSmallestTable = HASH_TABLE_SIZE_MIN, kLargestTable = 1u << 20;
// Stored bytes and sources move in steps of this size.
constexpr std::size_t kCopyStep = std::size_t{1} << 20;

bool IsPowerOfTwo(std::uint64_t value) { return value != 0 && (value & (value - 1)) == 0; }

std::uint16_t Le16(const unsigned char *p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
std::uint32_t Le32(const unsigned char *p)
{
    return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}

// A file's key at `offset` under the key `base` its name gives.
std::uint32_t KeyAt(std::uint32_t base, std::uint64_t offset, std::uint32_t size, std::uint32_t flags)
{
    return (flags & MPQ_FILE_FIX_KEY) ? (base + static_cast<std::uint32_t>(offset)) ^ size : base;
}

// The key StormLib encrypts a file with under `name`: from the name's last part.
std::uint32_t NameBase(std::string_view name)
{
    const std::string_view plain = name.substr(name.find_last_of("\\/") + 1);
    return HashString(plain.data(), plain.size(), HashType::FileKey);
}

// A name as `why` shows it: a variant with its locale.
std::string Shown(const FileShape &file)
{
    std::string shown = "\"" + file.name.substr(0, file.name.find('\0')) + "\"";
    if (file.locale == 0) return shown;
    char locale[32];
    std::snprintf(locale, sizeof locale, " (locale %04x)", file.locale);
    return shown + locale;
}

std::string ErrorText(const char *what)
{
    return std::string(what) + " (error " + std::to_string(GetLastError()) + ")";
}

// A file descriptor that closes itself.
struct Descriptor {
    int fd = -1;
    explicit Descriptor(int fd_) : fd(fd_) {}
    ~Descriptor()
    {
        if (fd >= 0) ::close(fd);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
};

// Copies `length` bytes of `in` from where it stands to `out`; false when
// either fails, or `in` ends first.
bool Copy(int in, int out, std::uint64_t length, std::vector<char> &buffer)
{
    buffer.resize(kCopyStep);
    while (length > 0) {
        const auto step = static_cast<std::size_t>(std::min<std::uint64_t>(length, kCopyStep));
        if (!ReadAll(in, buffer.data(), step) || !WriteAll(out, buffer.data(), step)) return false;
        length -= step;
        Beat();
    }
    return true;
}

// How one file of the shape is written.
struct Planned {
    std::string bare;          // its name without the locale; empty for a nameless file
    std::string writtenAs;     // the name StormLib writes it under
    bool standIn = false;      // that name is a stand-in, which the archive forgets
    std::uint64_t nameKey = 0; // the hashes its slot gets
    std::uint32_t index = 0;   // its file-table index, once written
};

class Builder {
public:
    Builder(const std::string &path, const ArchiveShape &shape, const std::vector<std::string> &sources,
            const std::string &front, std::string &why)
        : path_(path), shape_(shape), sources_(sources), front_(front), why_(why)
    {
    }

    bool Run()
    {
        if (!Check()) return false;
        std::string temporary;
        const Descriptor made(MakeTemporary(temporary));
        if (made.fd < 0) return Refuse("no file could be made beside " + path_ + ": " + std::strerror(errno));
        const bool built = Write(temporary) && (!keepSlots_ || Rewrite(temporary)) && Join(temporary);
        ::unlink(temporary.c_str());
        return built;
    }

private:
    bool Refuse(std::string text)
    {
        why_ = std::move(text);
        return false;
    }

    // Everything that can be refused before anything is made.
    bool Check()
    {
        const std::vector<FileShape> &files = shape_.files;
        if (sources_.size() != files.size())
            return Refuse("the shape holds " + std::to_string(files.size()) + " files, and " +
                          std::to_string(sources_.size()) + " sources are given");
        if (shape_.format < 1 || shape_.format > 4)
            return Refuse("there is no archive format " + std::to_string(shape_.format));
        const std::uint32_t sector = shape_.sectorSize;
        if (!IsPowerOfTwo(sector) || sector < kSmallestSector || sector > kLargestSector)
            return Refuse("sectors of " + std::to_string(sector) +
                          " bytes cannot be made: they are a power of two from 1024 bytes to 16 MiB");
        if (shape_.format == 4 && shape_.rawChunkSize != 0 && !IsPowerOfTwo(shape_.rawChunkSize))
            return Refuse("MD5s of " + std::to_string(shape_.rawChunkSize) + " stored bytes each cannot be made");
        if (!front_.empty()) {
            struct stat st {};
            if (::stat(front_.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
                return Refuse("the bytes in front, " + front_ + ", cannot be read");
            frontSize_ = static_cast<std::uint64_t>(st.st_size);
            if (frontSize_ % 512 != 0)
                return Refuse("the bytes in front are " + std::to_string(frontSize_) +
                              " long: the header can stand only at a multiple of 512");
        }
        const auto slotted = std::count_if(files.begin(), files.end(), [](const FileShape &f) { return f.slot != kAnySlot; });
        if (slotted != 0 && static_cast<std::size_t>(slotted) != files.size())
            return Refuse("some files have a slot and others not: either all keep their slots, or none");
        keepSlots_ = slotted != 0 && shape_.format <= 2;
        return CheckTable() && CheckFiles();
    }

    bool CheckTable()
    {
        const std::size_t needed = shape_.files.size() + Reserved();
        slots_ = shape_.hashTableSize;
        if (slots_ == 0) {
            if (keepSlots_) return Refuse("the files have slots, and the shape no hash table");
            for (slots_ = kSmallestTable; slots_ < needed && slots_ < kLargestTable;) slots_ *= 2;
        }
        if (!IsPowerOfTwo(slots_) || slots_ < kSmallestTable || slots_ > kLargestTable)
            return Refuse("a hash table of " + std::to_string(slots_) +
                          " slots cannot be made: it holds a power of two from 4 to 2^20");
        if (needed > slots_)
            return Refuse("a hash table of " + std::to_string(slots_) + " slots cannot hold " +
                          std::to_string(shape_.files.size()) + " files and the internal files");
        if (!keepSlots_) return true;
        // Each slot holds one file at most, and a held slot none.
        std::vector<char> taken(slots_, 0);
        for (const std::uint32_t held : shape_.heldSlots) {
            if (held >= slots_) return Refuse("held slot " + std::to_string(held) + " lies past the hash table");
            taken[held] = 1;
        }
        for (const FileShape &file : shape_.files) {
            if (file.slot >= slots_) return Refuse(Shown(file) + " has slot " + std::to_string(file.slot) + ", past the hash table");
            if (taken[file.slot] != 0) return Refuse("slot " + std::to_string(file.slot) + " is taken twice");
            taken[file.slot] = 1;
        }
        return true;
    }

    // The internal files StormLib writes, and keeps entries for.
    std::size_t Reserved() const { return (shape_.listfile ? 1 : 0) + (shape_.attributes != 0 ? 1 : 0); }

    bool CheckFiles()
    {
        const bool newerTables = shape_.format >= 3;
        std::set<std::pair<std::uint64_t, std::uint16_t>> taken;  // names and locales
        planned_.resize(shape_.files.size());
        for (std::size_t i = 0; i < shape_.files.size(); ++i) {
            const FileShape &file = shape_.files[i];
            Planned &plan = planned_[i];
            struct stat st {};
            if (::stat(sources_[i].c_str(), &st) != 0 || !S_ISREG(st.st_mode))
                return Refuse("the source of " + Shown(file) + ", " + sources_[i] + ", cannot be read");
            if (static_cast<std::uint64_t>(st.st_size) != file.fullSize)
                return Refuse("the source of " + Shown(file) + " holds " + std::to_string(st.st_size) + " bytes, not " +
                              std::to_string(file.fullSize));
            if ((file.flags & MPQ_FILE_IMPLODE) && (file.flags & MPQ_FILE_COMPRESS))
                return Refuse(Shown(file) + " cannot be both imploded and compressed");
            if (newerTables && file.locale != 0)
                return Refuse(Shown(file) + " is a locale variant: formats 3 and 4 keep no locales");
            plan.nameKey = file.nameKey;
            if (file.named) {
                std::string_view bare;
                std::uint16_t locale = 0;
                if (!SplitLocaleVariant(file.name, bare, locale)) return Refuse(Shown(file) + " is no stored name");
                plan.bare.assign(bare);
                plan.nameKey = NameKey(bare.data(), bare.size());
            } else if (!keepSlots_) {
                return Refuse(Shown(file) + " has no name: files without a name can be packed only in formats 1 and 2, "
                              "each in the slot it had");
            } else if ((file.flags & MPQ_FILE_ENCRYPTED) && file.key == 0) {
                return Refuse("the key of " + Shown(file) + " is not known: an encrypted file without a name can be "
                              "packed only with its key");
            }
            // A name and locale taken before: the file stands in its own slot under a stand-in name.
            plan.standIn = !file.named || !taken.insert({plan.nameKey, file.locale}).second;
            if (plan.standIn && file.named && !keepSlots_)
                return Refuse(Shown(file) + " is stored twice: one name and locale can be packed twice only in "
                              "formats 1 and 2, each in the slot it had");
            char standIn[48];
            std::snprintf(standIn, sizeof standIn, "~unknowns\\stand-in%08zu", i);
            plan.writtenAs = plan.standIn ? standIn : plan.bare;
        }
        return true;
    }

    // An empty file beside the target, for StormLib to make the archive in;
    // one that a build cut off left there goes first.
    int MakeTemporary(std::string &name) const
    {
        name = path_ + ".building";
        ::unlink(name.c_str());
        return ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    }

    // StormLib writes the archive into `temporary`, its header at 0.
    bool Write(const std::string &temporary)
    {
        PrepareSigning();
        SFILE_CREATE_MPQ create{};
        create.cbSize = sizeof create;
        create.dwMpqVersion = static_cast<DWORD>(shape_.format - 1);
        const DWORD internalFlags = MPQ_FILE_EXISTS | MPQ_FILE_COMPRESS;
        create.dwFileFlags1 = shape_.listfile ? internalFlags : 0;
        create.dwFileFlags2 = shape_.attributes != 0 ? internalFlags : 0;
        create.dwAttrFlags = shape_.attributes & MPQ_ATTRIBUTE_ALL;
        create.dwSectorSize = shape_.sectorSize;
        create.dwRawChunkSize = shape_.format == 4 ? shape_.rawChunkSize : 0;
        // StormLib adds the internal files to the count and rounds up to a power of two.
        create.dwMaxFileCount = static_cast<DWORD>(slots_ - Reserved());
        HANDLE storm = nullptr;
        if (!::SFileCreateArchive2(temporary.c_str(), &create, &storm)) return Refuse(ErrorText("StormLib could not make the archive"));
        const bool written = WriteFiles(storm);
        // Closing writes the internal files and the tables, even after a failure.
        const bool closed = ::SFileCloseArchive(storm);
        if (!written) return false;
        return closed || Refuse(ErrorText("StormLib could not finish the archive"));
    }

    bool WriteFiles(HANDLE storm)
    {
        const stormlib::ArchiveFacts facts = stormlib::Facts(storm);
        if (facts.hashTableSize != slots_)
            return Refuse("StormLib made a hash table of " + std::to_string(facts.hashTableSize) + " slots, not " +
                          std::to_string(slots_));
        // Each piece of a file written is a sign of progress for a watchdog.
        ::SFileSetAddFileCallback(storm, [](void *, DWORD, DWORD, bool) { Beat(); }, nullptr);
        std::vector<char> piece(shape_.sectorSize);
        for (std::size_t i = 0; i < shape_.files.size(); ++i) {
            const FileShape &file = shape_.files[i];
            Planned &plan = planned_[i];
            const Descriptor source(::open(sources_[i].c_str(), O_RDONLY | O_CLOEXEC));
            if (source.fd < 0) return Refuse("the source of " + Shown(file) + " cannot be read");
            HANDLE written = nullptr;
            if (!::SFileCreateFile(storm, plan.writtenAs.c_str(), file.fileTime, file.fullSize, file.locale,
                                   file.flags & kCreationFlags, &written))
                return Refuse(ErrorText(("StormLib could not add " + Shown(file)).c_str()));
            plan.index = stormlib::Opened(written).index;
            // The first sector takes the first compression, every other one the next.
            const DWORD next = file.nextCompression != 0 ? file.nextCompression : file.compression;
            bool complete = true, wrote = true;
            std::string failure;
            for (std::uint32_t done = 0; complete && wrote && done < file.fullSize;) {
                const std::uint32_t step = std::min<std::uint32_t>(shape_.sectorSize, file.fullSize - done);
                complete = ReadAll(source.fd, piece.data(), step);
                wrote = !complete || ::SFileWriteFile(written, piece.data(), step, done == 0 ? file.compression : next);
                if (!wrote) failure = ErrorText(("StormLib could not write " + Shown(file)).c_str());
                done += step;
            }
            char more = 0;
            complete = complete && wrote && ::read(source.fd, &more, 1) == 0;
            // Finishing also lets go of a file whose writing failed.
            if (!::SFileFinishFile(written) && wrote) {
                wrote = false;
                failure = ErrorText(("StormLib could not finish " + Shown(file)).c_str());
            }
            if (!wrote) return Refuse(failure);
            if (!complete) return Refuse("the source of " + Shown(file) + " changed while it was packed");
            if (plan.standIn) stormlib::ForgetName(storm, plan.index);
        }
        return true;
    }

    bool Join(const std::string &temporary)
    {
        if (frontSize_ == 0) {
            if (::rename(temporary.c_str(), path_.c_str()) == 0) return true;
            return Refuse(path_ + " could not be written: " + std::strerror(errno));
        }
        const Descriptor front(::open(front_.c_str(), O_RDONLY | O_CLOEXEC));
        const Descriptor archive(::open(temporary.c_str(), O_RDONLY | O_CLOEXEC));
        const Descriptor out(::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
        struct stat st {};
        std::vector<char> buffer;
        if (front.fd < 0 || archive.fd < 0 || out.fd < 0 || ::fstat(archive.fd, &st) != 0 ||
            !Copy(front.fd, out.fd, frontSize_, buffer) ||
            !Copy(archive.fd, out.fd, static_cast<std::uint64_t>(st.st_size), buffer))
            return Refuse(path_ + " could not be written: " + std::strerror(errno));
        return true;
    }

    bool Rewrite(const std::string &temporary);
    bool Recrypt(int fd, const std::uint32_t *entry, std::uint64_t offset, std::uint32_t oldKey, std::uint32_t newKey);

    const std::string &path_;
    const ArchiveShape &shape_;
    const std::vector<std::string> &sources_;
    const std::string &front_;
    std::string &why_;
    std::uint64_t frontSize_ = 0;
    bool keepSlots_ = false;  // the hash table is written anew with the files in their slots
    std::uint32_t slots_ = 0;
    std::vector<Planned> planned_;
};

// Decrypts the whole words of `length` bytes at `at` with `oldKey` and
// writes them back encrypted with `newKey`; the bytes of a last word cut
// short are not encrypted, and stay.
bool RecryptRun(int fd, std::uint64_t at, std::uint32_t length, std::uint32_t oldKey, std::uint32_t newKey,
                std::vector<std::uint32_t> &words)
{
    words.assign((std::size_t{length} + 3) / 4, 0);
    if (!ReadAllAt(fd, words.data(), length, at)) return false;
    const std::span<std::uint32_t> whole(words.data(), length / 4);
    DecryptWords(whole, oldKey);
    EncryptWords(whole, newKey);
    return WriteAllAt(fd, words.data(), length, at);
}

// The stored bytes of a file StormLib wrote under a stand-in name, at
// `offset` in the archive, encrypted anew with the key its own name or its
// shape gives: its sector table with the key less one, each sector (or its
// single unit) with the key plus its number. Sector checksums are not
// encrypted.
bool Builder::Recrypt(int fd, const std::uint32_t *entry, std::uint64_t offset, std::uint32_t oldKey, std::uint32_t newKey)
{
    const std::uint32_t stored = entry[1], size = entry[2], flags = entry[3];
    std::vector<std::uint32_t> words;
    if (stored == 0 || size == 0) return true;
    if (flags & MPQ_FILE_SINGLE_UNIT) return RecryptRun(fd, offset, stored, oldKey, newKey, words);
    const std::uint32_t sector = shape_.sectorSize, sectors = (size - 1) / sector + 1;
    if ((flags & MPQ_FILE_COMPRESS_MASK) == 0) {
        const std::uint32_t length = std::min(stored, size);
        for (std::uint32_t n = 0; n < sectors && n * std::uint64_t{sector} < length; ++n)
            if (!RecryptRun(fd, offset + std::uint64_t{n} * sector, std::min(sector, length - n * sector), oldKey + n,
                            newKey + n, words))
                return false;
        return true;
    }
    const std::uint32_t entries = sectors + 1 + ((flags & MPQ_FILE_SECTOR_CRC) ? 1 : 0);
    std::vector<std::uint32_t> table(entries);
    if (std::uint64_t{entries} * 4 > stored || !ReadAllAt(fd, table.data(), table.size() * 4, offset)) return false;
    DecryptWords(table, oldKey - 1);
    if (table[0] != entries * 4) return false;
    for (std::uint32_t n = 0; n < sectors; ++n)
        if (table[n + 1] < table[n] || table[n + 1] > stored) return false;
    const std::vector<std::uint32_t> plain = table;
    EncryptWords(table, newKey - 1);
    if (!WriteAllAt(fd, table.data(), table.size() * 4, offset)) return false;
    for (std::uint32_t n = 0; n < sectors; ++n)
        if (!RecryptRun(fd, offset + plain[n], plain[n + 1] - plain[n], oldKey + n, newKey + n, words)) return false;
    return true;
}

// The hash table of the archive StormLib wrote (in format 1 or 2, at 0 in
// `temporary`) written anew: every file in its slot under its hashes,
// locale and platform, the held slots deleted, the internal files in the
// first free or deleted slot from where their names hash, the rest free.
// Then the files written under stand-in names are encrypted anew.
bool Builder::Rewrite(const std::string &temporary)
{
    const Descriptor archive(::open(temporary.c_str(), O_RDWR | O_CLOEXEC));
    unsigned char header[MPQ_HEADER_SIZE_V2] = {};
    struct stat st {};
    if (archive.fd < 0 || ::fstat(archive.fd, &st) != 0 || !ReadAllAt(archive.fd, header, sizeof header, 0))
        return Refuse("the archive StormLib made cannot be read back");
    const bool v2 = Le16(header + 12) == MPQ_FORMAT_VERSION_2;
    const std::uint64_t hashAt = Le32(header + 16) | (v2 ? std::uint64_t{Le16(header + 40)} << 32 : 0);
    const std::uint64_t blockAt = Le32(header + 20) | (v2 ? std::uint64_t{Le16(header + 42)} << 32 : 0);
    const std::uint64_t highAt = v2 ? (Le32(header + 32) | std::uint64_t{Le32(header + 36)} << 32) : 0;
    const std::uint32_t hashCount = Le32(header + 24), blockCount = Le32(header + 28);
    const auto size = static_cast<std::uint64_t>(st.st_size);
    if (hashCount != slots_ || blockCount > slots_ || hashAt + std::uint64_t{hashCount} * 16 > size ||
        blockAt + std::uint64_t{blockCount} * 16 > size || (highAt != 0 && highAt + std::uint64_t{blockCount} * 2 > size))
        return Refuse("the tables of the archive StormLib made are not as expected");
    std::vector<std::uint32_t> hashes(std::size_t{hashCount} * 4), blocks(std::size_t{blockCount} * 4);
    std::vector<std::uint16_t> high(highAt != 0 ? blockCount : 0);
    if (!ReadAllAt(archive.fd, hashes.data(), hashes.size() * 4, hashAt) ||
        !ReadAllAt(archive.fd, blocks.data(), blocks.size() * 4, blockAt) ||
        !ReadAllAt(archive.fd, high.data(), high.size() * 2, highAt))
        return Refuse("the tables of the archive StormLib made cannot be read back");
    DecryptWords(hashes, MPQ_KEY_HASH_TABLE);
    DecryptWords(blocks, MPQ_KEY_BLOCK_TABLE);

    const std::uint32_t mask = slots_ - 1;
    std::vector<std::uint32_t> table(hashes.size(), HASH_ENTRY_FREE);
    for (const std::uint32_t held : shape_.heldSlots) table[std::size_t{held} * 4 + 3] = HASH_ENTRY_DELETED;
    std::vector<char> ours(blockCount, 0);
    for (std::size_t i = 0; i < shape_.files.size(); ++i) {
        const FileShape &file = shape_.files[i];
        std::uint32_t *slot = &table[std::size_t{file.slot} * 4];
        slot[0] = static_cast<std::uint32_t>(planned_[i].nameKey >> 32);
        slot[1] = static_cast<std::uint32_t>(planned_[i].nameKey);
        slot[2] = file.locale | std::uint32_t{file.platform} << 16;
        slot[3] = planned_[i].index;
        if (planned_[i].index < blockCount) ours[planned_[i].index] = 1;
    }
    // The internal files StormLib wrote, wherever it put them.
    for (std::uint32_t n = 0; n < hashCount; ++n) {
        const std::uint32_t *old = &hashes[std::size_t{n} * 4];
        if (old[3] >= blockCount || ours[old[3]] != 0) continue;
        const char *internal = nullptr;
        for (const char *name : {LISTFILE_NAME, ATTRIBUTES_NAME})
            if (NameKey(name, std::strlen(name)) == (std::uint64_t{old[0]} << 32 | old[1])) internal = name;
        if (internal == nullptr) return Refuse("the archive StormLib made holds a file the shape does not");
        std::uint32_t at = HashString(internal, std::strlen(internal), HashType::TableOffset) & mask;
        for (std::uint32_t tries = 0; table[std::size_t{at} * 4 + 3] < HASH_ENTRY_DELETED; ++tries, at = (at + 1) & mask)
            if (tries == slots_) return Refuse("the hash table has no slot left for the internal files");
        std::copy(old, old + 4, &table[std::size_t{at} * 4]);
    }
    EncryptWords(table, MPQ_KEY_HASH_TABLE);
    if (!WriteAllAt(archive.fd, table.data(), table.size() * 4, hashAt))
        return Refuse("the hash table could not be written: " + std::string(std::strerror(errno)));

    for (std::size_t i = 0; i < shape_.files.size(); ++i) {
        const FileShape &file = shape_.files[i];
        const Planned &plan = planned_[i];
        if (!plan.standIn || (file.flags & MPQ_FILE_ENCRYPTED) == 0 || plan.index >= blockCount) continue;
        const std::uint32_t *entry = &blocks[std::size_t{plan.index} * 4];
        const std::uint64_t offset = entry[0] | (high.empty() ? 0 : std::uint64_t{high[plan.index]} << 32);
        const std::uint32_t oldKey = KeyAt(NameBase(plan.writtenAs), offset, entry[2], entry[3]);
        const std::uint32_t newKey = KeyAt(file.named ? NameBase(plan.bare) : file.key, offset, entry[2], entry[3]);
        if (!Recrypt(archive.fd, entry, offset, oldKey, newKey))
            return Refuse(Shown(file) + " could not be encrypted with its own key");
        Beat();
    }
    return true;
}

}  // namespace

}  // namespace mpq::shape_building

namespace mpq {

bool BuildArchive(const std::string &path, const ArchiveShape &shape, const std::vector<std::string> &sources,
                  const std::string &front, std::string &why)
{
    why.clear();
    return shape_building::Builder(path, shape, sources, front, why).Run();
}

}  // namespace mpq
