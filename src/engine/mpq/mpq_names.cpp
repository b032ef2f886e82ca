// Names. The names of a listing come from the list text alone: each
// candidate name is hashed here with the MPQ name hashes and matched against
// the two name hashes of each hash slot. So nothing that StormLib names by
// itself (internal files it opened, pseudo-names) reaches the list. A slot
// that no candidate names is listed as "~unknowns\unknownNNNNNNNN", NNNNNNNN
// being the slot number; that name, with or without an extension behind it,
// opens the slot's file again.
#include "mpq/mpq_handle.h"
#include "mpq/mpq_hash.h"
#include "mpq/mpq_library.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <iterator>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace mpq {

bool IsUsedSlot(TMPQArchive *ha, TMPQHash *hash)
{
    const DWORD blockIndex = MPQ_BLOCK_INDEX(hash);
    return blockIndex < ha->dwFileTableSize && (ha->pFileTable[blockIndex].dwFlags & MPQ_FILE_EXISTS) != 0;
}

namespace {

// Candidate names by their pair of name hashes; the first spelling wins.
// One open-addressed table of keys and places in the text, which doubles as
// it fills: a million names cost no allocation each.
class NameMap {
public:
    void Reserve(std::size_t count)
    {
        std::size_t capacity = 64;
        while (capacity < count + count / 7) capacity *= 2;
        if (capacity > slots_.size()) Rehash(capacity);
    }

    void Add(std::uint64_t key, std::string_view name)
    {
        if (name.empty() || name.size() > UINT32_MAX) return;  // no stored name
        if ((used_ + 1) * 8 > slots_.size() * 7) Rehash(std::max<std::size_t>(64, slots_.size() * 2));
        Slot &slot = SlotOf(key);
        if (slot.data != nullptr) return;
        slot = {key, name.data(), static_cast<std::uint32_t>(name.size())};
        ++used_;
    }

    // The name of `key`; empty when there is none.
    std::string_view Find(std::uint64_t key) const
    {
        if (slots_.empty()) return {};
        const Slot &slot = const_cast<NameMap *>(this)->SlotOf(key);
        return slot.data != nullptr ? std::string_view(slot.data, slot.size) : std::string_view();
    }

    template <typename Fn>
    void ForEach(Fn &&fn) const
    {
        for (const Slot &slot : slots_)
            if (slot.data != nullptr) fn(std::string_view(slot.data, slot.size));
    }

private:
    struct Slot {
        std::uint64_t key = 0;
        const char *data = nullptr;  // null: free
        std::uint32_t size = 0;
    };

    // The slot that holds `key`, or the free one where it would go.
    Slot &SlotOf(std::uint64_t key)
    {
        const std::size_t mask = slots_.size() - 1;
        std::size_t at = static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ull) >> 32) & mask;
        while (slots_[at].data != nullptr && slots_[at].key != key) at = (at + 1) & mask;
        return slots_[at];
    }

    void Rehash(std::size_t capacity)
    {
        std::vector<Slot> old(capacity);
        old.swap(slots_);
        for (const Slot &slot : old)
            if (slot.data != nullptr) SlotOf(slot.key) = slot;
    }

    std::vector<Slot> slots_;
    std::size_t used_ = 0;
};

// The names point into the list text and into `sources`, which hold the
// external list files read for one listing.
struct NameTable {
    NameMap names;
    std::deque<std::string> sources;  // never moves what it holds
};

template <typename Fn>
void ForEachLine(const char *data, std::size_t size, Fn &&fn)
{
    std::size_t start = 0;
    for (std::size_t i = 0; i <= size; ++i) {
        if (i == size || data[i] == '\r' || data[i] == '\n') {
            if (i > start) fn(data + start, i - start);
            start = i + 1;
        }
    }
}

bool ReadWholeFile(const std::string &path, std::string &out)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return true;
}

void AddName(NameTable &table, const char *name, std::size_t length)
{
    table.names.Add(NameKey(name, length), std::string_view(name, length));
}

// The engine's own files, named whatever the list text says.
constexpr std::array<const char *, 5> kEngineFiles = {LISTFILE_NAME, ATTRIBUTES_NAME, SIGNATURE_NAME,
                                                      PATCH_METADATA_NAME, "(user data)"};

