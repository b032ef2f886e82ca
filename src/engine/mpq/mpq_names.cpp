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
#include "mpq/mpq_storm.h"
#include "mpq/whole_io.h"

#include <sys/stat.h>
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

namespace {

// A name's place in a listing's two blocks: the list text, and behind the
// marker bit the block of names added to it.
constexpr std::uint32_t kAddedBit = FileList::kAddedBit;
constexpr std::size_t kBlockLimit = kAddedBit - 1;

// Candidate names by their pair of name hashes; the first spelling wins.
// One open-addressed table of keys and places in the listing's blocks,
// which doubles as it fills: a million names cost no allocation each, and
// the blocks may grow meanwhile.
class NameMap {
public:
    // A name's place: where it begins (kAddedBit set: in the added block)
    // and its length.
    struct Place {
        std::uint32_t at = 0;
        std::uint32_t size = 0;  // 0: no name
    };

    void Reserve(std::size_t count)
    {
        std::size_t capacity = 64;
        while (capacity < count + count / 7) capacity *= 2;
        if (capacity > slots_.size()) Rehash(capacity);
    }

    void Add(std::uint64_t key, Place place)
    {
        if (place.size == 0) return;  // no stored name
        if ((used_ + 1) * 8 > slots_.size() * 7) Rehash(std::max<std::size_t>(64, slots_.size() * 2));
        Slot &slot = SlotOf(key);
        if (slot.place.size != 0) return;
        slot = {key, place};
        ++used_;
    }

    // The place of the name of `key`; of size 0 when there is none.
    Place Find(std::uint64_t key) const
    {
        if (slots_.empty()) return {};
        return const_cast<NameMap *>(this)->SlotOf(key).place;
    }

    template <typename Fn>
    void ForEach(Fn &&fn) const
    {
        for (const Slot &slot : slots_)
            if (slot.place.size != 0) fn(slot.place);
    }

private:
    struct Slot {
        std::uint64_t key = 0;
        Place place;
    };

    // The slot that holds `key`, or the free one where it would go.
    Slot &SlotOf(std::uint64_t key)
    {
        const std::size_t mask = slots_.size() - 1;
        std::size_t at = static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ull) >> 32) & mask;
        while (slots_[at].place.size != 0 && slots_[at].key != key) at = (at + 1) & mask;
        return slots_[at];
    }

    void Rehash(std::size_t capacity)
    {
        std::vector<Slot> old(capacity);
        old.swap(slots_);
        for (const Slot &slot : old)
            if (slot.place.size != 0) SlotOf(slot.key) = slot;
    }

    std::vector<Slot> slots_;
    std::size_t used_ = 0;
};

bool LineBreak(char c) { return c == '\r' || c == '\n'; }

