// Compaction. A new archive is written beside the archive, in a child
// process (mpq_isolation.h), and only a complete, synced one is renamed over
// the archive, so a full disk, a read-only folder, a Cancel or a killed
// process leave the archive as it was. An archive in format 1 or 2 is
// written by the engine itself (mpq_repack.h); any other is copied, and
// StormLib compacts the copy in place.
#include "mpq/mpq_guards.h"
#include "mpq/mpq_handle.h"
#include "mpq/mpq_isolation.h"
#include "mpq/mpq_journal.h"
#include "mpq/mpq_library.h"
#include "mpq/mpq_repack.h"
#include "mpq/mpq_storm.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace mpq {

namespace {

// Copies the file at `from` to the open descriptor `to`, whole, and syncs it.
bool CopyInto(const std::string &from, int to)
{
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return false;
    std::vector<char> buffer(1 << 20);
    bool ok = true;
    for (;;) {
        const ssize_t got = ::read(in, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            ok = got == 0;
            break;
        }
        Beat();
        for (ssize_t put = 0; ok && put < got;) {
            const ssize_t n = ::write(to, buffer.data() + put, static_cast<std::size_t>(got - put));
            if (n < 0 && errno == EINTR) continue;
            ok = n > 0;
            put += n > 0 ? n : 0;
        }
        if (!ok) break;
    }
    ::close(in);
    return ok && ::fsync(to) == 0;
}

bool SyncFile(const std::string &path)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

bool WriteNames(const std::string &path, const std::vector<std::string> &names)
{
    std::FILE *out = std::fopen(path.c_str(), "wb");
    if (out == nullptr) return false;
    bool ok = true;
    for (const char *own : {LISTFILE_NAME, ATTRIBUTES_NAME, SIGNATURE_NAME}) ok = std::fprintf(out, "%s\n", own) > 0 && ok;
    for (const std::string &variant : names) {
        // A locale variant's name is its bare name to StormLib.
        const std::string name = variant.substr(0, variant.find('\0'));
        if (!name.empty() && name.find_first_of("\r\n") == std::string::npos)
            ok = std::fwrite(name.data(), 1, name.size(), out) == name.size() && std::fputc('\n', out) != EOF && ok;
    }
    return std::fclose(out) == 0 && ok;
}

// Whether StormLib knows a name for every file of the archive. The numbers
// of the listing's "~unknowns" names of those it does not know go to
// `unnamed`: their hash slots, or their file-table entries in an archive
// without a hash table.
bool EveryFileNamed(HANDLE storm, std::vector<std::uint32_t> &unnamed)
{
    const bool slots = stormlib::Facts(storm).hasHashTable;
    bool named = true;
    stormlib::ForEachFileEntry(storm, [&](const stormlib::Entry &file, std::uint32_t index) {
        if ((file.flags & MPQ_FILE_EXISTS) == 0 || file.name != nullptr) return;
        named = false;
        if (!slots) unnamed.push_back(index);
    });
    stormlib::ForEachHashSlot(storm, [&](const stormlib::HashSlot &slot, std::uint32_t number) {
        if (slot.used && slot.file.name == nullptr) unnamed.push_back(number);
    });
    return named;
}

// The name a listing gives the file of slot (or entry) `number` that no
// list names (mpq_names.cpp).
std::string NamelessListingName(std::uint32_t number)
{
    char digits[16];
    std::snprintf(digits, sizeof digits, "%08u", number);
    return std::string(kUnknownPrefix) + "unknown" + digits;
}

constexpr char kCopyPrefix[] = ".arcavera-compact-";

// The files of one compaction: the new archive (StormLib's copy), the names
// given to StormLib beside it, and StormLib's own scratch file, the copy's
// name with ".tmp" added.
struct CopyFiles {
    std::string copy, names, scratch;
    explicit CopyFiles(const std::string &copyPath)
        : copy(copyPath), names(copyPath + ".names"), scratch(copyPath + ".tmp")
    {
    }
    void Remove() const
    {
        for (const std::string *file : {&copy, &names, &scratch}) ::unlink(file->c_str());
    }
};

// A compaction holds a lock on its copy while it runs. The copies of one that
// was killed hold none any more: they are removed here.
void RemoveAbandonedCopies(const std::string &folder)
{
    DIR *dir = ::opendir(folder.c_str());
    if (dir == nullptr) return;
    while (const dirent *entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (name.rfind(kCopyPrefix, 0) != 0 || name.size() != sizeof kCopyPrefix - 1 + 6 + 4 ||
            name.compare(name.size() - 4, 4, ".mpq") != 0)
            continue;
        const CopyFiles files(folder + "/" + name);
        const int fd = ::open(files.copy.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
        if (fd < 0) continue;
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0) files.Remove();
        ::close(fd);
    }
    ::closedir(dir);
}

// What the child process tells by its exit status.
enum ChildExit : int { ChildDone = 0, ChildNotAnArchive = 1, ChildNameless = 2, ChildNotWritten = 3 };

// The child's progress, a record of two numbers whenever another thousandth
// of the work is done.
struct ChildReporter {
    ChildChannel &channel;
    std::uint64_t lastShown = ~std::uint64_t{0};