NameTable BuildNameTable(std::string_view listText)
{
    NameTable names;
    // Room for the lines of the list text, without a second growth.
    names.names.Reserve(static_cast<std::size_t>(std::count(listText.begin(), listText.end(), '\n')) + 16);
    for (const char *name : kEngineFiles) AddName(names, name, std::strlen(name));
    std::unordered_set<std::string> listFilesRead;
    ForEachLine(listText.data(), listText.size(), [&](const char *line, std::size_t length) {
        AddName(names, line, length);
        if (line[0] != '/') return;  // external list files are named by absolute paths
        std::string path(line, length);
        if (!IsRegularFile(path) || !listFilesRead.insert(path).second) return;
        std::string content;
        if (!ReadWholeFile(path, content)) return;
        names.sources.push_back(std::move(content));
        const std::string &kept = names.sources.back();
        ForEachLine(kept.data(), kept.size(),
                    [&](const char *name, std::size_t n) { AddName(names, name, n); });
    });
    return names;
}

constexpr const char *kUnknownStem = "~unknowns\\unknown";

std::string UnknownName(std::uint32_t number)
{
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "%s%08u", kUnknownStem, number);
    return buffer;
}

// The number of a "~unknowns" name, also with an extension behind it.
bool ParseUnknownName(const std::string &name, std::uint32_t &number)
{
    const std::size_t stemLength = std::strlen(kUnknownStem);
    if (name.size() < stemLength + 8 || name.compare(0, stemLength, kUnknownStem) != 0)
        return false;
    std::uint32_t value = 0;
    for (std::size_t i = stemLength; i < stemLength + 8; ++i) {
        const char c = name[i];
        if (c < '0' || c > '9') return false;
        value = value * 10 + static_cast<std::uint32_t>(c - '0');
    }
    if (name.size() > stemLength + 8 && name[stemLength + 8] != '.') return false;
    number = value;
    return true;
}

// The file-table index a "~unknowns" number stands for, if that slot holds a file.
bool UnknownBlockIndex(TMPQArchive *ha, std::uint32_t number, std::uint32_t &blockIndex)
{
    if (ha->pHashTable != nullptr) {
        if (number >= ha->pHeader->dwHashTableSize) return false;
        TMPQHash *hash = ha->pHashTable + number;
        if (!IsUsedSlot(ha, hash)) return false;
        blockIndex = MPQ_BLOCK_INDEX(hash);
        return true;
    }
    if (number >= ha->dwFileTableSize) return false;
    if ((ha->pFileTable[number].dwFlags & MPQ_FILE_EXISTS) == 0) return false;
    blockIndex = number;
    return true;
}

}  // namespace

std::string EngineName(MpqHandle archive, const std::string &name)
{
    TMPQArchive *ha = StormArchive(archive);
    if (ha == nullptr) return name;
    if (SFileHasFile(archive->storm, name.c_str())) return name;
    std::uint32_t number = 0, blockIndex = 0;
    if (!ParseUnknownName(name, number) || !UnknownBlockIndex(ha, number, blockIndex))
        return name;
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "File%08u.xxx", blockIndex);
    return buffer;
}

