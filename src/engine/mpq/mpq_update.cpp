// Updating an archive: open for update, add, add a wave, delete, rename,
// and the close that writes it. Every write is preceded by what the journal
// must keep to put the archive back (mpq_journal.h), and a close that fails
// rolls the archive back.
#include "mpq/mpq_guards.h"
#include "mpq/mpq_handle.h"
#include "mpq/mpq_hash.h"
#include "mpq/mpq_isolation.h"
#include "mpq/mpq_journal.h"
#include "mpq/mpq_library.h"
#include "mpq/mpq_storm.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace mpq {

namespace {

// The largest hash table an update makes or grows to (see MpqOpenArchiveForUpdate).
constexpr std::uint32_t kLargestHashTable = 1u << 20;

std::uint32_t WaveQuality(std::uint32_t quality)
{
    switch (quality) {
    case MAWA_QUALITY_LOW: return MPQ_WAVE_QUALITY_LOW;    // smallest
    case MAWA_QUALITY_HIGH: return MPQ_WAVE_QUALITY_HIGH;  // best sound
    default: return MPQ_WAVE_QUALITY_MEDIUM;
    }
}

DWORD EngineFileFlags(std::uint32_t flags)
{
    DWORD result = 0;
    if (flags & MAFA_REPLACE_EXISTING) result |= MPQ_FILE_REPLACEEXISTING;
    if (flags & MAFA_ENCRYPT) result |= MPQ_FILE_ENCRYPTED;
    return result;
}

// A point where the tests stop the process as a crash would, named by the
// environment variable ARCAVERA_FAULT; nothing stops without it.
bool FaultPoint(const char *name)
{
    const char *fault = std::getenv("ARCAVERA_FAULT");
    return fault != nullptr && std::strcmp(fault, name) == 0;
}

bool FileSize(const std::string &path, long long &size)
{
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    size = static_cast<long long>(st.st_size);
    return true;
}

// The names of the files the engine writes anew when an update closes.
constexpr std::array<const char *, 3> kInternalFiles = {LISTFILE_NAME, ATTRIBUTES_NAME, SIGNATURE_NAME};

// The file-table entries of the engine's internal files: by the name the
// engine knows, or else by the hash slot of that name.
std::vector<DWORD> InternalEntries(HANDLE storm)
{
    std::vector<DWORD> found;
    stormlib::ForEachFileEntry(storm, [&](const stormlib::Entry &entry, std::uint32_t n) {
        if (entry.name == nullptr) return;
        for (const char *internal : kInternalFiles)
            if (std::strcmp(entry.name, internal) == 0) found.push_back(n);
    });
    if (!stormlib::Facts(storm).hasHashTable) return found;
    std::array<std::uint64_t, kInternalFiles.size()> keys {};
    for (std::size_t n = 0; n < kInternalFiles.size(); ++n)
        keys[n] = NameKey(kInternalFiles[n], std::strlen(kInternalFiles[n]));
    stormlib::ForEachHashSlot(storm, [&](const stormlib::HashSlot &slot, std::uint32_t) {
        if (slot.used && std::find(keys.begin(), keys.end(), slot.key) != keys.end())
            found.push_back(slot.FileIndex());
    });
    return found;
}

// Where in the file the engine may begin to write: past the end of the last
// file it keeps. New data, its internal files and its tables all go there;
// the internal files, rewritten at the close, do not count, and neither do
// the old tables, which the engine never writes over in place.
std::uint64_t TailStart(HANDLE storm)
{
    const std::vector<DWORD> internal = InternalEntries(storm);
    const stormlib::ArchiveFacts facts = stormlib::Facts(storm);
    std::uint64_t end = facts.headerSize;
    const DWORD chunk = facts.rawChunkSize;
    stormlib::ForEachFileEntry(storm, [&](const stormlib::Entry &entry, std::uint32_t n) {
        if ((entry.flags & MPQ_FILE_EXISTS) == 0 || entry.storedSize == 0) return;
        std::uint64_t fileEnd = entry.offset + entry.storedSize;
        if (chunk != 0) fileEnd += (std::uint64_t{entry.storedSize} - 1) / chunk * 16 + 16;  // MD5 per chunk
        if (fileEnd > end && std::find(internal.begin(), internal.end(), n) == internal.end()) end = fileEnd;
    });
    return facts.headerAt + end;
}

// Keeps in the journal what the engine's next writes may cover: the tail
// from where the last kept file ends, once a delete may have moved it down.
bool KeepTail(MpqHandle update)
{
    if (!update->tailMoved) return true;
    if (!update->journal->KeepFrom(TailStart(StormArchive(update)))) return false;
    update->tailMoved = false;
    return true;
}

// Whether the engine's "disk full" means its tables are full: no room in
// the file table or no free hash slot. Otherwise the disk itself is full, and a
// larger table would only make things worse.
bool TablesFull(HANDLE storm)
{
    const stormlib::ArchiveFacts facts = stormlib::Facts(storm);
    // Free file entries, past the used part of the table or inside it; the
    // ones the engine keeps for its internal files count as taken.
    std::uint64_t free = facts.maxFileCount > facts.fileTableSize ? facts.maxFileCount - facts.fileTableSize : 0;
    stormlib::ForEachFileEntry(storm, [&](const stormlib::Entry &entry, std::uint32_t) {
        if (free <= facts.reservedFiles) free += (entry.flags & MPQ_FILE_EXISTS) == 0;
    });
    if (free <= facts.reservedFiles) return true;
    if (!facts.hasHashTable) return false;
    bool freeSlot = false;
    stormlib::ForEachHashSlot(storm, [&](const stormlib::HashSlot &slot, std::uint32_t) {
        freeSlot = freeSlot || slot.blockIndex >= HASH_ENTRY_DELETED;
    });
    return !freeSlot;
}

// A full hash table grows instead of refusing the file, up to the largest
// table the engine handles.
template <typename AddFn>
bool AddGrowing(MpqHandle update, AddFn &&add)
{
    if (!KeepTail(update)) return false;
    if (add()) return true;
    if (GetLastError() != ERROR_DISK_FULL || !TablesFull(StormArchive(update))) return false;
    const DWORD current = SFileGetMaxFileCount(update->storm);
    const DWORD grown = std::min<DWORD>(std::max<DWORD>(current * 2, 16), kLargestHashTable);
    if (grown <= current || !SFileSetMaxFileCount(update->storm, grown)) return false;
    return add();
}

// The file that a name of the engine opens in `locale`; not known when it
// opens none, or another variant.
stormlib::OpenedFile FileNamed(HANDLE storm, const char *engineName, std::uint16_t locale = 0)
{
    HANDLE file = nullptr;
    const LocaleScope scope(locale);
    if (!::SFileOpenFileEx(storm, engineName, SFILE_OPEN_FROM_MPQ, &file)) return {};
    const stormlib::OpenedFile opened = IsVariant(file, locale) ? stormlib::Opened(file) : stormlib::OpenedFile{};
    ::SFileCloseFile(file);
    return opened;
}

// Whether a name stands for the internal list of an update that keeps the
// list current, under "(listfile)" or its "~unknowns" name: deleting or
// renaming it would take every name of the archive with it, and the list is
// the engine's to keep.
bool IsKeptList(MpqHandle update, const std::string &engineName)
{
    if (!update->keepsList) return false;
    const stormlib::OpenedFile list = FileNamed(update->storm, LISTFILE_NAME);
    if (!list.known) return false;
    const stormlib::OpenedFile named = FileNamed(update->storm, engineName.c_str());
    return named.known && named.index == list.index;
}

// Writes the update and ends it; whether the archive was written.
bool CloseUpdate(Handle *update)
{
    std::unique_ptr<Handle> owned(update);
    update->tailMoved = true;
    if (!KeepTail(update)) {
        // What the close would write cannot be kept: it writes nothing, and
        // the archive goes back to how it was.
        stormlib::ForgetChanges(update->storm);
        ::SFileCloseArchive(update->storm);
        update->journal->RollBack();
        return false;
    }
    if (!::SFileCloseArchive(update->storm)) {
        update->journal->RollBack();
        return false;
    }
    if (FaultPoint("before-commit")) ::_exit(86);
    return update->journal->Commit();
}

}  // namespace