    void Report(std::uint64_t done, std::uint64_t total)
    {
        if (total == 0) return;
        const std::uint64_t shown = done * 1000 / total;
        if (shown == lastShown) return;
        lastShown = shown;
        const std::uint64_t record[2] = {done, total};
        channel.Send(record, sizeof record);
    }
};

void WINAPI OnCompactStep(void *user, DWORD work, ULONGLONG done, ULONGLONG total)
{
    if (work == CCB_COMPACTING_FILES) static_cast<ChildReporter *>(user)->Report(done, total);
}

bool OpensAgain(const std::string &path)
{
    HANDLE check = nullptr;
    if (!::SFileOpenArchive(path.c_str(), 0, STREAM_FLAG_READ_ONLY, &check)) return false;
    ::SFileCloseArchive(check);
    return true;
}

// The numbers of the nameless files that stopped the work, a record of one
// number each.
void SendNameless(ChildChannel &channel, const std::vector<std::uint32_t> &numbers)
{
    for (const std::uint32_t number : numbers) channel.Send(&number, sizeof number);
}

// In the child: StormLib compacts the copy under the given names, and the
// result must open again.
int CompactCopy(const CopyFiles &files, ChildChannel &channel)
{
    HANDLE storm = nullptr;
    if (!::SFileOpenArchive(files.copy.c_str(), 0, 0, &storm)) return ChildNotAnArchive;
    ::SFileAddListFile(storm, files.names.c_str());
    std::vector<std::uint32_t> unnamed;
    if (!EveryFileNamed(storm, unnamed)) {
        ::SFileCloseArchive(storm);
        SendNameless(channel, unnamed);
        return ChildNameless;
    }
    ChildReporter reporter{channel};
    ::SFileSetCompactCallback(storm, OnCompactStep, &reporter);
    const bool compacted = ::SFileCompactArchive(storm, nullptr, false);
    if (!::SFileCloseArchive(storm) || !compacted) return ChildNotWritten;
    return OpensAgain(files.copy) ? ChildDone : ChildNotWritten;
}

// In the child: the archive at `path` compacted into `copyFd`, the open
// file of files.copy, which is empty.
int Compact(const std::string &path, const CopyFiles &files, int copyFd, const std::vector<std::string> &names,
            ChildChannel &channel)
{
    HANDLE storm = nullptr;
    constexpr DWORD kTablesOnly = STREAM_FLAG_READ_ONLY | MPQ_OPEN_NO_LISTFILE | MPQ_OPEN_NO_ATTRIBUTES;
    if (!guards::UpdateOpenIsSafe(path) || !::SFileOpenArchive(path.c_str(), 0, kTablesOnly, &storm))
        return ChildNotAnArchive;
    const bool usable = IsUsableArchive(storm);
    const stormlib::ArchiveFacts facts = stormlib::Facts(storm);
    ::SFileCloseArchive(storm);
    if (!usable) return ChildNotAnArchive;
    // A classic archive that StormLib took as it is written.
    if (facts.formatVersion <= MPQ_FORMAT_VERSION_2 && facts.hasHashTable && !facts.malformed &&
        !facts.blockTableCut && !facts.hashTableCut) {
        const int in = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (in < 0) return ChildNotWritten;
        ChildReporter reporter{channel};
        std::vector<std::uint32_t> nameless;
        const RepackResult result =
            Repack(in, facts.headerAt, facts.sectorSize, copyFd, names,
                   [&](std::uint64_t done, std::uint64_t total) { reporter.Report(done, total); }, nameless);
        ::close(in);
        switch (result) {
        case RepackResult::Done: return OpensAgain(files.copy) ? ChildDone : ChildNotWritten;
        case RepackResult::Nameless: SendNameless(channel, nameless); return ChildNameless;
        case RepackResult::NotClassic: break;  // nothing was written: StormLib's compaction takes it
        case RepackResult::Failed: return ChildNotWritten;
        }
    }
    if (!CopyInto(path, copyFd) || !WriteNames(files.names, names)) return ChildNotWritten;
    return CompactCopy(files, channel);
}

// StormLib's compaction cannot be stopped once begun, so the work runs in a
// child process that the caller's Cancel ends. The caller hears of progress
// before it starts and then at least every 50 ms.
CompactResult CompactInChild(const std::string &path, const CopyFiles &files, int copyFd,
                             const std::vector<std::string> &names, CompactProgress progress, void *context,
                             std::vector<std::string> *nameless)
{
    // A Cancel before it starts.
    if (progress != nullptr && !progress(context, 0, 0)) return CompactResult::Cancelled;
    std::uint64_t record[2] = {0, 0};
    std::vector<std::string> unnamed;
    ChildLimits limits;
    limits.stallMilliseconds = 60000;  // the tables of a large archive are written with no word
    limits.stopByKill = true;
    limits.writableFolders = {FolderOf(files.copy)};  // the copy and its scratch lie beside the archive
    const ChildResult run = RunInChild(
        [&](ChildChannel &channel) { return Compact(path, files, copyFd, names, channel); },
        [&](std::string_view bytes) {
            if (bytes.size() == sizeof record) std::memcpy(record, bytes.data(), sizeof record);
            if (std::uint32_t number = 0; bytes.size() == sizeof number) {
                std::memcpy(&number, bytes.data(), sizeof number);
                unnamed.push_back(NamelessListingName(number));
            }
            return progress == nullptr || progress(context, record[0], record[1]);
        },
        limits);
    switch (run.outcome) {
    case ChildOutcome::Cancelled: return CompactResult::Cancelled;
    case ChildOutcome::Finished: break;
    default: return CompactResult::NotWritten;
    }
    switch (run.status) {
    case ChildDone: return CompactResult::Done;
    case ChildNotAnArchive: return CompactResult::NotAnArchive;
    case ChildNameless:
        if (nameless != nullptr) *nameless = std::move(unnamed);
        return CompactResult::Nameless;
    default: break;
    }
    return CompactResult::NotWritten;
}

}  // namespace

