#include "mpq/mpq_repack.h"

#include "mpq/mpq_hash.h"
#include "mpq/whole_io.h"

#include <StormLib.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace mpq {

namespace {

constexpr std::uint32_t kHeaderSizeV1 = 32, kHeaderSizeV2 = 44;
// What a sector table may hold past its entries before StormLib takes it
// for damaged.
constexpr std::uint32_t kTableSlack = 0x400;
// Stored bytes move in steps of this size, each one reported.
constexpr std::uint64_t kCopyStep = std::uint64_t{16} << 20;

std::uint16_t Le16(const unsigned char *p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
std::uint32_t Le32(const unsigned char *p)
{
    return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}
std::uint64_t Le64(const unsigned char *p) { return Le32(p) | std::uint64_t{Le32(p + 4)} << 32; }
void PutLe(unsigned char *p, std::uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i) p[i] = static_cast<unsigned char>(value >> (8 * i));
}

std::uint32_t Low32(std::uint64_t value) { return static_cast<std::uint32_t>(value); }

// A file whose key is adjusted by its offset (and its size).
bool KeyFollowsPlace(std::uint32_t flags)
{
    constexpr std::uint32_t kBoth = MPQ_FILE_ENCRYPTED | MPQ_FILE_FIX_KEY;
    return (flags & kBoth) == kBoth;
}

// The key that decrypts the two words `encrypted` into `plain` and a second
// word that `fits`: the encryption's first step tried with each of the 256
// values that the key's low byte brings in, as StormLib finds keys.
template <typename Fits>
std::optional<std::uint32_t> KeyOf(const std::uint32_t (&encrypted)[2], std::uint32_t plain, Fits &&fits)
{
    const auto &table = CryptTable();
    const std::uint32_t sum = (encrypted[0] ^ plain) - 0xEEEEEEEE;  // key plus the seed's first step
    for (std::uint32_t low = 0; low < 0x100; ++low) {
        std::uint32_t key = sum - table[0x400 + low];
        std::uint32_t seed = 0xEEEEEEEE + table[0x400 + (key & 0xFF)];
        if ((encrypted[0] ^ (key + seed)) != plain) continue;
        const std::uint32_t found = key;
        key = ((~key << 0x15) + 0x11111111) | (key >> 0x0B);
        seed = plain + seed + (seed << 5) + 3;
        seed += table[0x400 + (key & 0xFF)];
        if (fits(encrypted[1] ^ (key + seed))) return found;
    }
    return std::nullopt;
}

// One file that exists, as it moves.
struct MovedFile {
    std::uint32_t index = 0;         // its block index
    std::uint64_t from = 0, to = 0;  // where its stored bytes begin, from the header, before and after
    std::uint32_t stored = 0, size = 0, flags = 0;
    bool shared = false;   // it shares the stored bytes of the file before it, which are copied once
    bool rekeyed = false;  // its key follows its place, which changes: it is encrypted anew
    bool keyKnown = false;
    std::uint32_t key = 0;  // then its key where it lay

    // Its key at its new place.
    std::uint32_t MovedKey() const { return ((key ^ size) - Low32(from) + Low32(to)) ^ size; }
};

class Repacker {
public:
    Repacker(int in, std::uint64_t headerAt, std::uint32_t sectorSize, int out, const RepackProgress &progress)
        : in_(in), out_(out), headerAt_(headerAt), sectorSize_(sectorSize), progress_(progress)
    {
    }

    RepackResult Run(const std::vector<std::string> &names, std::vector<std::uint32_t> &nameless)
    {
        if (RepackResult read = ReadTables(); read != RepackResult::Done) return read;
        if (RepackResult planned = Plan(); planned != RepackResult::Done) return planned;
        const std::vector<std::uint32_t> unkeyed = FindKeys(names);
        if (!unkeyed.empty()) {
            const std::unordered_set<std::uint32_t> refused(unkeyed.begin(), unkeyed.end());
            for (std::uint32_t slot = 0; slot < hashCount_; ++slot)
                if (refused.count(plainHashes_[std::size_t{slot} * 4 + 3] & BLOCK_INDEX_MASK) != 0) nameless.push_back(slot);
            return RepackResult::Nameless;
        }
        return Write();
    }

private:
    // Whether `length` bytes at `at` (from the header) lie inside the file.
    bool Inside(std::uint64_t at, std::uint64_t length) const
    {
        const std::uint64_t room = fileSize_ - headerAt_;
        return at <= room && length <= room - at;
    }

