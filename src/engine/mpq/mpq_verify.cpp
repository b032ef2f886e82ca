// Checking an archive: its layout as the engine reads it, and whether its
// stored files and its signature are sound. Every read goes through the
// guards, as any other read does (mpq_guards.h).
#include "mpq/mpq_guards.h"
#include "mpq/mpq_handle.h"
#include "mpq/mpq_isolation.h"
#include "mpq/mpq_library.h"
#include "mpq/mpq_storm.h"
#include "mpq/whole_io.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>

#include <tomcrypt.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

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
// the check of each file finds its own, when that file may be read.
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

// The MD5s behind the stored bytes of a file of a format 4 archive, a
// chunk's each, count as missing unless the bytes and the MD5s lie in the
// file, with chunks of a sensible size.
bool RawChecksumsFit(HANDLE stormFile, std::uint64_t fileSize)
{
    const stormlib::OpenedFile file = stormlib::Opened(stormFile);
    const std::uint64_t chunk = stormlib::Facts(file.archive).rawChunkSize, stored = file.entry.storedSize;
    if (chunk == 0 || stored == 0) return true;  // nothing to check
    if (chunk > (1u << 24)) return false;
    const std::uint64_t digests = ((stored - 1) / chunk + 1) * 16;
    return digests <= 0xFFFFFFFFu && file.rawAt + stored + digests <= fileSize;
}

// Whether the stored bytes of the open file match the MD5s behind them, once
// RawChecksumsFit has found them in the file.
bool RawBytesMatch(int fd, HANDLE stormFile)
{
    const stormlib::OpenedFile file = stormlib::Opened(stormFile);
    const std::uint64_t chunk = stormlib::Facts(file.archive).rawChunkSize, stored = file.entry.storedSize;
    if (chunk == 0 || stored == 0) return true;
    const std::uint64_t chunks = (stored - 1) / chunk + 1, digestsAt = file.rawAt + stored;
    std::vector<unsigned char> bytes(chunk);
    std::array<unsigned char, 16 * 1024> held;  // the MD5s of a run of chunks
    for (std::uint64_t n = 0; n < chunks; ++n) {
        const std::uint64_t inRun = n % (held.size() / 16);
        if (inRun == 0 && !ReadAllAt(fd, held.data(), std::min<std::uint64_t>(held.size(), (chunks - n) * 16), digestsAt + n * 16))
            return false;
        const std::uint64_t at = n * chunk, length = std::min(chunk, stored - at);
        if (!ReadAllAt(fd, bytes.data(), length, file.rawAt + at)) return false;
        std::array<unsigned char, 16> digest;
        hash_state md5;
        md5_init(&md5);
        md5_process(&md5, bytes.data(), static_cast<unsigned long>(length));
        md5_done(&md5, digest.data());
        if (!std::equal(digest.begin(), digest.end(), held.begin() + static_cast<std::ptrdiff_t>(inRun * 16))) return false;
    }
    return true;
}

// The bytes a read of the check asks for: many sectors at a time, so that
// the calls cost little beside the unpacking and the hashes.
constexpr std::size_t kReadSize = 1 << 20;

// What one read of a file through to its end found.
struct WholeRead {
    bool complete = false;     // all of its bytes came
    bool sectorFault = false;  // a sector differed from its checksum
    std::uint32_t crc32 = 0;   // of its bytes, when asked for and complete
    std::array<unsigned char, 16> md5{};
};

