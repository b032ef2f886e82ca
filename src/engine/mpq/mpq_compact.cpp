// Compaction. StormLib compacts an archive in place; here it compacts a copy
// in the archive's folder, in a child process (mpq_isolation.h), and only a
// complete, synced copy is renamed over the archive, so a full disk, a
// read-only folder, a Cancel or a killed process leave the archive as it was.
#include "mpq/mpq_guards.h"
#include "mpq/mpq_handle.h"
#include "mpq/mpq_isolation.h"
#include "mpq/mpq_journal.h"
#include "mpq/mpq_library.h"
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
    for (const std::string &name : names)
        if (!name.empty() && !EmbeddedZero(name) && name.find_first_of("\r\n") == std::string::npos)
            ok = std::fwrite(name.data(), 1, name.size(), out) == name.size() && std::fputc('\n', out) != EOF && ok;
    return std::fclose(out) == 0 && ok;
}

// Whether StormLib knows a name for every file of the archive.
bool EveryFileNamed(HANDLE storm)
{
    bool named = true;
    stormlib::ForEachFileEntry(storm, [&](const stormlib::Entry &file, std::uint32_t) {
        if ((file.flags & MPQ_FILE_EXISTS) != 0 && file.name == nullptr) named = false;
    });
    return named;
}

constexpr char kCopyPrefix[] = ".arcavera-compact-";

// The files of one compaction: the copy, the names given to StormLib beside
// it, and StormLib's own scratch file, the copy's name with ".tmp" added.
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
};

void WINAPI OnCompactStep(void *user, DWORD work, ULONGLONG done, ULONGLONG total)
{
    auto *reporter = static_cast<ChildReporter *>(user);
    if (work != CCB_COMPACTING_FILES || total == 0) return;
    const std::uint64_t shown = done * 1000 / total;
    if (shown == reporter->lastShown) return;
    reporter->lastShown = shown;
    const std::uint64_t record[2] = {done, total};
    reporter->channel.Send(record, sizeof record);
}

// In the child: StormLib compacts the copy under the given names, and the
// result must open again.
int CompactCopy(const CopyFiles &files, ChildChannel &channel)
{
    HANDLE storm = nullptr;
    if (!guards::UpdateOpenIsSafe(files.copy) || !::SFileOpenArchive(files.copy.c_str(), 0, 0, &storm))
        return ChildNotAnArchive;
    if (!IsUsableArchive(storm)) {
        ::SFileCloseArchive(storm);
        return ChildNotAnArchive;
    }
    ::SFileAddListFile(storm, files.names.c_str());
    if (!EveryFileNamed(storm)) {
        ::SFileCloseArchive(storm);
        return ChildNameless;
    }
    ChildReporter reporter{channel};
    ::SFileSetCompactCallback(storm, OnCompactStep, &reporter);
    const bool compacted = ::SFileCompactArchive(storm, nullptr, false);
    if (!::SFileCloseArchive(storm) || !compacted) return ChildNotWritten;
    HANDLE check = nullptr;
    if (!::SFileOpenArchive(files.copy.c_str(), 0, STREAM_FLAG_READ_ONLY, &check)) return ChildNotWritten;
    ::SFileCloseArchive(check);
    return ChildDone;
}

// StormLib's compaction cannot be stopped once begun, so it runs in a child
// process that the caller's Cancel ends. The caller hears of progress before
// it starts and then at least every 50 ms.
CompactResult CompactInChild(const CopyFiles &files, CompactProgress progress, void *context)
{
    // A Cancel before it starts.
    if (progress != nullptr && !progress(context, 0, 0)) return CompactResult::Cancelled;
    std::uint64_t record[2] = {0, 0};
    ChildLimits limits;
    limits.stallMilliseconds = 60000;  // the tables of a large archive are written with no word
    limits.stopByKill = true;
    limits.writableFolders = {FolderOf(files.copy)};  // the copy and its scratch lie beside the archive
    const ChildResult run = RunInChild([&](ChildChannel &channel) { return CompactCopy(files, channel); },
                                       [&](std::string_view bytes) {
                                           if (bytes.size() == sizeof record) std::memcpy(record, bytes.data(), sizeof record);
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
    case ChildNameless: return CompactResult::Nameless;
    default: break;
    }
    return CompactResult::NotWritten;
}

}  // namespace

CompactResult MpqCompactArchive(const std::string &givenPath, const std::vector<std::string> &names,
                                CompactProgress progress, void *context)
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
    if (!CopyInto(path, fd) || !WriteNames(files.names, names)) return fail(CompactResult::NotWritten);

    const CompactResult compacted = CompactInChild(files, progress, context);
    if (compacted != CompactResult::Done) return fail(compacted);
    // StormLib puts a file of its own in the copy's place: the archive's
    // mode goes onto that, and its owner and group where this user may
    // give them (a group of the user's, or anyone's as root).
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
