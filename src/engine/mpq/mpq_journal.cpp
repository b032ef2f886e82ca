#include "mpq/mpq_journal.h"

#include "mpq/whole_io.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cstddef>
#include <tuple>

namespace mpq {

std::string FolderOf(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string FollowLinks(const std::string &path)
{
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return path;
    char resolved[PATH_MAX];
    return ::realpath(path.c_str(), resolved) != nullptr ? std::string(resolved) : path;
}

void SyncFolder(const std::string &folder)
{
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

namespace {

// The journal's layout, in this machine's byte order (a journal never leaves
// the machine that wrote it):
//   header:  "ARCJNL01", mode u32, pad u32, dev u64, ino u64, old size u64, check u64
//   segment: "SEG1", pad u32, offset u64, length u64, check u64, data, data check u64
// A segment cut short or failing its checks ends the journal: it was being
// written when the process stopped, before the write it protects began.
constexpr char kMagic[8] = {'A', 'R', 'C', 'J', 'N', 'L', '0', '1'};
constexpr char kSegment[4] = {'S', 'E', 'G', '1'};
constexpr std::size_t kChunk = 1 << 20;

enum Mode : std::uint32_t {
    InPlace = 0,     // an existing archive updated where it lies
    OverEmpty = 1,   // an archive made where an empty file was
    OverNothing = 2, // an archive made where no file was
};

struct Header {
    char magic[8];
    std::uint32_t mode;
    std::uint32_t pad;
    std::uint64_t dev;
    std::uint64_t ino;
    std::uint64_t oldSize;
    std::uint64_t check;
};

struct SegmentHead {
    char magic[4];
    std::uint32_t pad;
    std::uint64_t offset;
    std::uint64_t length;
    std::uint64_t check;
};

constexpr std::uint64_t kFnvBasis = 14695981039346656037ull;

std::uint64_t Fnv(const void *data, std::size_t size, std::uint64_t hash = kFnvBasis)
{
    const auto *bytes = static_cast<const unsigned char *>(data);
    for (std::size_t i = 0; i < size; ++i) {
        hash ^= bytes[i];
        hash *= 1099511628211ull;
    }
    return hash;
}

std::string NameOf(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool MakeFolders(const std::string &folder)
{
    std::string made;
    std::size_t from = 0;
    while (from <= folder.size()) {
        std::size_t slash = folder.find('/', from);
        if (slash == std::string::npos) slash = folder.size();
        made = folder.substr(0, slash);
        if (!made.empty() && ::mkdir(made.c_str(), 0700) != 0 && errno != EEXIST) return false;
        from = slash + 1;
    }
    struct stat st {};
    return ::stat(folder.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The journal file opened and locked, or -1. `busy` tells that another
// update holds it.
int OpenLocked(const std::string &path, bool create, bool &busy)
{
    busy = false;
    const int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | (create ? O_CREAT : 0);
    const int fd = ::open(path.c_str(), flags, 0600);
    if (fd < 0) return -1;
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return -1;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        busy = true;
        ::close(fd);
        return -1;
    }
    // The update that held the lock before may have finished and removed
    // the journal meanwhile: then this file is no journal any more.
    struct stat now {};
    if (::stat(path.c_str(), &now) != 0 || now.st_ino != st.st_ino || now.st_dev != st.st_dev) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Drops the journal whose lock `fd` holds: emptied first, so that a reader
// that opened it before the unlink finds nothing to apply.
void DropJournal(int fd, const std::string &path)
{
    if (::ftruncate(fd, 0) == 0) ::fsync(fd);
    ::unlink(path.c_str());
    ::close(fd);
}

struct Segment {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
    off_t dataAt = 0;  // where its bytes stand in the journal
};

// Reads the journal's header and its whole segments.
bool ReadJournal(int fd, Header &header, std::vector<Segment> &segments)
{
    if (!ReadAllAt(fd, &header, sizeof header, 0) || std::memcmp(header.magic, kMagic, sizeof kMagic) != 0 ||
        header.check != Fnv(&header, offsetof(Header, check)) || header.mode > OverNothing)
        return false;
    struct stat st {};
    if (::fstat(fd, &st) != 0) return false;
    const auto journalSize = static_cast<std::uint64_t>(st.st_size);
    std::vector<char> buffer(kChunk);
    auto at = static_cast<off_t>(sizeof header);
    for (;;) {
        SegmentHead head {};
        if (!ReadAllAt(fd, &head, sizeof head, at) || std::memcmp(head.magic, kSegment, sizeof kSegment) != 0 ||
            head.check != Fnv(&head, offsetof(SegmentHead, check)))
            break;
        const std::uint64_t dataAt = static_cast<std::uint64_t>(at) + sizeof head;
        if (head.length > journalSize || dataAt + head.length + 8 > journalSize ||
            head.offset + head.length < head.offset || head.offset + head.length > header.oldSize)
            break;
        std::uint64_t hash = kFnvBasis;
        bool whole = true;
        for (std::uint64_t done = 0; done < head.length;) {
            const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, head.length - done));
            if (!ReadAllAt(fd, buffer.data(), piece, static_cast<off_t>(dataAt + done))) {
                whole = false;
                break;
            }
            hash = Fnv(buffer.data(), piece, hash);
            done += piece;
        }
        std::uint64_t check = 0;
        if (!whole || !ReadAllAt(fd, &check, sizeof check, static_cast<off_t>(dataAt + head.length)) || check != hash)
            break;
        segments.push_back({head.offset, head.length, static_cast<off_t>(dataAt)});
        at = static_cast<off_t>(dataAt + head.length + sizeof check);
    }
    return true;
}

bool CopyBack(int journalFd, int archiveFd, const std::vector<Segment> &segments, std::uint64_t oldSize)
{
    std::vector<char> buffer(kChunk);
    for (const Segment &segment : segments) {
        for (std::uint64_t done = 0; done < segment.length;) {
            const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, segment.length - done));
            if (!ReadAllAt(journalFd, buffer.data(), piece, segment.dataAt + static_cast<off_t>(done)) ||
                !WriteAllAt(archiveFd, buffer.data(), piece, static_cast<off_t>(segment.offset + done)))
                return false;
            done += piece;
        }
    }
    return ::ftruncate(archiveFd, static_cast<off_t>(oldSize)) == 0 && ::fsync(archiveFd) == 0;
}

enum class Applied { Done, Failed };

// Puts the archive back from the journal that `journalFd` holds locked.
Applied ApplyJournal(int journalFd, const std::string &archivePath)
{
    Header header {};
    std::vector<Segment> segments;
    // A journal without a whole header was cut off before its update wrote
    // anything.
    if (!ReadJournal(journalFd, header, segments)) return Applied::Done;

    if (header.mode != InPlace) {
        struct stat st {};
        if (::lstat(archivePath.c_str(), &st) != 0) return Applied::Done;
        if (!S_ISREG(st.st_mode)) return Applied::Done;
        if (header.mode == OverNothing)
            return ::unlink(archivePath.c_str()) == 0 ? Applied::Done : Applied::Failed;
        const int fd = ::open(archivePath.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW);
        if (fd < 0) return Applied::Failed;
        const bool ok = ::ftruncate(fd, 0) == 0 && ::fsync(fd) == 0;
        ::close(fd);
        return ok ? Applied::Done : Applied::Failed;
    }

    const int archiveFd = ::open(archivePath.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (archiveFd < 0) return errno == ENOENT ? Applied::Done : Applied::Failed;
    struct stat st {};
    // A journal of another file (the archive was replaced since) is stale.
    if (::fstat(archiveFd, &st) != 0 || static_cast<std::uint64_t>(st.st_dev) != header.dev ||
        static_cast<std::uint64_t>(st.st_ino) != header.ino) {
        ::close(archiveFd);
        return Applied::Done;
    }
    const bool ok = CopyBack(journalFd, archiveFd, segments, header.oldSize);
    ::close(archiveFd);
    return ok ? Applied::Done : Applied::Failed;
}

bool RecoverAt(const std::string &journalPath, const std::string &archivePath)
{
    bool busy = false;
    const int fd = OpenLocked(journalPath, false, busy);
    if (fd < 0) return true;  // none, or an update that is running now
    if (ApplyJournal(fd, archivePath) == Applied::Failed) {
        ::close(fd);
        return false;
    }
    DropJournal(fd, journalPath);
    return true;
}

}  // namespace

std::string JournalPath(const std::string &archivePath, bool fallback)
{
    if (!fallback) return FolderOf(archivePath) + "/." + NameOf(archivePath) + ".arcavera-journal";
    std::string state;
    if (const char *xdg = std::getenv("XDG_STATE_HOME"); xdg != nullptr && xdg[0] == '/')
        state = xdg;
    else if (const char *home = std::getenv("HOME"); home != nullptr && home[0] == '/')
        state = std::string(home) + "/.local/state";
    else
        state = "/tmp/arcavera-" + std::to_string(::getuid());
    // The archive's full path names its journal there.
    std::string full = archivePath;
    char resolved[PATH_MAX];
    if (::realpath(FolderOf(archivePath).c_str(), resolved) != nullptr)
        full = std::string(resolved) + "/" + NameOf(archivePath);
    char name[40];
    std::snprintf(name, sizeof name, "%016llx.journal", static_cast<unsigned long long>(Fnv(full.data(), full.size())));
    return state + "/arcavera/journals/" + name;
}

std::vector<std::string> ArchiveFolders(const std::string &path)
{
    std::vector<std::string> folders{FolderOf(path)};
    if (const std::string real = FollowLinks(path); real != path) folders.push_back(FolderOf(real));
    // The journals' folder, made as a journal there would make it.
    const std::string journals = FolderOf(JournalPath(FollowLinks(path), true));
    if (MakeFolders(journals)) folders.push_back(journals);
    return folders;
}

bool RecoverInterruptedUpdate(const std::string &archivePath)
{
    if (archivePath.empty()) return true;
    const bool beside = RecoverAt(JournalPath(archivePath), archivePath);
    const std::string fallback = JournalPath(archivePath, true);
    struct stat st {};
    const bool elsewhere = ::lstat(fallback.c_str(), &st) != 0 || RecoverAt(fallback, archivePath);
    return beside && elsewhere;
}

std::unique_ptr<UpdateJournal> UpdateJournal::Begin(const std::string &archivePath, std::string *why)
{
    std::unique_ptr<UpdateJournal> journal(new UpdateJournal);
    journal->archivePath_ = archivePath;
    auto fail = [&](const char *reason) {
        if (why != nullptr) *why = reason;
        if (journal->journalFd_ >= 0) DropJournal(journal->journalFd_, journal->journalPath_);
        journal->journalFd_ = -1;
        journal->done_ = true;
        return std::unique_ptr<UpdateJournal>();
    };

    bool busy = false;
    for (const bool fallback : {false, true}) {
        const std::string path = JournalPath(archivePath, fallback);
        if (fallback && !MakeFolders(FolderOf(path))) break;
        journal->journalFd_ = OpenLocked(path, true, busy);
        if (busy) return fail("another update of this archive is running");
        if (journal->journalFd_ >= 0) {
            journal->journalPath_ = path;
            break;
        }
    }
    if (journal->journalFd_ < 0) return fail("no journal can be written for the archive");
    // A journal left by an update that was cut off puts that archive back
    // before this update looks at it.
    if (ApplyJournal(journal->journalFd_, archivePath) == Applied::Failed) {
        ::close(journal->journalFd_);  // kept for a later try
        journal->journalFd_ = -1;
        return fail("an earlier update of the archive cannot be rolled back");
    }

    Header header {};
    std::memcpy(header.magic, kMagic, sizeof kMagic);
    struct stat st {};
    if (::lstat(archivePath.c_str(), &st) == 0) {
        if (!S_ISREG(st.st_mode)) return fail("the archive is not a plain file");
        journal->existed_ = true;
        header.mode = OverEmpty;
        if (st.st_size > 0) {
            journal->archiveFd_ = ::open(archivePath.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
            if (journal->archiveFd_ < 0 || ::fstat(journal->archiveFd_, &st) != 0)
                return fail("the archive cannot be written");
            header.mode = InPlace;
            header.dev = static_cast<std::uint64_t>(st.st_dev);
            header.ino = static_cast<std::uint64_t>(st.st_ino);
            journal->oldSize_ = static_cast<std::uint64_t>(st.st_size);
        }
    } else if (errno == ENOENT) {
        header.mode = OverNothing;
    } else {
        return fail("the archive cannot be reached");
    }
    header.oldSize = journal->oldSize_;
    header.check = Fnv(&header, offsetof(Header, check));

    if (::ftruncate(journal->journalFd_, 0) != 0 || !WriteAllAt(journal->journalFd_, &header, sizeof header, 0) ||
        ::fsync(journal->journalFd_) != 0)
        return fail("no journal can be written for the archive");
    SyncFolder(FolderOf(journal->journalPath_));
    journal->journalEnd_ = sizeof header;
    return journal;
}

UpdateJournal::~UpdateJournal()
{
    if (!done_) RollBack();
    if (archiveFd_ >= 0) ::close(archiveFd_);
    if (journalFd_ >= 0) ::close(journalFd_);
}

bool UpdateJournal::KeepFrom(std::uint64_t offset)
{
    return offset >= oldSize_ || Keep(offset, oldSize_ - offset);
}

bool UpdateJournal::Keep(std::uint64_t offset, std::uint64_t length)
{
    if (done_ || journalFd_ < 0) return false;
    if (archiveFd_ < 0 || offset >= oldSize_) return true;  // nothing old stands there
    const std::uint64_t end = std::min(oldSize_, offset + std::min(length, oldSize_));
    // The parts of [offset, end) that no kept range covers.
    std::vector<std::pair<std::uint64_t, std::uint64_t>> wanted{{offset, end}};
    for (const auto &[keptBegin, keptEnd, at] : kept_) {
        std::vector<std::pair<std::uint64_t, std::uint64_t>> rest;
        for (const auto &[begin, stop] : wanted) {
            if (keptEnd <= begin || keptBegin >= stop) {
                rest.emplace_back(begin, stop);
                continue;
            }
            if (begin < keptBegin) rest.emplace_back(begin, keptBegin);
            if (keptEnd < stop) rest.emplace_back(keptEnd, stop);
        }
        wanted.swap(rest);
    }
    if (wanted.empty()) return true;

    std::vector<char> buffer(kChunk);
    const std::uint64_t start = journalEnd_;
    auto undo = [&] {
        // A segment half written is no harm, but the next one must follow
        // the last whole one.
        if (::ftruncate(journalFd_, static_cast<off_t>(start)) == 0) journalEnd_ = start;
        return false;
    };
    std::vector<std::tuple<std::uint64_t, std::uint64_t, std::uint64_t>> added;
    std::uint64_t at = journalEnd_;
    for (const auto &[begin, stop] : wanted) {
        SegmentHead head {};
        std::memcpy(head.magic, kSegment, sizeof kSegment);
        head.offset = begin;
        head.length = stop - begin;
        head.check = Fnv(&head, offsetof(SegmentHead, check));
        if (!WriteAllAt(journalFd_, &head, sizeof head, static_cast<off_t>(at))) return undo();
        at += sizeof head;
        const std::uint64_t dataAt = at;
        std::uint64_t hash = kFnvBasis;
        for (std::uint64_t done = 0; done < head.length;) {
            const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, head.length - done));
            if (!ReadAllAt(archiveFd_, buffer.data(), piece, static_cast<off_t>(begin + done)) ||
                !WriteAllAt(journalFd_, buffer.data(), piece, static_cast<off_t>(at)))
                return undo();
            hash = Fnv(buffer.data(), piece, hash);
            done += piece;
            at += piece;
        }
        if (!WriteAllAt(journalFd_, &hash, sizeof hash, static_cast<off_t>(at))) return undo();
        at += sizeof hash;
        added.emplace_back(begin, stop, dataAt);
    }
    if (::fdatasync(journalFd_) != 0) return undo();
    journalEnd_ = at;
    kept_.insert(kept_.end(), added.begin(), added.end());
    return true;
}

bool UpdateJournal::Finish()
{
    DropJournal(journalFd_, journalPath_);
    journalFd_ = -1;
    done_ = true;
    return true;
}

bool UpdateJournal::Commit()
{
    if (done_) return false;
    bool synced = true;
    if (archiveFd_ >= 0) {
        synced = ::fsync(archiveFd_) == 0;
    } else {
        const int fd = ::open(archivePath_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
        synced = fd >= 0 && ::fsync(fd) == 0;
        if (fd >= 0) ::close(fd);
        SyncFolder(FolderOf(archivePath_));
    }
    // An archive that cannot be synced may not be on the disk whole: the
    // journal stays, and puts it back at the next open.
    if (!synced) {
        RollBack();
        return false;
    }
    return Finish();
}

bool UpdateJournal::RollBack()
{
    if (done_) return false;
    if (ApplyJournal(journalFd_, archivePath_) == Applied::Failed) {
        // The journal stays for the next open to try again.
        ::close(journalFd_);
        journalFd_ = -1;
        done_ = true;
        return false;
    }
    return Finish();
}

}  // namespace mpq
