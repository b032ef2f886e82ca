// Checking an archive: its layout as the engine reads it, and whether its
// stored files and its signature are sound. Every read goes through the
// guards, as any other read does (mpq_guards.h).
#include "mpq/mpq_guards.h"
#include "mpq/mpq_handle.h"
#include "mpq/mpq_isolation.h"
#include "mpq/mpq_library.h"
#include "mpq/mpq_storm.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>

#include <array>
#include <cstring>

namespace mpq {

namespace {

// The archive's own descriptor, for the guards, opened on first need.
int ArchiveDescriptor(Handle &archive)
{
    if (archive.fd < 0) archive.fd = ::open(archive.path.c_str(), O_RDONLY | O_CLOEXEC);
    return archive.fd;
}

// The kind of signature the archive carries. StormLib cannot tell when the
// bytes of the signature cannot be read; a "(signature)" file then counts as
// a weak signature (which cannot match), and nothing else as any.
SignatureKind SignatureOf(HANDLE storm)
{
    DWORD types = 0;
    if (!::SFileGetFileInfo(storm, SFileMpqSignatures, &types, sizeof types, nullptr))
        return ::SFileHasFile(storm, SIGNATURE_NAME) ? SignatureKind::Weak : SignatureKind::None;
    if (types & SIGNATURE_TYPE_STRONG) return SignatureKind::Strong;
    if (types & SIGNATURE_TYPE_WEAK) return SignatureKind::Weak;
    return SignatureKind::None;
}

// Loads the CRC32s and MD5s of "(attributes)" into the file table, where
// StormLib's file check compares them, when that file may be read.
//
// StormLib 9.22 asserts, and so aborts, when it loads "(attributes)" into an
// archive whose block table was cut short, and does not load it into a
// malformed one. Its loader writes one entry per entry of the block table:
// with none, it counts one less than none. It reads the whole file at its
// size, and a file larger than every layout it knows is refused unread.
void LoadAttributes(Handle &archive)
{
    const stormlib::ArchiveFacts facts = stormlib::Facts(StormArchive(&archive));
    if (facts.blockTableCut || facts.malformed) return;
    const DWORD entries = facts.blockTableSize;
    if (!facts.hasFileTable || entries == 0 || entries > facts.fileTableSize) return;
    constexpr std::uint64_t kLargestEntry = 4 + 8 + 16 + 4;  // CRC32, time, MD5, a patch word
    HANDLE file = nullptr;
    // The loader opens it in any locale, the neutral one first: so does the check.
    if (ArchiveDescriptor(archive) < 0 || !::SFileOpenFileEx(archive.storm, ATTRIBUTES_NAME, SFILE_OPEN_ANY_LOCALE, &file))
        return;
    const bool loadable = ::SFileGetFileSize(file, nullptr) <= 8 + kLargestEntry * entries &&
                          guards::ReadIsSafe(archive.fd, file);
    ::SFileCloseFile(file);
    if (loadable) stormlib::LoadAttributes(archive.storm);
}

// StormLib 9.22 checks the stored bytes of a file of a format 4 archive
// against the MD5s behind them, a chunk at a time, into an array whose length
// it counts in 32 bits: a small chunk size and a large stored size wrap it
// round and write past it. The bytes and their MD5s must lie in the file,
// with chunks of a sensible size.
bool RawChecksumsFit(HANDLE stormFile, std::uint64_t fileSize)
{
    const stormlib::OpenedFile file = stormlib::Opened(stormFile);
    const std::uint64_t chunk = stormlib::Facts(file.archive).rawChunkSize, stored = file.entry.storedSize;
    if (chunk == 0 || stored == 0) return true;  // nothing to check
    if (chunk > (1u << 24)) return false;
    const std::uint64_t digests = ((stored - 1) / chunk + 1) * 16;
    return digests <= 0xFFFFFFFFu && file.rawAt + stored + digests <= fileSize;
}

// Reads the open file to its end; whether all of its bytes came.
bool ReadsCompletely(MpqHandle file)
{
    const std::int64_t size = SFileGetFileInfo(file, SFILE_INFO_SIZE);
    if (size < 0) return false;
    std::array<char, 1 << 16> buffer;
    std::int64_t total = 0;
    std::uint32_t got = 0;
    while (total < size) {
        if (!SFileReadFile(file, buffer.data(), static_cast<std::uint32_t>(buffer.size()), &got, nullptr) || got == 0) return false;
        total += got;
    }
    return total == size;
}

// Whether "(attributes)" can hold a true CRC32 and MD5 of a file. It holds
// none of itself, and of "(signature)" it holds those of the empty signature
// that the signing then writes over: neither is held against them.
bool HasChecksumsInAttributes(const std::string &name)
{
    return ::strcasecmp(name.c_str(), ATTRIBUTES_NAME) != 0 && ::strcasecmp(name.c_str(), SIGNATURE_NAME) != 0;
}

// The faults of one stored file. It is opened and read as any read does, the
// guards first; only a file that passes them reaches StormLib's own check.
std::uint32_t CheckFile(Handle &archive, const std::string &name, std::uint64_t fileSize,
                        const std::function<void(std::uint64_t)> &starting)
{
    const StoredFile file = SFileOpenFileEx(&archive, name);
    starting(file ? static_cast<std::uint64_t>(std::max<std::int64_t>(SFileGetFileInfo(file.get(), SFILE_INFO_SIZE), 0)) : 0);
    if (name.empty() || EmbeddedZero(name)) return VERIFY_NOT_OPENED;
    const std::string engineName = EngineName(&archive, name);
    // A file that StormLib finds but the guards refuse cannot be read.
    if (!file) return ::SFileHasFile(archive.storm, engineName.c_str()) ? VERIFY_NOT_READ : VERIFY_NOT_OPENED;
    std::uint32_t faults = 0;
    DWORD what = SFILE_VERIFY_SECTOR_CRC;
    if (HasChecksumsInAttributes(engineName)) what |= SFILE_VERIFY_FILE_CRC | SFILE_VERIFY_FILE_MD5;
    if (RawChecksumsFit(file->storm, fileSize)) what |= SFILE_VERIFY_RAW_MD5;
    else faults |= VERIFY_RAW_MD5;
    if (!ReadsCompletely(file.get())) faults |= VERIFY_NOT_READ;
    // A sector whose checksum fails ends StormLib's read there: that read's
    // shortfall is the sector's fault, not one more.
    const DWORD found = ::SFileVerifyFile(archive.storm, engineName.c_str(), what);
    if (found & VERIFY_OPEN_ERROR) faults |= VERIFY_NOT_OPENED;
    if (found & VERIFY_FILE_SECTOR_CRC_ERROR) faults |= VERIFY_SECTOR_CRC;
    if (found & VERIFY_FILE_CHECKSUM_ERROR) faults |= VERIFY_CRC32;
    if (found & VERIFY_FILE_MD5_ERROR) faults |= VERIFY_MD5;
    if (found & VERIFY_FILE_RAW_MD5_ERROR) faults |= VERIFY_RAW_MD5;
    return faults;
}

SignatureCheck CheckSignature(HANDLE storm)
{
    if (SignatureOf(storm) == SignatureKind::None) return SignatureCheck::None;
    switch (::SFileVerifyArchive(storm)) {
    case ERROR_WEAK_SIGNATURE_OK: return SignatureCheck::WeakValid;
    case ERROR_STRONG_SIGNATURE_OK: return SignatureCheck::StrongValid;
    default: return SignatureCheck::Mismatch;
    }
}

}  // namespace

bool ReadArchiveLayout(const std::string &path, ArchiveLayout &layout)
{
    const Archive archive = SFileOpenArchive(path);
    HANDLE storm = StormArchive(archive.get());
    if (storm == nullptr) return false;
    const stormlib::ArchiveFacts facts = stormlib::Facts(storm);
    layout.formatVersion = static_cast<int>(facts.formatVersion) + 1;
    layout.headerOffset = facts.headerAt;
    layout.sectorSize = facts.sectorSize;
    layout.hashTableSize = facts.hashTableSize;
    layout.usedSlots = 0;
    stormlib::ForEachHashSlot(storm, [&](const stormlib::HashSlot &slot, std::uint32_t) { layout.usedSlots += slot.used; });
    layout.blockTableSize = facts.blockTableSize;
    layout.signature = SignatureOf(archive->storm);
    return true;
}

namespace {

// What the child of a check tells its parent, a record each.
struct CheckRecord {
    char kind;            // 'O' opened, 'S' a file's check starts, 'F' its faults, 'G' the signature
    std::uint32_t index;  // the file's index among the names
    std::uint64_t value;  // its full size; its faults; the signature's check
};

// How long the check of a file of `size` bytes may go without a word: it is
// read twice, at no less than 8 MB a second.
unsigned StallLimit(std::uint64_t size)
{
    return static_cast<unsigned>(std::min<std::uint64_t>(5000 + size / 4000, 3600 * 1000));
}

// In the child: opens the archive and checks the files from `from` on, then
// the signature, telling each step.
int CheckInChild(const std::string &path, const std::vector<std::string> &storedNames, std::size_t from,
                 ChildChannel &channel)
{
    const Archive archive = SFileOpenArchive(path);
    if (!archive) return 1;
    const auto tell = [&](char kind, std::size_t index, std::uint64_t value) {
        const CheckRecord record{kind, static_cast<std::uint32_t>(index), value};
        return channel.Send(&record, sizeof record);
    };
    if (!tell('O', 0, 0)) return 1;
    struct stat st {};
    const std::uint64_t fileSize =
        ArchiveDescriptor(*archive) >= 0 && ::fstat(archive->fd, &st) == 0 ? static_cast<std::uint64_t>(st.st_size) : 0;
    LoadAttributes(*archive);
    for (std::size_t n = from; n < storedNames.size(); ++n) {
        const std::uint32_t faults =
            CheckFile(*archive, storedNames[n], fileSize, [&](std::uint64_t size) { tell('S', n, size); });
        if (!tell('F', n, faults)) return 1;
    }
    tell('G', 0, static_cast<std::uint32_t>(CheckSignature(archive->storm)));
    return 0;
}

}  // namespace

// The check runs in a child process. A file whose check crashes it, or keeps
// it busy past its limits, is named as damaged, and a fresh child goes on
// with the next one.
ArchiveVerdict VerifyArchiveFiles(const std::string &path, const std::vector<std::string> &storedNames,
                                  const std::function<bool(std::size_t)> &onFile)
{
    ArchiveVerdict verdict;
    const std::size_t none = storedNames.size();
    ChildLimits limits;
    limits.stopByKill = true;  // it only reads
    limits.writableFolders = ArchiveFolders(path);  // but its open puts back an update cut off
    for (std::size_t next = 0;;) {
        std::size_t current = none;  // the file in work
        bool signatureChecked = false;
        const ChildResult run = RunInChild(
            [&](ChildChannel &channel) { return CheckInChild(path, storedNames, next, channel); },
            [&](std::string_view bytes) {
                if (bytes.size() != sizeof(CheckRecord)) return !onFile || onFile(current == none ? next : current);
                CheckRecord record;
                std::memcpy(&record, bytes.data(), sizeof record);
                switch (record.kind) {
                case 'O': verdict.opened = true; break;
                case 'S':
                    current = record.index;
                    limits.stallMilliseconds = StallLimit(record.value);
                    return !onFile || onFile(current);
                case 'F':
                    if (record.value != 0)
                        verdict.faulty.push_back({storedNames[record.index], static_cast<std::uint32_t>(record.value)});
                    ++verdict.filesChecked;
                    next = record.index + 1;
                    current = none;
                    break;
                case 'G':
                    verdict.signature = static_cast<SignatureCheck>(record.value);
                    signatureChecked = true;
                    break;
                default: break;
                }
                return true;
            },
            limits);
        switch (run.outcome) {
        case ChildOutcome::Cancelled: verdict.stopped = true; return verdict;
        case ChildOutcome::Finished:
        case ChildOutcome::NotStarted: return verdict;
        case ChildOutcome::Crashed:
        case ChildOutcome::Stalled: break;
        }
        if (!verdict.opened) return verdict;  // the archive itself takes the engine down
        if (current == none) {
            // Past the files: the signature could not be checked.
            if (!signatureChecked) verdict.signature = SignatureCheck::Mismatch;
            return verdict;
        }
        verdict.faulty.push_back({storedNames[current], VERIFY_ENGINE_FAILED});
        ++verdict.filesChecked;
        next = current + 1;
    }
}

}  // namespace mpq