Update MpqOpenArchiveForUpdate(const std::string &givenPath, std::uint32_t flags,
                               std::uint32_t maximumFiles)
{
    if (givenPath.empty() || EmbeddedZero(givenPath)) return nullptr;
    const std::string path = FollowLinks(givenPath);
    PrepareSigning();
    // A link that leads nowhere is not made to lead to a new archive.
    struct stat link {};
    if (::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) return nullptr;
    RecoverInterruptedUpdate(path);
    long long size = -1;
    const bool exists = FileSize(path, size);
    struct stat st {};
    if (!exists && ::stat(path.c_str(), &st) == 0) return nullptr;  // a folder or a device

    const bool openExisting = (flags & MOAU_OPEN_EXISTING) != 0;
    const bool openAlways = (flags & MOAU_OPEN_ALWAYS) != 0;
    const bool createAlways = (flags & MOAU_CREATE_ALWAYS) != 0;
    HANDLE storm = nullptr;
    std::unique_ptr<UpdateJournal> journal;

    if ((openExisting || openAlways) && exists && size > 0) {
        if (!guards::UpdateOpenIsSafe(path) || !::SFileOpenArchive(path.c_str(), 0, 0, &storm)) return nullptr;
        const stormlib::ArchiveFacts facts = stormlib::Facts(storm);
        // Nothing is written before the journal keeps what the update may
        // cover: the header (and the user data before it), and the tail.
        if (!IsUsableArchive(storm) || !(journal = UpdateJournal::Begin(path)) ||
            !journal->Keep(facts.headerAt, std::max<std::uint64_t>(facts.headerSize, MPQ_HEADER_SIZE_V4)) ||
            (facts.hasUserData && !journal->Keep(facts.userDataAt, facts.headerAt - facts.userDataAt)) ||
            !journal->KeepFrom(TailStart(storm))) {
            ::SFileCloseArchive(storm);
            return nullptr;
        }
        // An archive without a "(listfile)": have StormLib write one on close.
        if (flags & MOAU_MAINTAIN_LISTFILE) stormlib::AddListOnClose(storm);
    } else {
        if (openExisting) return nullptr;
        // Never write over an archive or any other data unless told to.
        if (exists && size > 0 && !createAlways) return nullptr;
        journal = UpdateJournal::Begin(path);
        if (!journal) return nullptr;
        if (exists && ::unlink(path.c_str()) != 0) return nullptr;
        const std::uint32_t format = flags & MOAU_FORMAT_MASK;
        DWORD createFlags = format == MOAU_FORMAT_4   ? MPQ_CREATE_ARCHIVE_V4
                            : format == MOAU_FORMAT_3 ? MPQ_CREATE_ARCHIVE_V3
                            : format == MOAU_FORMAT_2 ? MPQ_CREATE_ARCHIVE_V2
                                                      : MPQ_CREATE_ARCHIVE_V1;
        if (flags & MOAU_MAINTAIN_LISTFILE) createFlags |= MPQ_CREATE_LISTFILE;
        // StormLib counts the list's own entry on top of the maximum and rounds
        // up to a power of two: ask for one less so that a maximum of 1024
        // gives 1024 hash slots.
        // StormLib 9.22 fails to create, or crashes while closing, archives of
        // 2^27 slots and more: a table of a million slots is the most it gets.
        const std::uint32_t reserved = (flags & MOAU_MAINTAIN_LISTFILE) ? 1 : 0;
        const std::uint32_t wanted = std::min<std::uint32_t>(maximumFiles, kLargestHashTable);
        const DWORD engineMaximum = wanted > reserved + 1 ? wanted - reserved : 1;
        if (!::SFileCreateArchive(path.c_str(), createFlags, engineMaximum, &storm)) return nullptr;
    }
    // Each piece of a file written is a sign of progress for a watchdog.
    ::SFileSetAddFileCallback(storm, [](void *, DWORD, DWORD, bool) { Beat(); }, nullptr);
    Update update(new Handle{Handle::Kind::Updating, storm, nullptr, path, -1, (flags & MOAU_MAINTAIN_LISTFILE) != 0});
    update->journal = std::move(journal);
    return update;
}