// Calls fn(at, length) for each line of block[from, to). Indices, not
// pointers: fn may append to the block.
template <typename Fn>
void ForEachLine(const std::string &block, std::size_t from, std::size_t to, Fn &&fn)
{
    std::size_t start = from;
    for (std::size_t i = from; i <= to; ++i) {
        if (i == to || LineBreak(block[i])) {
            if (i > start) fn(start, i - start);
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

// The engine's own files, named whatever the list text says.
constexpr std::array<const char *, 5> kEngineFiles = {LISTFILE_NAME, ATTRIBUTES_NAME, SIGNATURE_NAME,
                                                      PATCH_METADATA_NAME, "(user data)"};

// The candidate names of the list text `text`: its lines, the lines of the
// external list files it names, and the engine's own files; the last two
// are appended to `added` as they come.
NameMap BuildNameTable(std::string &text, std::string &added)
{
    if (text.size() > kBlockLimit) text.resize(kBlockLimit);
    NameMap names;
    auto add = [&](bool inAdded, std::size_t at, std::size_t size) {
        const char *data = (inAdded ? added.data() : text.data()) + at;
        names.Add(NameKey(data, size), {static_cast<std::uint32_t>(at) | (inAdded ? kAddedBit : 0), static_cast<std::uint32_t>(size)});
    };
    // Room for the lines of the list text, without a second growth.
    names.Reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 16);
    for (const char *name : kEngineFiles) {
        added.append(name).push_back('\n');
        add(true, added.size() - 1 - std::strlen(name), std::strlen(name));
    }
    std::unordered_set<std::string> listFilesRead;
    ForEachLine(text, 0, text.size(), [&](std::size_t at, std::size_t length) {
        add(false, at, length);
        if (text[at] != '/') return;  // external list files are named by absolute paths
        std::string path(text, at, length);
        if (!IsRegularFile(path) || !listFilesRead.insert(path).second) return;
        std::string content;
        if (!ReadWholeFile(path, content) || added.size() + content.size() + 1 > kBlockLimit) return;
        const std::size_t from = added.size();
        added.append(content).push_back('\n');
        ForEachLine(added, from, added.size(), [&](std::size_t line, std::size_t n) { add(true, line, n); });
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
bool ParseUnknownName(std::string_view name, std::uint32_t &number)
{
    const std::size_t stemLength = std::strlen(kUnknownStem);
    if (name.size() < stemLength + 8 || name.substr(0, stemLength) != kUnknownStem)
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
bool UnknownBlockIndex(HANDLE storm, std::uint32_t number, std::uint32_t &blockIndex)
{
    if (stormlib::Facts(storm).hasHashTable) {
        stormlib::HashSlot slot;
        if (!stormlib::HashSlotAt(storm, number, slot) || !slot.used) return false;
        blockIndex = slot.FileIndex();
        return true;
    }
    stormlib::Entry entry;
    if (!stormlib::FileEntryAt(storm, number, entry)) return false;
    if ((entry.flags & MPQ_FILE_EXISTS) == 0) return false;
    blockIndex = number;
    return true;
}

}  // namespace

std::string EngineName(MpqHandle archive, const std::string &name)
{
    HANDLE storm = StormArchive(archive);
    if (storm == nullptr) return name;
    if (SFileHasFile(storm, name.c_str())) return name;
    std::uint32_t number = 0, blockIndex = 0;
    if (!ParseUnknownName(name, number) || !UnknownBlockIndex(storm, number, blockIndex))
        return name;
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "File%08u.xxx", blockIndex);
    return buffer;
}

std::string_view FileList::Name(std::size_t i) const
{
    const std::uint32_t at = entries_[i].NameAt;
    const std::string &block = (at & kAddedBit) != 0 ? added_ : text_;
    const std::size_t from = std::min<std::size_t>(at & ~kAddedBit, block.size());
    const char *name = block.data() + from;
    const std::size_t rest = block.size() - from;
    // Eight bytes at a time: a byte is a line break when it equals '\n' or
    // '\r', that is when the word xor either has a zero byte there.
    constexpr std::uint64_t ones = 0x0101010101010101ull, highs = ones * 0x80;
    std::size_t size = 0;
    for (std::uint64_t word = 0; size + 8 <= rest; size += 8) {
        std::memcpy(&word, name + size, 8);
        const std::uint64_t lf = word ^ (ones * '\n'), cr = word ^ (ones * '\r');
        const std::uint64_t breaks = ((lf - ones) & ~lf & highs) | ((cr - ones) & ~cr & highs);
        if (breaks != 0) break;
    }
    while (size < rest && !LineBreak(name[size])) ++size;
    return std::string_view(name, size);
}

std::uint32_t FileList::Append(std::string_view name)
{
    const std::size_t at = added_.size();
    added_.append(name).push_back('\n');
    return static_cast<std::uint32_t>(at) | kAddedBit;
}

bool FileList::Rename(std::size_t i, std::string_view name)
{
    if (name.empty() || std::any_of(name.begin(), name.end(), LineBreak)) return false;
    std::string_view bare = name;
    std::uint16_t locale = 0;
    if (!SplitLocaleVariant(name, bare, locale)) return false;
    const std::string variant = LocaleVariant(bare, entries_[i].Locale);
    if (added_.size() + variant.size() + 1 > kBlockLimit) return false;
    entries_[i].NameAt = Append(variant);
    return true;
}

void FileList::Clear()
{
    std::string().swap(text_);
    std::string().swap(added_);
    std::vector<FileListEntry>().swap(entries_);
}

bool FileList::Save(int fd) const
{
    const std::uint64_t sizes[3] = {text_.size(), added_.size(), entries_.size()};
    return WriteAll(fd, sizes, sizeof sizes) && WriteAll(fd, text_.data(), text_.size()) &&
           WriteAll(fd, added_.data(), added_.size()) &&
           WriteAll(fd, entries_.data(), entries_.size() * sizeof(FileListEntry));
}

bool FileList::Load(int fd)
{
    Clear();
    std::uint64_t sizes[3] = {0, 0, 0};
    if (!ReadAll(fd, sizes, sizeof sizes)) return false;
    // Every byte announced must be there: the sizes are held against the file.
    struct stat st {};
    const off_t at = ::lseek(fd, 0, SEEK_CUR);
    if (::fstat(fd, &st) != 0 || at < 0 || sizes[2] > (std::uint64_t{1} << 32) ||
        sizes[0] + sizes[1] + sizes[2] * sizeof(FileListEntry) > static_cast<std::uint64_t>(st.st_size - at))
        return false;
    text_.resize(sizes[0]);
    added_.resize(sizes[1]);
    entries_.resize(sizes[2]);
    if (ReadAll(fd, text_.data(), text_.size()) && ReadAll(fd, added_.data(), added_.size()) &&
        ReadAll(fd, entries_.data(), entries_.size() * sizeof(FileListEntry)))
        return true;
    Clear();
    return false;
}

bool SFileListFiles(MpqHandle archive, std::string listText, FileList &list)
{
    list.Clear();
    HANDLE storm = StormArchive(archive);
    if (storm == nullptr) return false;
    list.text_ = std::move(listText);
    NameMap table = BuildNameTable(list.text_, list.added_);
    std::vector<FileListEntry> &entries = list.entries_;
    auto add = [&](const stormlib::Entry &file, std::uint32_t nameAt, std::uint16_t locale = 0,
                   std::uint8_t platform = 0) {
        entries.push_back({file.storedSize, file.fullSize, file.flags, nameAt, locale, platform});
    };

    if (stormlib::Facts(storm).hasHashTable) {
        std::size_t used = 0;
        stormlib::ForEachHashSlot(storm, [&](const stormlib::HashSlot &slot, std::uint32_t) { used += slot.used ? 1 : 0; });
        // The name of each used slot first; the table goes before the
        // records are made, so that the two never stand side by side in full.
        std::vector<NameMap::Place> found;
        found.reserve(used);
        stormlib::ForEachHashSlot(storm, [&](const stormlib::HashSlot &slot, std::uint32_t) {
            if (slot.used) found.push_back(table.Find(slot.key));
        });
        table = NameMap();
        entries.reserve(used);
        std::size_t next = 0;
        stormlib::ForEachHashSlot(storm, [&](const stormlib::HashSlot &slot, std::uint32_t number) {
            if (!slot.used) return;
            const NameMap::Place place = found[next++];
            std::uint32_t nameAt = 0;
            if (place.size == 0) {
                nameAt = list.Append(UnknownName(number));
            } else if (slot.locale != 0) {
                // A variant's name is in the variant form, in the added block.
                const std::string &block = (place.at & kAddedBit) != 0 ? list.added_ : list.text_;
                nameAt = list.Append(LocaleVariant(std::string_view(block).substr(place.at & ~kAddedBit, place.size),
                                                   slot.locale));
            } else {
                nameAt = place.at;
            }
            add(slot.file, nameAt, slot.locale, slot.platform);
        });
        return true;
    }

    // An archive with only the newer hash tables: StormLib matches the names,
    // and only names that the list text gives are taken.
    std::unordered_set<std::string_view> given;
    table.ForEach([&](NameMap::Place place) {
        const std::string &block = (place.at & kAddedBit) != 0 ? list.added_ : list.text_;
        given.emplace(block.data() + (place.at & ~kAddedBit), place.size);
    });
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
    table = NameMap();
    auto exists = [](const stormlib::Entry &file) { return (file.flags & MPQ_FILE_EXISTS) != 0; };
    std::size_t used = 0;
    stormlib::ForEachFileEntry(storm, [&](const stormlib::Entry &file, std::uint32_t) { used += exists(file); });
    // The given names point into the blocks: the names of the records go to
    // an added block of their own, and the list text goes.
    std::string names;
    std::vector<std::uint32_t> at;
    at.reserve(used);
    stormlib::ForEachFileEntry(storm, [&](const stormlib::Entry &file, std::uint32_t index) {
        if (!exists(file)) return;
        const bool named = file.name != nullptr && given.count(file.name) != 0;
        at.push_back(static_cast<std::uint32_t>(names.size()) | kAddedBit);
        names.append(named ? std::string(file.name) : UnknownName(index)).push_back('\n');
    });
    given.clear();
    std::string().swap(list.text_);
    list.added_ = std::move(names);
    entries.reserve(used);
    std::size_t next = 0;
    stormlib::ForEachFileEntry(storm, [&](const stormlib::Entry &file, std::uint32_t) {
        if (exists(file)) add(file, at[next++]);
    });
    return true;
}

struct NamelessRecords::State {
    MpqHandle archive = nullptr;
    bool hashTable = false;  // the archive has a hash table
    FileList *list = nullptr;
    // Hash-table archives: the name key of each nameless slot, and the
    // records behind it. Others: the file-table index of each nameless record.
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> byKey;
    std::unordered_map<std::uint32_t, std::size_t> byIndex;
};

NamelessRecords::NamelessRecords(MpqHandle archive, FileList &list)
    : state_(std::make_unique<State>())
{
    state_->archive = archive;
    state_->list = &list;
    HANDLE storm = StormArchive(archive);
    if (storm == nullptr) return;
    state_->hashTable = stormlib::Facts(storm).hasHashTable;
    for (std::size_t i = 0; i < list.size(); ++i) {
        std::uint32_t number = 0;
        if (list.FromListText(i) || !ParseUnknownName(list.Name(i), number)) continue;
        stormlib::HashSlot slot;
        if (!state_->hashTable) {
            state_->byIndex.emplace(number, i);
        } else if (stormlib::HashSlotAt(storm, number, slot)) {
            state_->byKey[slot.key].push_back(i);
        }
    }
}

NamelessRecords::~NamelessRecords() = default;

bool NamelessRecords::Empty() const { return state_->byKey.empty() && state_->byIndex.empty(); }

bool NamelessRecords::Try(const std::string &name, std::vector<std::size_t> &named)
{
    if (name.empty() || EmbeddedZero(name) || std::any_of(name.begin(), name.end(), LineBreak) || Empty())
        return false;
    std::vector<std::size_t> found;
    if (state_->hashTable) {
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
    for (std::size_t i : found) state_->list->Rename(i, name);
    named.insert(named.end(), found.begin(), found.end());
    return true;
}

}  // namespace mpq
