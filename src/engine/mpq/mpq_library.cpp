// The MPQ engine boundary on StormLib. This is the only file that includes
// StormLib.h.
//
// Names. The archive is opened without StormLib's own list loading, and the
// names of a listing come from the list text alone: each candidate name is
// hashed here with the MPQ name hashes and matched against the two name hashes
// of each hash slot. So nothing that StormLib names by itself (internal files
// it opened, pseudo-names) reaches the list. A slot that no candidate names is
// listed as "~unknowns\unknownNNNNNNNN", NNNNNNNN being the slot number; that
// name, with or without an extension behind it, opens the slot's file again.
#include "mpq/mpq_library.h"

#include "mpq/mpq_guards.h"
#include "mpq/mpq_hash.h"
#include "mpq/mpq_journal.h"

#include <StormLib.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace mpq {

struct Handle {
    enum class Kind { Reading, Updating, File };
    Kind kind = Kind::Reading;
    HANDLE storm = nullptr;
    Handle *archive = nullptr;  // a file's archive
    std::string path;           // an archive's path on disk
    int fd = -1;                // an archive's own descriptor, for the checks before a read
    bool keepsList = false;     // an update that keeps "(listfile)" current
    std::unique_ptr<UpdateJournal> journal;  // an update's way back
    bool tailMoved = false;     // a delete since the journal last kept the tail

    Handle(Kind kind_, HANDLE storm_, Handle *archive_, std::string path_, int fd_, bool keepsList_ = false)
        : kind(kind_), storm(storm_), archive(archive_), path(std::move(path_)), fd(fd_), keepsList(keepsList_)
    {
    }
    ~Handle()
    {
        if (fd >= 0) ::close(fd);
    }
};

