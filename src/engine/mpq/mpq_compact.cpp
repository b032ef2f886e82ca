// Compaction. StormLib compacts an archive in place; here it compacts a copy
// in the archive's folder, and only a complete, synced copy is renamed over
// the archive, so a full disk, a read-only folder or a killed process leave
// the archive as it was.
#include "mpq/mpq_guards.h"
#include "mpq/mpq_handle.h"
#include "mpq/mpq_library.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
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
    const TMPQArchive *ha = static_cast<const TMPQArchive *>(storm);
    for (DWORD n = 0; n < ha->dwFileTableSize; ++n) {
        const TFileEntry &file = ha->pFileTable[n];
        if ((file.dwFlags & MPQ_FILE_EXISTS) != 0 && file.szFileName == nullptr) return false;
    }
    return true;
}

struct Reporter {
    CompactProgress progress;
    void *context;
};

void WINAPI OnCompactStep(void *user, DWORD work, ULONGLONG done, ULONGLONG total)
{
    const Reporter *reporter = static_cast<const Reporter *>(user);
    if (work == CCB_COMPACTING_FILES && reporter->progress != nullptr)
        reporter->progress(reporter->context, done, total);
}


}  // namespace

CompactResult MpqCompactArchive(const std::string &path, const std::vector<std::string> &names,
                                CompactProgress progress, void *context)
{
    if (path.empty() || EmbeddedZero(path) || !IsRegularFile(path)) return CompactResult::NotAnArchive;
    RecoverInterruptedUpdate(path);
    struct stat original {};
    if (::stat(path.c_str(), &original) != 0 || original.st_size == 0 || !guards::UpdateOpenIsSafe(path))
        return CompactResult::NotAnArchive;
    const std::string folder = FolderOf(path);
    if (::access(path.c_str(), W_OK) != 0 || ::access(folder.c_str(), W_OK | X_OK) != 0)
        return CompactResult::NotWritable;

    // StormLib compacts into a file named after this one with its extension
    // made ".mp_": the extension keeps that name unique as well.
    std::string copy = folder + "/.arcavera-compact-XXXXXX.mpq";
    const int fd = ::mkstemps(copy.data(), 4);
    if (fd < 0) return CompactResult::NotWritable;
    const std::string namesPath = copy + ".names";
    const std::string stormTemp = copy.substr(0, copy.size() - 3) + "mp_";
    auto fail = [&](CompactResult why) {
        ::unlink(copy.c_str());
        ::unlink(namesPath.c_str());
        ::unlink(stormTemp.c_str());
        return why;
    };
    const bool copied = CopyInto(path, fd) && ::fchmod(fd, original.st_mode & 07777) == 0;
    ::close(fd);
    if (!copied || !WriteNames(namesPath, names)) return fail(CompactResult::NotWritten);

    HANDLE storm = nullptr;
    if (!::SFileOpenArchive(copy.c_str(), 0, 0, &storm)) return fail(CompactResult::NotAnArchive);
    if (!IsUsableArchive(storm)) {
        ::SFileCloseArchive(storm);
        return fail(CompactResult::NotAnArchive);
    }
    ::SFileAddListFile(storm, namesPath.c_str());
    if (!EveryFileNamed(storm)) {
        ::SFileCloseArchive(storm);
        return fail(CompactResult::Nameless);
    }
    Reporter reporter{progress, context};
    ::SFileSetCompactCallback(storm, OnCompactStep, &reporter);
    const bool compacted = ::SFileCompactArchive(storm, nullptr, false);
    if (!::SFileCloseArchive(storm) || !compacted) return fail(CompactResult::NotWritten);
    // Only a copy that opens as an archive and is on the disk replaces it.
    HANDLE check = nullptr;
    const bool opens = ::SFileOpenArchive(copy.c_str(), 0, STREAM_FLAG_READ_ONLY, &check);
    if (opens) ::SFileCloseArchive(check);
    if (!opens || !SyncFile(copy) || ::rename(copy.c_str(), path.c_str()) != 0)
        return fail(CompactResult::NotWritten);
    ::unlink(namesPath.c_str());
    SyncFolder(folder);
    return CompactResult::Done;
}

}  // namespace mpq