    RepackResult ReadTables()
    {
        struct stat st {};
        if (::fstat(in_, &st) != 0 || static_cast<std::uint64_t>(st.st_size) < headerAt_ + kHeaderSizeV1)
            return RepackResult::NotClassic;
        fileSize_ = static_cast<std::uint64_t>(st.st_size);
        const std::size_t got = static_cast<std::size_t>(std::min<std::uint64_t>(kHeaderSizeV2, fileSize_ - headerAt_));
        if (!ReadAllAt(in_, header_, got, headerAt_)) return RepackResult::Failed;
        const std::uint16_t version = Le16(header_ + 12);
        headerSize_ = Le32(header_ + 4);
        if (Le32(header_) != ID_MPQ || version > MPQ_FORMAT_VERSION_2 ||
            headerSize_ != (version == MPQ_FORMAT_VERSION_1 ? kHeaderSizeV1 : kHeaderSizeV2) || headerSize_ > got)
            return RepackResult::NotClassic;
        v2_ = version == MPQ_FORMAT_VERSION_2;
        hashCount_ = Le32(header_ + 24);
        blockCount_ = Le32(header_ + 28);
        const std::uint64_t hashAt = Le32(header_ + 16) | (v2_ ? std::uint64_t{Le16(header_ + 40)} << 32 : 0);
        const std::uint64_t blockAt = Le32(header_ + 20) | (v2_ ? std::uint64_t{Le16(header_ + 42)} << 32 : 0);
        const std::uint64_t highAt = v2_ ? Le64(header_ + 32) : 0;
        if (!Inside(hashAt, std::uint64_t{hashCount_} * 16) || !Inside(blockAt, std::uint64_t{blockCount_} * 16) ||
            (highAt != 0 && !Inside(highAt, std::uint64_t{blockCount_} * 2)))
            return RepackResult::Failed;
        hashes_.resize(std::size_t{hashCount_} * 4);
        blocks_.resize(std::size_t{blockCount_} * 4);
        if (!ReadAllAt(in_, hashes_.data(), hashes_.size() * 4, headerAt_ + hashAt) ||
            !ReadAllAt(in_, blocks_.data(), blocks_.size() * 4, headerAt_ + blockAt))
            return RepackResult::Failed;
        plainHashes_ = hashes_;
        DecryptWords(plainHashes_, MPQ_KEY_HASH_TABLE);
        DecryptWords(blocks_, MPQ_KEY_BLOCK_TABLE);
        if (highAt != 0) {
            high_.resize(blockCount_);
            if (!ReadAllAt(in_, high_.data(), high_.size() * 2, headerAt_ + highAt)) return RepackResult::Failed;
        }
        return RepackResult::Done;
    }

    // Where each file that exists goes: after the header, in the order of
    // where it lay, one after another.
    RepackResult Plan()
    {
        for (std::uint32_t i = 0; i < blockCount_; ++i) {
            const std::uint32_t *entry = &blocks_[std::size_t{i} * 4];
            if ((entry[3] & MPQ_FILE_EXISTS) == 0) continue;
            MovedFile file;
            file.index = i;
            file.from = entry[0] | (high_.empty() ? 0 : std::uint64_t{high_[i]} << 32);
            file.stored = entry[1];
            file.size = entry[2];
            file.flags = entry[3];
            if (file.stored != 0 && !Inside(file.from, file.stored)) return RepackResult::Failed;
            files_.push_back(file);
        }
        std::sort(files_.begin(), files_.end(),
                  [](const MovedFile &a, const MovedFile &b) { return a.from != b.from ? a.from < b.from : a.index < b.index; });
        std::uint64_t at = headerSize_;
        for (std::size_t k = 0; k < files_.size(); ++k) {
            MovedFile &file = files_[k];
            // Entries that point at the same bytes keep sharing them, unless
            // one is encrypted for its place.
            const MovedFile *before = k > 0 ? &files_[k - 1] : nullptr;
            if (before != nullptr && before->from == file.from && before->stored == file.stored &&
                !KeyFollowsPlace(before->flags) && !KeyFollowsPlace(file.flags)) {
                file.to = before->to;
                file.shared = true;
                continue;
            }
            file.to = at;
            at += file.stored;
            file.rekeyed = KeyFollowsPlace(file.flags) && file.stored != 0 && file.size != 0 &&
                           Low32(file.to) != Low32(file.from);
            // A patch file's header stands before its sector table: StormLib's compaction takes those.
            if (file.rekeyed && (file.flags & MPQ_FILE_PATCH_FILE) != 0) return RepackResult::NotClassic;
            total_ += file.stored;
        }
        end_ = at;
        total_ += headerAt_;
        return RepackResult::Done;
    }