namespace {

// Candidate names by their pair of name hashes; the first spelling wins.
// The names point into the list text and into `sources`, which hold the
// external list files read for one listing.
struct NameTable {
    std::unordered_map<std::uint64_t, std::string_view> names;
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

bool IsRegularFile(const std::string &path)
{
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
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
    table.names.try_emplace(NameKey(name, length), name, length);
}

NameTable BuildNameTable(const std::string &listText)
{
    NameTable names;
    names.names.reserve(listText.size() / 24 + 16);
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

// ---------------------------------------------------------------------------
// Names of the nameless

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

// A hash slot that points at a file that exists, as StormLib's own walk takes it.
bool IsUsedSlot(TMPQArchive *ha, TMPQHash *hash)
{
    const DWORD blockIndex = MPQ_BLOCK_INDEX(hash);
    return blockIndex < ha->dwFileTableSize && (ha->pFileTable[blockIndex].dwFlags & MPQ_FILE_EXISTS) != 0;
}

TMPQArchive *StormArchive(MpqHandle handle)
{
    if (handle == nullptr || handle->kind == Handle::Kind::File || handle->storm == nullptr)
        return nullptr;
    return static_cast<TMPQArchive *>(handle->storm);
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

// The name under which StormLib finds what our name means: the name itself for
// a stored name, StormLib's pseudo-name of the file-table entry for an unknown.
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

// StormLib 9.22 takes the sector size from the header unchecked; a size
// shifted out to zero divides by zero at the first read, and a huge one is
// allocated for every file read. Archives use sectors of a few kilobytes.
bool IsUsableArchive(HANDLE storm)
{
    constexpr DWORD kLargestSector = 1u << 24;
    const auto *ha = static_cast<const TMPQArchive *>(storm);
    return ha != nullptr && ha->dwSectorSize != 0 && ha->dwSectorSize <= kLargestSector;
}

bool EmbeddedZero(const std::string &text) { return text.find('\0') != std::string::npos; }

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

}  // namespace

// ---------------------------------------------------------------------------
// Reading

Archive SFileOpenArchive(const std::string &path)
{
    if (path.empty() || EmbeddedZero(path)) return nullptr;
    // An update that was cut off is undone before anyone reads the archive.
    RecoverInterruptedUpdate(path);
    if (!IsRegularFile(path)) return nullptr;
    // An archive that StormLib would abort on unless some entries are
    // screened out is opened as a screened copy, which the handle's
    // descriptor keeps.
    std::string enginePath = path;
    int screened = -1;
    switch (guards::CheckOpen(path)) {
    case guards::OpenVerdict::Safe: break;
    case guards::OpenVerdict::Unsafe: return nullptr;
    case guards::OpenVerdict::Screened:
        if ((screened = guards::ScreenedCopy(path)) < 0) return nullptr;
        enginePath = "/proc/self/fd/" + std::to_string(screened);
        break;
    }
    HANDLE storm = nullptr;
    const DWORD openFlags = STREAM_FLAG_READ_ONLY | MPQ_OPEN_NO_LISTFILE | MPQ_OPEN_NO_ATTRIBUTES;
    if (!::SFileOpenArchive(enginePath.c_str(), 0, openFlags, &storm) || !IsUsableArchive(storm)) {
        if (storm != nullptr) ::SFileCloseArchive(storm);
        if (screened >= 0) ::close(screened);
        return nullptr;
    }
    return Archive(new Handle{Handle::Kind::Reading, storm, nullptr, enginePath, screened});
}

std::int64_t SFileGetFileInfo(MpqHandle handle, int kind)
{
    if (handle == nullptr || handle->storm == nullptr) return -1;
    if (handle->kind != Handle::Kind::File) {
        TMPQArchive *ha = StormArchive(handle);
        switch (kind) {
        case SFILE_INFO_BLOCK_SIZE: return ha->dwFileTableSize;
        case SFILE_INFO_HASH_TABLE_SIZE:
            return ha->pHashTable != nullptr ? std::int64_t{ha->pHeader->dwHashTableSize}
                                             : std::int64_t{ha->dwFileTableSize};
        case SFILE_INFO_NUM_FILES: {
            DWORD count = 0;
            if (!::SFileGetFileInfo(handle->storm, SFileMpqNumberOfFiles, &count, sizeof count, nullptr))
                return -1;
            return count;
        }
        default: return -1;
        }
    }
    SFileInfoClass infoClass;
    switch (kind) {
    case SFILE_INFO_SIZE: infoClass = SFileInfoFileSize; break;
    case SFILE_INFO_COMPRESSED_SIZE: infoClass = SFileInfoCompressedSize; break;
    case SFILE_INFO_FLAGS: infoClass = SFileInfoFlags; break;
    case SFILE_INFO_LOCALEID: infoClass = SFileInfoLocale; break;
    case SFILE_INFO_HASH_INDEX: infoClass = SFileInfoHashIndex; break;
    case SFILE_INFO_POSITION: {
        ULONGLONG position = 0;
        if (!::SFileGetFileInfo(handle->storm, SFileInfoByteOffset, &position, sizeof position, nullptr))
            return -1;
        return static_cast<std::int64_t>(position);
    }
    default: return -1;
    }
    DWORD value = 0;
    if (!::SFileGetFileInfo(handle->storm, infoClass, &value, sizeof value, nullptr)) return -1;
    return value;
}

StoredFile SFileOpenFileEx(MpqHandle archive, const std::string &storedName)
{
    if (StormArchive(archive) == nullptr || storedName.empty() || EmbeddedZero(storedName)) return nullptr;
    const std::string engineName = EngineName(archive, storedName);
    HANDLE storm = nullptr;
    if (!::SFileOpenFileEx(archive->storm, engineName.c_str(), SFILE_OPEN_FROM_MPQ, &storm)) return nullptr;
    if (archive->fd < 0) archive->fd = ::open(archive->path.c_str(), O_RDONLY | O_CLOEXEC);
    if (archive->fd < 0 || !guards::ReadIsSafe(archive->fd, storm)) {
        ::SFileCloseFile(storm);
        return nullptr;
    }
    return StoredFile(new Handle{Handle::Kind::File, storm, archive, {}, -1});
}

bool SFileReadFile(MpqHandle file, void *buffer, std::uint32_t count, std::uint32_t *bytesRead,
                   void * /*overlapped*/)
{
    if (bytesRead != nullptr) *bytesRead = 0;
    if (file == nullptr || file->kind != Handle::Kind::File || buffer == nullptr) return false;
    DWORD read = 0;
    const bool ok = ::SFileReadFile(file->storm, buffer, count, &read, nullptr);
    if (bytesRead != nullptr) *bytesRead = read;
    return ok || (GetLastError() == ERROR_HANDLE_EOF && read > 0);
}

bool SFileListFiles(MpqHandle archive, const std::string &listText,
                    std::vector<FileListEntry> &entries, std::uint32_t /*flags*/)
{
    TMPQArchive *ha = StormArchive(archive);
    if (ha == nullptr) return false;
    const NameTable table = BuildNameTable(listText);
    auto nameOf = [&](std::uint64_t key, std::uint32_t number) {
        auto found = table.names.find(key);
        return found != table.names.end() ? std::string(found->second) : UnknownName(number);
    };

    std::size_t next = 0;
    auto fill = [&](const TFileEntry &file, std::uint32_t locale, std::string name) {
        FileListEntry &entry = entries[next++];
        entry.FileExists = 1;
        entry.Locale = locale;
        entry.CompressedSize = file.dwCmpSize;
        entry.FullSize = file.dwFileSize;
        entry.Flags = file.dwFlags;
        entry.StoredName = std::move(name);
    };

    if (ha->pHashTable != nullptr) {
        const DWORD slots = ha->pHeader->dwHashTableSize;
        for (DWORD slot = 0; slot < slots && next < entries.size(); ++slot) {
            TMPQHash *hash = ha->pHashTable + slot;
            if (!IsUsedSlot(ha, hash)) continue;
            const std::uint64_t key = (std::uint64_t{hash->dwName1} << 32) | hash->dwName2;
            fill(ha->pFileTable[MPQ_BLOCK_INDEX(hash)], hash->lcLocale, nameOf(key, slot));
        }
        return true;
    }

    // An archive with only the newer hash tables: StormLib matches the names,
    // and only names that the list text gives are taken.
    std::unordered_set<std::string> given;
    for (const auto &[key, name] : table.names) given.emplace(name);
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
    for (DWORD index = 0; index < ha->dwFileTableSize && next < entries.size(); ++index) {
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

void FileCloser::operator()(Handle *file) const
{
    ::SFileCloseFile(file->storm);
    delete file;
}

void ArchiveCloser::operator()(Handle *archive) const
{
    ::SFileCloseArchive(archive->storm);
    delete archive;
}

// ---------------------------------------------------------------------------
// Updating

constexpr std::uint32_t kLargestHashTable = 1u << 20;

namespace {

// The names of the files the engine writes anew when an update closes.
constexpr std::array<const char *, 3> kInternalFiles = {LISTFILE_NAME, ATTRIBUTES_NAME, SIGNATURE_NAME};

// The file-table entries of the engine's internal files: by the name the
// engine knows, or else by the hash slot of that name.
std::vector<DWORD> InternalEntries(TMPQArchive *ha)
{
    std::vector<DWORD> found;
    for (DWORD n = 0; n < ha->dwFileTableSize; ++n) {
        const char *name = ha->pFileTable[n].szFileName;
        if (name == nullptr) continue;
        for (const char *internal : kInternalFiles)
            if (std::strcmp(name, internal) == 0) found.push_back(n);
    }
    if (ha->pHashTable == nullptr) return found;
    std::array<std::uint64_t, kInternalFiles.size()> keys {};
    for (std::size_t n = 0; n < kInternalFiles.size(); ++n)
        keys[n] = NameKey(kInternalFiles[n], std::strlen(kInternalFiles[n]));
    for (DWORD slot = 0; slot < ha->pHeader->dwHashTableSize; ++slot) {
        TMPQHash *hash = ha->pHashTable + slot;
        const std::uint64_t key = (std::uint64_t{hash->dwName1} << 32) | hash->dwName2;
        if (IsUsedSlot(ha, hash) && std::find(keys.begin(), keys.end(), key) != keys.end())
            found.push_back(MPQ_BLOCK_INDEX(hash));
    }
    return found;
}

// Where in the file the engine may begin to write: past the end of the last
// file it keeps. New data, its internal files and its tables all go there;
// the internal files, rewritten at the close, do not count, and neither do
// the old tables, which the engine never writes over in place.
std::uint64_t TailStart(TMPQArchive *ha)
{
    const std::vector<DWORD> internal = InternalEntries(ha);
    std::uint64_t end = ha->pHeader->dwHeaderSize;
    const DWORD chunk = ha->pHeader->dwRawChunkSize;
    for (DWORD n = 0; n < ha->dwFileTableSize; ++n) {
        const TFileEntry &entry = ha->pFileTable[n];
        if ((entry.dwFlags & MPQ_FILE_EXISTS) == 0 || entry.dwCmpSize == 0) continue;
        std::uint64_t fileEnd = entry.ByteOffset + entry.dwCmpSize;
        if (chunk != 0) fileEnd += (std::uint64_t{entry.dwCmpSize} - 1) / chunk * 16 + 16;  // MD5 per chunk
        if (fileEnd > end && std::find(internal.begin(), internal.end(), n) == internal.end()) end = fileEnd;
    }
    return ha->MpqPos + end;
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
bool TablesFull(TMPQArchive *ha)
{
    // Free file entries, past the used part of the table or inside it; the
    // ones the engine keeps for its internal files count as taken.
    std::uint64_t free = ha->dwMaxFileCount > ha->dwFileTableSize ? ha->dwMaxFileCount - ha->dwFileTableSize : 0;
    for (DWORD n = 0; free <= ha->dwReservedFiles && n < ha->dwFileTableSize; ++n)
        free += (ha->pFileTable[n].dwFlags & MPQ_FILE_EXISTS) == 0;
    if (free <= ha->dwReservedFiles) return true;
    if (ha->pHashTable == nullptr) return false;
    for (DWORD slot = 0; slot < ha->pHeader->dwHashTableSize; ++slot)
        if (ha->pHashTable[slot].dwBlockIndex >= HASH_ENTRY_DELETED) return false;
    return true;
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

}  // namespace

Update MpqOpenArchiveForUpdate(const std::string &path, std::uint32_t flags,
                                  std::uint32_t maximumFiles)
{
    if (path.empty() || EmbeddedZero(path)) return nullptr;
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
        TMPQArchive *ha = static_cast<TMPQArchive *>(storm);
        // Nothing is written before the journal keeps what the update may
        // cover: the header (and the user data before it), and the tail.
        if (!IsUsableArchive(storm) || !(journal = UpdateJournal::Begin(path)) ||
            !journal->Keep(ha->MpqPos, std::max<std::uint64_t>(ha->pHeader->dwHeaderSize, MPQ_HEADER_SIZE_V4)) ||
            (ha->pUserData != nullptr && !journal->Keep(ha->UserDataPos, ha->MpqPos - ha->UserDataPos)) ||
            !journal->KeepFrom(TailStart(ha))) {
            ::SFileCloseArchive(storm);
            return nullptr;
        }
        if ((flags & MOAU_MAINTAIN_LISTFILE) && ha->dwFileFlags1 == 0) {
            // The archive had no "(listfile)": have StormLib write one on close.
            ha->dwFileFlags1 = MPQ_FILE_EXISTS;
            ha->dwFlags |= MPQ_FLAG_LISTFILE_NEW;
            ha->dwReservedFiles++;
        }
    } else {
        if (openExisting) return nullptr;
        // Never write over an archive or any other data unless told to.
        if (exists && size > 0 && !createAlways) return nullptr;
        journal = UpdateJournal::Begin(path);
        if (!journal) return nullptr;
        if (exists && ::unlink(path.c_str()) != 0) return nullptr;
        DWORD createFlags = MPQ_CREATE_ARCHIVE_V1;
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
    Update update(new Handle{Handle::Kind::Updating, storm, nullptr, path, -1, (flags & MOAU_MAINTAIN_LISTFILE) != 0});
    update->journal = std::move(journal);
    return update;
}

bool MpqAddFileToArchiveEx(MpqHandle update, const std::string &sourcePath,
                           const std::string &storedName, std::uint32_t flags,
                           std::uint32_t compressionType, std::int32_t /*level*/)
{
    if (update == nullptr || update->kind != Handle::Kind::Updating) return false;
    if (storedName.empty() || EmbeddedZero(storedName) || !IsRegularFile(sourcePath)) return false;
    DWORD fileFlags = EngineFileFlags(flags);
    DWORD compression = 0;
    if ((flags & MAFA_COMPRESS) && compressionType != MAFA_COMPRESS_NONE) {
        fileFlags |= MPQ_FILE_COMPRESS;
        compression = compressionType == MAFA_COMPRESS_DEFLATE ? MPQ_COMPRESSION_ZLIB
                                                               : MPQ_COMPRESSION_PKWARE;
    }
    // StormLib compresses deflate at its own fixed level; the level stops here.
    return AddGrowing(update, [&] {
        return ::SFileAddFileEx(update->storm, sourcePath.c_str(), storedName.c_str(), fileFlags,
                                compression, MPQ_COMPRESSION_NEXT_SAME);
    });
}

bool MpqAddWaveToArchive(MpqHandle update, const std::string &sourcePath,
                         const std::string &storedName, std::uint32_t flags,
                         std::uint32_t quality)
{
    if (update == nullptr || update->kind != Handle::Kind::Updating) return false;
    if (storedName.empty() || EmbeddedZero(storedName) || !IsRegularFile(sourcePath)) return false;
    const DWORD fileFlags = EngineFileFlags(flags) | MPQ_FILE_COMPRESS;
    return AddGrowing(update, [&] {
        return ::SFileAddWave(update->storm, sourcePath.c_str(), storedName.c_str(), fileFlags,
                              WaveQuality(quality));
    });
}

// The file-table entry that a name of the engine opens, or null.
const TFileEntry *EntryOf(HANDLE storm, const char *engineName)
{
    HANDLE file = nullptr;
    if (!::SFileOpenFileEx(storm, engineName, SFILE_OPEN_FROM_MPQ, &file)) return nullptr;
    const TFileEntry *entry = static_cast<const TMPQFile *>(file)->pFileEntry;
    ::SFileCloseFile(file);
    return entry;
}

// Whether a name stands for the internal list of an update that keeps the
// list current. The list does not name itself, so the user meets it as a
// "~unknowns" entry; deleting or renaming it would take every name of the
// archive with it, and the list is the engine's to keep.
bool IsKeptList(MpqHandle update, const std::string &engineName)
{
    if (!update->keepsList) return false;
    const TFileEntry *list = EntryOf(update->storm, LISTFILE_NAME);
    return list != nullptr && list == EntryOf(update->storm, engineName.c_str());
}

bool MpqDeleteFile(MpqHandle update, const std::string &storedName)
{
    if (update == nullptr || update->kind != Handle::Kind::Updating) return false;
    if (storedName.empty() || EmbeddedZero(storedName)) return false;
    const std::string engineName = EngineName(update, storedName);
    if (IsKeptList(update, engineName)) return false;
    // The room the file took may be where the next write goes.
    if (!::SFileRemoveFile(update->storm, engineName.c_str(), 0)) return false;
    update->tailMoved = true;
    return true;
}

bool MpqRenameFile(MpqHandle update, const std::string &oldName, const std::string &newName)
{
    if (update == nullptr || update->kind != Handle::Kind::Updating) return false;
    if (oldName.empty() || newName.empty() || EmbeddedZero(oldName) || EmbeddedZero(newName))
        return false;
    const std::string engineName = EngineName(update, oldName);
    if (IsKeptList(update, engineName)) return false;
    // An encrypted file is encrypted anew for its new name, where it lies.
    const TFileEntry *entry = EntryOf(update->storm, engineName.c_str());
    if (entry != nullptr && (entry->dwFlags & MPQ_FILE_ENCRYPTED) &&
        !update->journal->Keep(StormArchive(update)->MpqPos + entry->ByteOffset, entry->dwCmpSize))
        return false;
    return ::SFileRenameFile(update->storm, engineName.c_str(), newName.c_str());
}

namespace {

// Writes the update and ends it; whether the archive was written.
bool CloseUpdate(Handle *update)
{
    std::unique_ptr<Handle> owned(update);
    TMPQArchive *ha = StormArchive(update);
    update->tailMoved = true;
    if (!KeepTail(update)) {
        // What the close would write cannot be kept: it writes nothing, and
        // the archive goes back to how it was.
        ha->dwFlags &= ~(MPQ_FLAG_CHANGED | MPQ_FLAG_LISTFILE_NEW | MPQ_FLAG_ATTRIBUTES_NEW | MPQ_FLAG_SIGNATURE_NEW);
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

void UpdateCloser::operator()(Handle *update) const { CloseUpdate(update); }

bool Update::Close()
{
    Handle *update = release();
    return update != nullptr && CloseUpdate(update);
}

std::uint32_t SFMpqGetVersionString2(char *buffer, std::uint32_t length)
{
    if (buffer == nullptr || length == 0) return 0;
    std::snprintf(buffer, length, "StormLib %s", STORMLIB_VERSION_STRING);
    return static_cast<std::uint32_t>(std::strlen(buffer)) + 1;
}

}  // namespace mpq