CompactResult MpqCompactArchive(const std::string &givenPath, const std::vector<std::string> &names,
                                CompactProgress progress, void *context, std::vector<std::string> *nameless)
{
    if (givenPath.empty() || EmbeddedZero(givenPath)) return CompactResult::NotAnArchive;
    const std::string path = FollowLinks(givenPath);
    if (!IsRegularFile(path)) return CompactResult::NotAnArchive;
    PrepareSigning();
    RecoverInterruptedUpdate(path);
    struct stat original {};
    if (::stat(path.c_str(), &original) != 0 || original.st_size == 0) return CompactResult::NotAnArchive;
    const std::string folder = FolderOf(path);
    if (::access(path.c_str(), W_OK) != 0 || ::access(folder.c_str(), W_OK | X_OK) != 0)
        return CompactResult::NotWritable;
    RemoveAbandonedCopies(folder);

    std::string copyPath = folder + "/" + kCopyPrefix + "XXXXXX.mpq";
    const int fd = ::mkstemps(copyPath.data(), 4);
    if (fd < 0) return CompactResult::NotWritable;
    const CopyFiles files(copyPath);
    // Held until the copy is renamed or removed; the process's end lets go of it.
    ::flock(fd, LOCK_EX);
    auto fail = [&](CompactResult why) {
        files.Remove();
        ::close(fd);
        return why;
    };
    const CompactResult compacted = CompactInChild(path, files, fd, names, progress, context, nameless);
    if (compacted != CompactResult::Done) return fail(compacted);
    // The archive's mode goes onto the new one (StormLib's compaction puts a
    // file of its own in the copy's place), and its owner and group where
    // this user may give them (a group of the user's, or anyone's as root).
    if (::chmod(files.copy.c_str(), original.st_mode & 07777) != 0) return fail(CompactResult::NotWritten);
    if (::chown(files.copy.c_str(), original.st_uid, original.st_gid) != 0)
        (void)!::chown(files.copy.c_str(), static_cast<uid_t>(-1), original.st_gid);
    // Only a copy that opened as an archive (in the child) and is on the disk replaces it.
    if (!SyncFile(files.copy) || ::rename(files.copy.c_str(), path.c_str()) != 0)
        return fail(CompactResult::NotWritten);
    ::unlink(files.names.c_str());
    ::close(fd);
    SyncFolder(folder);
    return CompactResult::Done;
}

}  // namespace mpq