bool MpqAddFileToArchiveEx(MpqHandle update, const std::string &sourcePath,
                           const std::string &storedName, std::uint32_t flags,
                           std::uint32_t compressionType, std::int32_t /*level*/)
{
    const StoredName stored(storedName);
    if (update == nullptr || update->kind != Handle::Kind::Updating) return false;
    if (!stored.valid || !IsRegularFile(sourcePath)) return false;
    DWORD fileFlags = EngineFileFlags(flags);
    DWORD compression = 0;
    if ((flags & MAFA_COMPRESS) && compressionType != MAFA_COMPRESS_NONE) {
        fileFlags |= MPQ_FILE_COMPRESS;
        compression = compressionType == MAFA_COMPRESS_DEFLATE ? MPQ_COMPRESSION_ZLIB
                                                               : MPQ_COMPRESSION_PKWARE;
    }
    // StormLib compresses deflate at its own fixed level; the level stops here.
    return AddGrowing(update, [&] {
        const LocaleScope scope(stored.locale);
        return ::SFileAddFileEx(update->storm, sourcePath.c_str(), stored.name.c_str(), fileFlags,
                                compression, MPQ_COMPRESSION_NEXT_SAME);
    });
}

bool MpqAddWaveToArchive(MpqHandle update, const std::string &sourcePath,
                         const std::string &storedName, std::uint32_t flags,
                         std::uint32_t quality)
{
    const StoredName stored(storedName);
    if (update == nullptr || update->kind != Handle::Kind::Updating) return false;
    if (!stored.valid || !IsRegularFile(sourcePath)) return false;
    const DWORD fileFlags = EngineFileFlags(flags) | MPQ_FILE_COMPRESS;
    return AddGrowing(update, [&] {
        const LocaleScope scope(stored.locale);
        return ::SFileAddWave(update->storm, sourcePath.c_str(), stored.name.c_str(), fileFlags,
                              WaveQuality(quality));
    });
}