    // The keys of the files encrypted anew, from their names or their first
    // bytes; the block indices of those whose key neither gives.
    std::vector<std::uint32_t> FindKeys(const std::vector<std::string> &names)
    {
        std::unordered_map<std::uint32_t, MovedFile *> byIndex;
        for (MovedFile &file : files_)
            if (file.rekeyed) byIndex.emplace(file.index, &file);
        std::vector<std::uint32_t> unkeyed;
        if (byIndex.empty()) return unkeyed;
        // The name hashes of their slots, then the names that hash to them.
        std::unordered_multimap<std::uint64_t, MovedFile *> wanted;
        for (std::size_t slot = 0; slot < hashCount_; ++slot) {
            const std::uint32_t *hash = &plainHashes_[slot * 4];
            const auto file = byIndex.find(hash[3] & BLOCK_INDEX_MASK);
            if (file != byIndex.end()) wanted.emplace(std::uint64_t{hash[0]} << 32 | hash[1], file->second);
        }
        for (const std::string &given : names) {
            const std::string_view name = std::string_view(given).substr(0, given.find('\0'));
            const auto [first, last] = wanted.equal_range(NameKey(name.data(), name.size()));
            for (auto it = first; it != last; ++it) {
                MovedFile &file = *it->second;
                if (file.keyKnown) continue;
                const std::string_view plain = name.substr(name.find_last_of("\\/") + 1);
                file.key = (HashString(plain.data(), plain.size(), HashType::FileKey) + Low32(file.from)) ^ file.size;
                file.keyKnown = true;
            }
        }
        for (auto &[index, file] : byIndex) {
            if (!file->keyKnown) {
                file->key = FoundKey(*file);
                file->keyKnown = file->key != 0;
            }
            if (!file->keyKnown) unkeyed.push_back(index);
        }
        return unkeyed;
    }

    // The length of the sector table of a compressed file, as StormLib
    // first reads it: an entry for each sector and one for the end, and one
    // more with sector checksums.
    std::uint64_t TableLength(const MovedFile &file) const
    {
        return (std::uint64_t{SectorCount(file)} + 1) * 4 + ((file.flags & MPQ_FILE_SECTOR_CRC) != 0 ? 4 : 0);
    }
    std::size_t SectorCount(const MovedFile &file) const { return (std::size_t{file.size} - 1) / sectorSize_ + 1; }

    // The key of a file that no name covers, found from its first two
    // words; 0 when they do not give it. A file stored in one unit is read
    // with its name's key alone.
    std::uint32_t FoundKey(const MovedFile &file)
    {
        std::uint32_t words[2] = {};
        if ((file.flags & MPQ_FILE_SINGLE_UNIT) != 0 || file.stored < sizeof words ||
            !ReadAllAt(in_, words, sizeof words, headerAt_ + file.from))
            return 0;
        if ((file.flags & MPQ_FILE_COMPRESS_MASK) != 0) {
            // The table's first entry is its own length, the second the end
            // of the first sector; the table is encrypted with the key less one.
            const auto length = static_cast<std::uint32_t>(TableLength(file));
            const auto key = KeyOf(words, length, [&](std::uint32_t second) { return second <= length + sectorSize_; });
            return key ? *key + 1 : 0;
        }
        // Stored as it is: the start of a wave, an executable or an XML text,
        // where the first sector is long enough for StormLib to try it.
        const std::uint32_t bytes = std::min(file.size, sectorSize_);
        struct Known {
            std::uint32_t least, first, second;
        };
        const Known known[] = {{0x0C, 0x46464952, file.size - 8}, {0x41, 0x00905A4D, 3}, {0x05, 0x6D783F3C, 0x6576206C}};
        for (const Known &start : known) {
            if (bytes < start.least) continue;
            if (const auto key = KeyOf(words, start.first, [&](std::uint32_t second) { return second == start.second; }))
                return *key;
        }
        return 0;
    }

    void Moved(std::uint64_t bytes)
    {
        done_ += bytes;
        if (progress_) progress_(done_, total_);
    }