// Reads the open file to its end, once, through the engine's read: StormLib
// holds each sector against its checksum as it reads it, and the CRC32 and
// the MD5 asked for are reckoned as the bytes come. A sector that differs
// fails its read, which then goes on without the sector checksums: whether
// the rest reads is a fault of its own. `buffer` holds one read.
WholeRead ReadWhole(MpqHandle file, bool wantCrc32, bool wantMd5, std::vector<unsigned char> &buffer)
{
    WholeRead read;
    const std::int64_t size = SFileGetFileInfo(file, SFILE_INFO_SIZE);
    if (size < 0) return read;
    stormlib::CheckSectorChecksums(file->storm, true);
    uLong crc = ::crc32(0, nullptr, 0);
    hash_state md5;
    md5_init(&md5);
    std::int64_t total = 0;
    while (total < size) {
        std::uint32_t got = 0;
        if (!SFileReadFile(file, buffer.data(), static_cast<std::uint32_t>(buffer.size()), &got, nullptr) || got == 0) {
            if (got != 0 || read.sectorFault || GetLastError() != ERROR_CHECKSUM_ERROR) return read;
            read.sectorFault = true;
            stormlib::CheckSectorChecksums(file->storm, false);
            continue;
        }
        if (!read.sectorFault) {
            if (wantCrc32) crc = ::crc32(crc, buffer.data(), got);
            if (wantMd5) md5_process(&md5, buffer.data(), got);
        }
        total += got;
    }
    read.complete = total == size;
    read.crc32 = static_cast<std::uint32_t>(crc);
    md5_done(&md5, read.md5.data());
    return read;
}

// Whether "(attributes)" can hold a true CRC32 and MD5 of a file. It holds
// none of itself, and of "(signature)" it holds those of the empty signature
// that the signing then writes over: neither is held against them.
bool HasChecksumsInAttributes(const std::string &name)
{
    return ::strcasecmp(name.c_str(), ATTRIBUTES_NAME) != 0 && ::strcasecmp(name.c_str(), SIGNATURE_NAME) != 0;
}

// The faults of one stored file, found in one read of it: it is opened and
// read as any read does, the guards first. Its CRC32 and MD5 count only when
// every sector matched its checksum and every byte came; stored bytes that
// differ from their MD5s are the file's one fault besides a short read.
std::uint32_t CheckFile(Handle &archive, const std::string &name, std::uint64_t fileSize,
                        std::vector<unsigned char> &buffer, const std::function<void(std::uint64_t)> &starting)
{
    const StoredFile file = SFileOpenFileEx(&archive, name);
    starting(file ? static_cast<std::uint64_t>(std::max<std::int64_t>(SFileGetFileInfo(file.get(), SFILE_INFO_SIZE), 0)) : 0);
    const StoredName stored(name);
    if (!stored.valid) return VERIFY_NOT_OPENED;
    const std::string engineName = EngineName(&archive, stored.name);
    // A file that StormLib finds but the guards refuse cannot be read.
    if (!file) {
        const LocaleScope scope(stored.locale);
        HANDLE found = nullptr;
        if (!::SFileOpenFileEx(archive.storm, engineName.c_str(), SFILE_OPEN_FROM_MPQ, &found)) return VERIFY_NOT_OPENED;
        const bool variant = IsVariant(found, stored.locale);
        ::SFileCloseFile(found);
        return variant ? VERIFY_NOT_READ : VERIFY_NOT_OPENED;
    }
    std::uint32_t faults = 0;
    bool rawMatch = true;
    if (!RawChecksumsFit(file->storm, fileSize)) faults |= VERIFY_RAW_MD5;
    else rawMatch = RawBytesMatch(archive.fd, file->storm);
    const stormlib::FileChecksums held =
        HasChecksumsInAttributes(engineName) ? stormlib::Checksums(file->storm) : stormlib::FileChecksums{};
    const bool heldMd5 = std::any_of(held.md5.begin(), held.md5.end(), [](unsigned char c) { return c != 0; });
    const WholeRead read = ReadWhole(file.get(), rawMatch && held.crc32 != 0, rawMatch && heldMd5, buffer);
    if (!read.complete) faults |= VERIFY_NOT_READ;
    if (!rawMatch) return faults | VERIFY_RAW_MD5;
    if (read.sectorFault) return faults | VERIFY_SECTOR_CRC;
    if (read.complete && held.crc32 != 0 && read.crc32 != held.crc32) faults |= VERIFY_CRC32;
    if (read.complete && heldMd5 && read.md5 != held.md5) faults |= VERIFY_MD5;
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
// read at no less than 4 MB a second.
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
    std::vector<unsigned char> buffer(kReadSize);
    for (std::size_t n = from; n < storedNames.size(); ++n) {
        const std::uint32_t faults =
            CheckFile(*archive, storedNames[n], fileSize, buffer, [&](std::uint64_t size) { tell('S', n, size); });
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