bool SFileListFiles(MpqHandle archive, std::string_view listText,
                    std::vector<FileListEntry> &entries, std::uint32_t /*flags*/)
{
    TMPQArchive *ha = StormArchive(archive);
    if (ha == nullptr) return false;
    NameTable table = BuildNameTable(listText);

    entries.clear();
    auto fill = [&](const TFileEntry &file, std::uint32_t locale, std::string name) {
        FileListEntry &entry = entries.emplace_back();
        entry.FileExists = 1;
        entry.Locale = locale;
        entry.CompressedSize = file.dwCmpSize;
        entry.FullSize = file.dwFileSize;
        entry.Flags = file.dwFlags;
        entry.StoredName = std::move(name);
    };

    if (ha->pHashTable != nullptr) {
        const DWORD slots = ha->pHeader->dwHashTableSize;
        std::size_t used = 0;
        for (DWORD slot = 0; slot < slots; ++slot) used += IsUsedSlot(ha, ha->pHashTable + slot) ? 1 : 0;
        // The name of each used slot first, as a place in the texts; the
        // table goes before the records are made, so that the two never
        // stand side by side in full.
        std::vector<std::string_view> found;
        found.reserve(used);
        for (DWORD slot = 0; slot < slots; ++slot) {
            const TMPQHash *hash = ha->pHashTable + slot;
            if (IsUsedSlot(ha, ha->pHashTable + slot))
                found.push_back(table.names.Find((std::uint64_t{hash->dwName1} << 32) | hash->dwName2));
        }
        table.names = NameMap();
        entries.reserve(used);
        std::size_t next = 0;
        for (DWORD slot = 0; slot < slots; ++slot) {
            TMPQHash *hash = ha->pHashTable + slot;
            if (!IsUsedSlot(ha, hash)) continue;
            const std::string_view name = found[next++];
            fill(ha->pFileTable[MPQ_BLOCK_INDEX(hash)], hash->lcLocale,
                 !name.empty() ? std::string(name) : UnknownName(slot));
        }
        return true;
    }

    // An archive with only the newer hash tables: StormLib matches the names,
    // and only names that the list text gives are taken.
    std::unordered_set<std::string> given;
    table.names.ForEach([&](std::string_view name) { given.emplace(name); });
    if (!given.empty()) {
        char pattern[] = "/tmp/arcavera-names-XXXXXX";
        const int fd = ::mkstemp(pattern);
        if (fd >= 0) {
            std::string joined;
            for (const auto &name : given) joined.append(name).append("\n");
            const bool written = ::write(fd, joined.data(), joined.size()) == static_cast<ssize_t>(joined.size());
            ::close(fd);
            if (written) ::SFileAddListFile(archive->storm, pattern);
            ::unlink(pattern);
        }
    }
    std::size_t used = 0;
    for (DWORD index = 0; index < ha->dwFileTableSize; ++index) used += (ha->pFileTable[index].dwFlags & MPQ_FILE_EXISTS) != 0;
    entries.reserve(used);
    for (DWORD index = 0; index < ha->dwFileTableSize; ++index) {
        const TFileEntry &file = ha->pFileTable[index];
        if ((file.dwFlags & MPQ_FILE_EXISTS) == 0) continue;
        std::string name;
        if (file.szFileName != nullptr && given.count(file.szFileName) != 0)
            name = file.szFileName;
        else
            name = UnknownName(index);
        fill(file, 0, std::move(name));
    }
    return true;
}

struct NamelessRecords::State {
    MpqHandle archive = nullptr;
    TMPQArchive *ha = nullptr;
    std::vector<FileListEntry> *entries = nullptr;
    // Hash-table archives: the name key of each nameless slot, and the
    // records behind it. Others: the file-table index of each nameless record.
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> byKey;
    std::unordered_map<std::uint32_t, std::size_t> byIndex;
};

NamelessRecords::NamelessRecords(MpqHandle archive, std::vector<FileListEntry> &entries)
    : state_(std::make_unique<State>())
{
    state_->archive = archive;
    state_->ha = StormArchive(archive);
    state_->entries = &entries;
    TMPQArchive *ha = state_->ha;
    if (ha == nullptr) return;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::uint32_t number = 0;
        if (entries[i].FileExists == 0 || !ParseUnknownName(entries[i].StoredName, number)) continue;
        if (ha->pHashTable == nullptr) {
            state_->byIndex.emplace(number, i);
        } else if (number < ha->pHeader->dwHashTableSize) {
            const TMPQHash &hash = ha->pHashTable[number];
            state_->byKey[(std::uint64_t{hash.dwName1} << 32) | hash.dwName2].push_back(i);
        }
    }
}

NamelessRecords::~NamelessRecords() = default;

bool NamelessRecords::Empty() const { return state_->byKey.empty() && state_->byIndex.empty(); }

bool NamelessRecords::Try(const std::string &name, std::vector<std::size_t> &named)
{
    if (name.empty() || EmbeddedZero(name) || Empty()) return false;
    std::vector<std::size_t> found;
    if (state_->ha->pHashTable != nullptr) {
        auto slot = state_->byKey.find(NameKey(name.data(), name.size()));
        if (slot == state_->byKey.end()) return false;
        found = std::move(slot->second);
        state_->byKey.erase(slot);
    } else {
        // Only the newer tables: StormLib finds the file-table index of a name.
        HANDLE file = nullptr;
        if (!::SFileOpenFileEx(state_->archive->storm, name.c_str(), SFILE_OPEN_FROM_MPQ, &file)) return false;
        DWORD index = 0;
        const bool known = ::SFileGetFileInfo(file, SFileInfoFileIndex, &index, sizeof index, nullptr);
        ::SFileCloseFile(file);
        auto record = known ? state_->byIndex.find(index) : state_->byIndex.end();
        if (record == state_->byIndex.end()) return false;
        found.push_back(record->second);
        state_->byIndex.erase(record);
    }
    for (std::size_t i : found) (*state_->entries)[i].StoredName = name;
    named.insert(named.end(), found.begin(), found.end());
    return true;
}

}  // namespace mpq