    // Copies `length` bytes at `from` in the archive to `to` in the new file
    // as they are: in the kernel where it can, else through a buffer.
    bool Copy(std::uint64_t from, std::uint64_t to, std::uint64_t length)
    {
        while (length > 0) {
            const auto step = static_cast<std::size_t>(std::min(length, kCopyStep));
            std::size_t moved = 0;
            if (kernelCopies_) {
                auto source = static_cast<loff_t>(from), target = static_cast<loff_t>(to);
                const ssize_t n = ::copy_file_range(in_, &source, out_, &target, step, 0);
                if (n < 0 && errno == EINTR) continue;
                if (n == 0) return false;  // the archive ended early
                if (n > 0)
                    moved = static_cast<std::size_t>(n);
                else if (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)
                    kernelCopies_ = false;
                else
                    return false;
            }
            if (!kernelCopies_) {
                buffer_.resize(kCopyStep);
                if (!ReadAllAt(in_, buffer_.data(), step, from) || !WriteAllAt(out_, buffer_.data(), step, to)) return false;
                moved = step;
            }
            from += moved;
            to += moved;
            length -= moved;
            Moved(moved);
        }
        return true;
    }

    // Decrypts the whole words of `length` bytes at `from` with `oldKey` and
    // writes them at `to` encrypted with `newKey`; the bytes of a last word
    // cut short stay as they are.
    bool Recrypt(std::uint64_t from, std::uint64_t to, std::uint32_t length, std::uint32_t oldKey, std::uint32_t newKey)
    {
        words_.assign((std::size_t{length} + 3) / 4, 0);
        if (!ReadAllAt(in_, words_.data(), length, from)) return false;
        const std::span<std::uint32_t> whole(words_.data(), length / 4);
        DecryptWords(whole, oldKey);
        EncryptWords(whole, newKey);
        return WriteAllAt(out_, words_.data(), length, to);
    }

    // A file encrypted for its place, written at its new one: its sector
    // table and each sector (or its single unit) decrypted and encrypted
    // anew. What follows them (sector checksums, which are not encrypted,
    // and any bytes more) is copied as it is.
    bool Rekey(const MovedFile &file)
    {
        const std::uint64_t from = headerAt_ + file.from, to = headerAt_ + file.to;
        const std::uint32_t oldKey = file.key, newKey = file.MovedKey();
        std::uint64_t done = 0;
        if ((file.flags & MPQ_FILE_SINGLE_UNIT) != 0) {
            if (!Recrypt(from, to, file.stored, oldKey, newKey)) return false;
            done = file.stored;
        } else if ((file.flags & MPQ_FILE_COMPRESS_MASK) != 0) {
            std::vector<std::uint32_t> table;
            if (!ReadSectorTable(file, table) || !Recrypt(from, to, table[0], oldKey - 1, newKey - 1)) return false;
            const std::size_t sectors = SectorCount(file);
            for (std::size_t i = 0; i < sectors; ++i) {
                const auto n = static_cast<std::uint32_t>(i);
                if (!Recrypt(from + table[i], to + table[i], table[i + 1] - table[i], oldKey + n, newKey + n)) return false;
            }
            done = table[sectors];
        } else {
            const std::uint32_t length = std::min(file.stored, file.size);
            std::uint32_t n = 0;
            for (std::uint64_t at = 0; at < length; at += sectorSize_, ++n) {
                const auto piece = static_cast<std::uint32_t>(std::min<std::uint64_t>(sectorSize_, length - at));
                if (!Recrypt(from + at, to + at, piece, oldKey + n, newKey + n)) return false;
            }
            done = length;
        }
        words_.clear();
        const bool copied = Copy(from + done, to + done, file.stored - done);
        Moved(done);
        return copied;
    }

    // The decrypted sector table of a compressed file, checked as StormLib
    // checks it before a read: longer than its entries by a little at most,
    // each sector after the one before and no longer than a sector; and
    // inside the file.
    bool ReadSectorTable(const MovedFile &file, std::vector<std::uint32_t> &table)
    {
        const std::uint64_t entries = TableLength(file);
        std::uint64_t length = entries;
        for (int pass = 0; pass < 2; ++pass) {
            if (length > file.stored || length % 4 != 0) return false;
            table.assign(static_cast<std::size_t>(length / 4), 0);
            if (!ReadAllAt(in_, table.data(), static_cast<std::size_t>(length), headerAt_ + file.from)) return false;
            DecryptWords(table, file.key - 1);
            if (table[0] == length) break;
            if (pass == 1 || table[0] < entries || table[0] > entries + kTableSlack) return false;
            length = table[0];  // read again, whole
        }
        const std::size_t sectors = SectorCount(file);
        for (std::size_t i = 0; i < sectors; ++i)
            if (table[i + 1] <= table[i] || table[i + 1] - table[i] > sectorSize_) return false;
        return table[sectors] <= file.stored;
    }