bool MpqDeleteFile(MpqHandle update, const std::string &storedName)
{
    const StoredName stored(storedName);
    if (update == nullptr || update->kind != Handle::Kind::Updating || !stored.valid) return false;
    const std::string engineName = EngineName(update, stored.name);
    if (IsKeptList(update, engineName)) return false;
    const LocaleScope scope(stored.locale);
    if (!FileNamed(update->storm, engineName.c_str(), stored.locale).known) return false;
    // The room the file took may be where the next write goes.
    if (!::SFileRemoveFile(update->storm, engineName.c_str(), 0)) return false;
    update->tailMoved = true;
    return true;
}

bool MpqRenameFile(MpqHandle update, const std::string &oldName, const std::string &newName)
{
    const StoredName stored(oldName);
    if (update == nullptr || update->kind != Handle::Kind::Updating) return false;
    // The new name is a plain name: the file keeps its locale.
    if (!stored.valid || newName.empty() || EmbeddedZero(newName)) return false;
    const std::string engineName = EngineName(update, stored.name);
    if (IsKeptList(update, engineName)) return false;
    const LocaleScope scope(stored.locale);
    // An encrypted file is encrypted anew for its new name, where it lies.
    const stormlib::OpenedFile file = FileNamed(update->storm, engineName.c_str(), stored.locale);
    if (!file.known) return false;
    if ((file.entry.flags & MPQ_FILE_ENCRYPTED) &&
        !update->journal->Keep(stormlib::Facts(update->storm).headerAt + file.entry.offset, file.entry.storedSize))
        return false;
    return ::SFileRenameFile(update->storm, engineName.c_str(), newName.c_str());
}

void UpdateCloser::operator()(Handle *update) const { CloseUpdate(update); }

bool Update::Close()
{
    Handle *update = release();
    return update != nullptr && CloseUpdate(update);
}

}  // namespace mpq