    RepackResult Write()
    {
        // What lies in front of the header; the header is written last.
        if (!Copy(0, 0, headerAt_)) return RepackResult::Failed;
        // Files that lay one after another move in one run.
        std::uint64_t runFrom = 0, runTo = 0, runLength = 0;
        const auto flush = [&] {
            const bool copied = Copy(headerAt_ + runFrom, headerAt_ + runTo, runLength);
            runLength = 0;
            return copied;
        };
        for (const MovedFile &file : files_) {
            if (file.shared || file.stored == 0) continue;
            if (file.rekeyed) {
                if (!flush() || !Rekey(file)) return RepackResult::Failed;
                continue;
            }
            if (runLength != 0 && runFrom + runLength == file.from && runTo + runLength == file.to) {
                runLength += file.stored;
                continue;
            }
            if (!flush()) return RepackResult::Failed;
            runFrom = file.from, runTo = file.to, runLength = file.stored;
        }
        if (!flush()) return RepackResult::Failed;
        return WriteTables() ? RepackResult::Done : RepackResult::Failed;
    }

    // The hash table as it was, the block table with the new offsets and
    // the entries of deleted files zeroed, the high block table where the
    // archive had one or now needs one; then the header.
    bool WriteTables()
    {
        std::vector<std::uint32_t> blocks(blocks_.size(), 0);
        std::vector<std::uint16_t> high(blockCount_, 0);
        bool highNeeded = !high_.empty();
        for (const MovedFile &file : files_) {
            std::uint32_t *entry = &blocks[std::size_t{file.index} * 4];
            entry[0] = Low32(file.to);
            entry[1] = file.stored, entry[2] = file.size, entry[3] = file.flags;
            high[file.index] = static_cast<std::uint16_t>(file.to >> 32);
            highNeeded = highNeeded || (file.to >> 32) != 0;
        }
        EncryptWords(blocks, MPQ_KEY_BLOCK_TABLE);
        const std::uint64_t hashAt = end_, blockAt = hashAt + hashes_.size() * 4, highAt = blockAt + blocks.size() * 4;
        const std::uint64_t end = highNeeded ? highAt + high.size() * 2 : highAt;
        if (highNeeded && !v2_) return false;  // past 4 GiB, which format 1 cannot reach
        if ((!v2_ && end > 0xFFFFFFFFu) || (end >> 48) != 0) return false;
        if (!WriteAllAt(out_, hashes_.data(), hashes_.size() * 4, headerAt_ + hashAt) ||
            !WriteAllAt(out_, blocks.data(), blocks.size() * 4, headerAt_ + blockAt) ||
            (highNeeded && !WriteAllAt(out_, high.data(), high.size() * 2, headerAt_ + highAt)))
            return false;
        PutLe(header_ + 8, end, 4);  // the archive's size, cut to 32 bits in format 2 as StormLib writes it
        PutLe(header_ + 16, hashAt, 4);
        PutLe(header_ + 20, blockAt, 4);
        if (v2_) {
            PutLe(header_ + 32, highNeeded ? highAt : 0, 8);
            PutLe(header_ + 40, hashAt >> 32, 2);
            PutLe(header_ + 42, blockAt >> 32, 2);
        }
        return WriteAllAt(out_, header_, headerSize_, headerAt_);
    }

    const int in_, out_;
    const std::uint64_t headerAt_;
    const std::uint32_t sectorSize_;
    const RepackProgress &progress_;
    std::uint64_t fileSize_ = 0;
    unsigned char header_[kHeaderSizeV2] = {};
    std::uint32_t headerSize_ = 0;
    bool v2_ = false;
    std::uint32_t hashCount_ = 0, blockCount_ = 0;
    std::vector<std::uint32_t> hashes_, plainHashes_, blocks_;  // hashes_ as stored, encrypted
    std::vector<std::uint16_t> high_;
    std::vector<MovedFile> files_;
    std::uint64_t end_ = 0;  // where the files end in the new archive, from the header
    std::uint64_t done_ = 0, total_ = 0;
    bool kernelCopies_ = true;
    std::vector<char> buffer_;
    std::vector<std::uint32_t> words_;
};

}  // namespace

RepackResult Repack(int in, std::uint64_t headerAt, std::uint32_t sectorSize, int out,
                    const std::vector<std::string> &names, const RepackProgress &progress,
                    std::vector<std::uint32_t> &nameless)
{
    if (sectorSize < 8) return RepackResult::NotClassic;
    return Repacker(in, headerAt, sectorSize, out, progress).Run(names, nameless);
}

}  // namespace mpq
