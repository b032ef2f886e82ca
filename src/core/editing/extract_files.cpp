#include "editing/extract_files.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QStringList>

#include "boundary/child_work.h"
#include "config/catalogue.h"
#include "listing/locale_tags.h"
#include "base/paths.h"
#include "mpq/mpq_library.h"
#include "mpq/whole_io.h"
#include "base/text_encoding.h"

namespace {

// A file descriptor that closes itself.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        if (this != &other) {
            if (fd_ >= 0) ::close(fd_);
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    // Closes now; false when the close failed (data that never reached the disk).
    bool Close() { return ::close(std::exchange(fd_, -1)) == 0; }

private:
    int fd_;
};

// How a step on the disk below the chosen folder went.
enum class Placed { Ready, Link, Failed };

// Whether the entry `name` of the folder `dirfd` is a link, not followed.
bool IsLinkAt(int dirfd, const QByteArray &name)
{
    struct stat st {};
    return ::fstatat(dirfd, name.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(st.st_mode);
}

// Opens the folder `name` of the folder `dirfd`, making it when missing
// (first, when it is known to be). A link in its place is never followed,
// whether it points to a folder, to anything else or nowhere.
Placed OpenLevel(int dirfd, const QByteArray &name, Descriptor &level, bool missing)
{
    if (missing && ::mkdirat(dirfd, name.constData(), 0777) != 0 && errno != EEXIST) return Placed::Failed;
    for (int attempt = 0; attempt < 2; ++attempt) {
        level = Descriptor(::openat(dirfd, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (level.valid()) return Placed::Ready;
        if (errno != ENOENT) break;
        // Made by someone else in between: the next opening looks at it.
        if (::mkdirat(dirfd, name.constData(), 0777) != 0 && errno != EEXIST) return Placed::Failed;
    }
    return IsLinkAt(dirfd, name) ? Placed::Link : Placed::Failed;
}

// Opens `path` ("/" between levels) below the folder `dirfd` in one call,
// where it takes no link on the way nor at its end, and stays below `dirfd`:
// what the levels one by one would find, when all are there and none is a
// link. Otherwise -1 and errno, ENOSYS where the kernel lacks the call.
int OpenBeneath(int dirfd, const char *path, int flags, mode_t mode = 0)
{
    open_how how{};
    how.flags = static_cast<std::uint64_t>(flags);
    how.mode = (flags & O_CREAT) != 0 ? mode : 0;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
    long fd = -1;
    do fd = ::syscall(SYS_openat2, dirfd, path, &how, sizeof how);
    while (fd < 0 && errno == EINTR);
    return static_cast<int>(fd);
}

// The chosen folder and the folders below it, reached without following a
// link. The chosen folder stays open for the batch, and so does the folder
// reached last: the names of one folder often follow each other.
class FolderWalk {
public:
    // `base` ends in "/".
    explicit FolderWalk(const QString &base) : base_(base) {}

    // The chosen folder, which may be reached through links; -1 when it does
    // not open.
    int Base()
    {
        if (!baseFd_.valid())
            baseFd_ = Descriptor(::open(PathBytes(base_).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        return baseFd_.get();
    }

    // Opens `path` below the chosen folder in one call as OpenBeneath does;
    // -1 also when the kernel has no such call, which is then not tried again.
    int OpenBelow(const QByteArray &path, int flags, mode_t mode = 0)
    {
        if (!beneath_ || Base() < 0) {
            errno = beneath_ ? EBADF : ENOSYS;
            return -1;
        }
        const int fd = OpenBeneath(Base(), path.constData(), flags, mode);
        if (fd < 0 && errno == ENOSYS) beneath_ = false;
        return fd;
    }

    // Opens `levels` below the base, from the top down, making the missing
    // ones; Ready with the last of them in Fd(). Else `failed` is the disk
    // path of the level that is a link or could not be opened or made.
    // `lastMissing`: the last level is known not to be there.
    Placed Reach(const QStringList &levels, QString &failed, bool lastMissing = false)
    {
        if (current_.valid() && levels == reached_) return Placed::Ready;
        current_ = Descriptor();
        if (Base() < 0) {
            failed = base_.size() > 1 ? base_.chopped(1) : base_;
            return Placed::Failed;
        }
        // The deepest level there, with no link on the way, opens in one
        // call; the levels below it are made. A link or anything else in
        // the way, or no such call: level by level from the top, each told
        // apart.
        qsizetype there = lastMissing && !levels.isEmpty() ? levels.size() - 1 : levels.size();
        Descriptor level;
        for (; there > 0; --there) {
            level = Descriptor(OpenBelow(PathBytes(levels.first(there).join(QLatin1Char('/'))),
                                         O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (level.valid() || errno != ENOENT) break;
        }
        const bool missing = level.valid() || there == 0;  // the levels below `there` are not there
        if (!level.valid()) there = 0;
        for (qsizetype i = there; i < levels.size(); ++i) {
            Descriptor next;
            const Placed placed = OpenLevel(level.valid() ? level.get() : Base(), PathBytes(levels[i]), next, missing);
            if (placed != Placed::Ready) {
                failed = base_ + levels.first(i + 1).join(QLatin1Char('/'));
                return placed;
            }
            level = std::move(next);
        }
        if (!level.valid()) level = Descriptor(::fcntl(Base(), F_DUPFD_CLOEXEC, 0));  // the base itself
        current_ = std::move(level);
        reached_ = levels;
        return current_.valid() ? Placed::Ready : Placed::Failed;
    }
    int Fd() const { return current_.get(); }

private:
    const QString base_;
    Descriptor baseFd_, current_;
    QStringList reached_;
    bool beneath_ = true;  // the kernel opens paths beneath a folder in one call
};

// What became of one stored file.
enum class Streamed { Written, NotRead, Link, Failed };

// Extracted files move through reused chunks of this size: memory stays flat
// whatever a file's size.
constexpr std::uint32_t kChunk = 1u << 20;

// One stored file on its way out: read whole already, or read from `file`
// a chunk at a time as it is written.
struct Outgoing {
    std::uint32_t size;
    bool whole;
    const char *bytes;         // the whole file
    mpq::MpqHandle file;       // else the file to read, through `chunk`
    std::vector<char> *chunk;
};

// Moves the file's bytes into the open file `fd`. `beat` hears of each chunk
// of a file read as it goes.
Streamed Pour(const Outgoing &out, int fd, EventQueue &beat)
{
    if (out.whole) return mpq::WriteAll(fd, out.bytes, out.size) ? Streamed::Written : Streamed::Failed;
    if (out.chunk->empty()) out.chunk->resize(kChunk);
    for (std::uint32_t done = 0; done < out.size;) {
        const std::uint32_t wanted = std::min(kChunk, out.size - done);
        std::uint32_t read = 0;
        if (!mpq::SFileReadFile(out.file, out.chunk->data(), wanted, &read, nullptr) || read != wanted)
            return Streamed::NotRead;
        if (!mpq::WriteAll(fd, out.chunk->data(), read)) return Streamed::Failed;
        done += read;
        beat.Wait();
    }
    return Streamed::Written;
}

// Fills the new file `fd`, made at `path` below the folder `dirfd` where
// nothing stood, with a file read whole. A file the disk does not take whole
// is removed again, unless another has taken its place since.
Streamed FillNew(Descriptor fd, int dirfd, const QByteArray &path, const Outgoing &out)
{
    const bool written = mpq::WriteAll(fd.get(), out.bytes, out.size);
    struct stat made {};
    const bool known = !written && ::fstat(fd.get(), &made) == 0;
    if (fd.Close() && written) return Streamed::Written;
    const qsizetype cut = path.lastIndexOf('/');
    const Descriptor folder(cut < 0 ? -1 : OpenBeneath(dirfd, path.left(cut).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const int at = cut < 0 ? dirfd : folder.get();
    const QByteArray leaf = path.mid(cut + 1);
    struct stat there {};
    if (at >= 0 && (!known || (::fstatat(at, leaf.constData(), &there, AT_SYMLINK_NOFOLLOW) == 0 &&
                               there.st_dev == made.st_dev && there.st_ino == made.st_ino)))
        ::unlinkat(at, leaf.constData(), 0);
    return Streamed::Failed;
}

// Makes a new file of a hidden name of its own in the folder `dirfd`.
Descriptor MakeScratchAt(int dirfd, QByteArray &name)
{
    static std::uint32_t counter = 0;
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = ".arcavera-extract-" + QByteArray::number(::getpid()) + "-" + QByteArray::number(++counter);
        Descriptor fd(::openat(dirfd, name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (fd.valid() || errno != EEXIST) return fd;
    }
    return Descriptor();
}

// Writes the file to the name `name` of the folder `dirfd`. A file read
// whole takes a free name at once. Otherwise, and over a file there, it goes
// to a file of its own beside, which takes the name only once every byte is
// there: a file that does not read to its end, or a full disk, leaves what
// stood at the name as it was. A link in the name's place is neither
// followed nor replaced, and a pipe or device there is no file to replace.
Streamed WriteFileAt(int dirfd, const QByteArray &name, const Outgoing &out, EventQueue &beat)
{
    if (out.whole) {
        Descriptor fd(::openat(dirfd, name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (fd.valid()) return FillNew(std::move(fd), dirfd, name, out);
        if (errno != EEXIST) return Streamed::Failed;
    }
    struct stat st {};
    if (::fstatat(dirfd, name.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
        if (S_ISLNK(st.st_mode)) return Streamed::Link;
        if (!S_ISREG(st.st_mode)) return Streamed::Failed;
    }
    QByteArray scratch;
    Descriptor fd = MakeScratchAt(dirfd, scratch);
    if (!fd.valid()) return Streamed::Failed;
    Streamed result = Pour(out, fd.get(), beat);
    if (!fd.Close() && result == Streamed::Written) result = Streamed::Failed;
    if (result == Streamed::Written && ::renameat(dirfd, scratch.constData(), dirfd, name.constData()) != 0)
        result = Streamed::Failed;
    if (result != Streamed::Written) ::unlinkat(dirfd, scratch.constData(), 0);
    return result;
}

// The path below the folder that DiskPathBelow gives for `path`, found
// without taking it apart when it is plain: no empty, "." or ".." level, no
// drive, no NUL, nothing absolute.
QString RelativePath(const QString &path)
{
    bool plain = !path.isEmpty();
    for (qsizetype i = 0, start = 0; plain && i <= path.size(); ++i) {
        const QChar c = i < path.size() ? path[i] : kStoredSeparator;
        if (c == QChar(0)) {
            plain = false;
        } else if (c == kStoredSeparator || c == u'/') {
            const QStringView level = QStringView(path).sliced(start, i - start);
            plain = !level.isEmpty() && level != u"." && level != u".." && !(start == 0 && level.contains(u':'));
            start = i + 1;
        }
    }
    if (!plain) return DiskPathBelow(QString(), path);
    QString relative = path;
    return relative.replace(kStoredSeparator, u'/');
}

// One name of a batch as the reading leaves it for the writing.
struct ReadName {
    QString status;           // the status text that names it
    QString relative;         // its path below the folder; empty: it would climb out
    QByteArray path;          // the same, as the file system takes it
    std::int64_t size = -1;   // -1: not stored, or it did not open
    bool whole = false;       // it fits a chunk, and `bytes` holds it all
    std::vector<char> bytes;
    mpq::StoredFile file;     // a larger file, open for the writing to read as it writes
};

// Reads the names of a batch in order. With `ahead`, a thread of its own
// reads a few names ahead of the writing, so that the engine's work on one
// name and the disk's on another overlap; without, each name is read when
// asked for (and an engine that fails on a name fails in the asking). Only
// one file of the archive is open at a time: a file larger than a chunk is
// handed over open, and the reading waits until the writing has closed it.
class NameReader {
public:
    NameReader(mpq::MpqHandle archive, const QList<QByteArray> &names, const QStringList &paths, bool ahead)
        : archive_(archive), names_(names), paths_(paths), extracting_(Texts().StatusBarExtract)
    {
        try {
            if (ahead && names.size() > 1) thread_ = std::thread([this] { ReadAhead(); });
        } catch (const std::system_error &) {
            // No thread to be had: each name is read when asked for.
        }
    }
    NameReader(const NameReader &) = delete;
    NameReader &operator=(const NameReader &) = delete;
    ~NameReader()
    {
        {
            const std::lock_guard<std::mutex> hold(lock_);
            stopped_ = true;
        }
        room_.notify_one();
        if (thread_.joinable()) thread_.join();
    }

    // The next name of the batch.
    ReadName Next()
    {
        if (!thread_.joinable()) return Read(next_++);
        std::unique_lock<std::mutex> hold(lock_);
        if (ready_.empty()) {
            writerWaits_ = true;
            readable_.wait(hold, [this] { return !ready_.empty(); });
            writerWaits_ = false;
        }
        ReadName name = std::move(ready_.front());
        ready_.pop_front();
        held_ -= name.bytes.size();
        if (readerWaits_ && HalfEmpty()) room_.notify_one();
        return name;
    }

    // The writing has closed the file it was handed: the reading goes on.
    void Closed()
    {
        const std::lock_guard<std::mutex> hold(lock_);
        lent_ = false;
        if (readerWaits_ && HalfEmpty()) room_.notify_one();
    }

private:
    // Names read ahead, and their bytes, at most. A reading that is that far
    // ahead waits until the writing has taken half of them: the two threads
    // wake each other seldom, not at every name.
    static constexpr std::size_t kAhead = 64, kAheadBytes = std::size_t{8} << 20;
    bool HalfEmpty() const { return !lent_ && ready_.size() <= kAhead / 2 && held_ <= kAheadBytes / 2; }

    ReadName Read(qsizetype i) const
    {
        ReadName name;
        const QString shown = DecodeBytes(BareName(names_[i]));
        name.status = ReplaceValue(extracting_, shown);
        // Only paths that stay below the folder are written; "..", "\x" and
        // "C:x" would reach elsewhere. Their files are not even opened.
        name.relative = RelativePath(i < paths_.size() ? paths_[i] : shown);
        if (name.relative.isEmpty()) return name;
        name.path = PathBytes(name.relative);
        mpq::StoredFile file = mpq::SFileOpenFileEx(archive_, names_[i].toStdString());
        name.size = mpq::SFileGetFileInfo(file.get(), mpq::SFILE_INFO_SIZE);
        if (name.size > kChunk) name.file = std::move(file);
        if (name.size < 0 || name.size > kChunk) return name;
        const auto size = static_cast<std::uint32_t>(name.size);
        name.bytes.resize(size);
        std::uint32_t read = 0;
        name.whole = size == 0 || (mpq::SFileReadFile(file.get(), name.bytes.data(), size, &read, nullptr) && read == size);
        return name;
    }

    void ReadAhead()
    {
        for (qsizetype i = 0; i < names_.size(); ++i) {
            {
                std::unique_lock<std::mutex> hold(lock_);
                if (lent_ || ready_.size() >= kAhead || held_ >= kAheadBytes) {
                    readerWaits_ = true;
                    room_.wait(hold, [this] { return stopped_ || HalfEmpty(); });
                    readerWaits_ = false;
                }
                if (stopped_) return;
            }
            ReadName name = Read(i);
            const std::lock_guard<std::mutex> hold(lock_);
            lent_ = name.file != nullptr;
            held_ += name.bytes.size();
            ready_.push_back(std::move(name));
            if (writerWaits_) readable_.notify_one();
        }
    }

    const mpq::MpqHandle archive_;
    const QList<QByteArray> &names_;
    const QStringList &paths_;
    const QString extracting_;
    qsizetype next_ = 0;  // without a thread: the name asked for next
    std::mutex lock_;
    std::condition_variable readable_, room_;
    std::deque<ReadName> ready_;
    std::size_t held_ = 0;  // bytes in `ready_`
    bool lent_ = false;     // a file is open with the writing
    bool stopped_ = false;
    bool writerWaits_ = false, readerWaits_ = false;
    std::thread thread_;
};

// Writes the name read to its path ("/" between levels) below the chosen
// folder, making its folders; the common case, a new file read whole in a
// folder that is there, takes one call to make. When the disk fails at a
// folder, `failed` is its disk path; at the file, it stays empty.
Streamed PlaceFile(FolderWalk &walk, const ReadName &name, std::vector<char> &chunk, EventQueue &beat,
                   QString &failed)
{
    if (name.size < 0 || (!name.whole && !name.file)) return Streamed::NotRead;
    const Outgoing out{static_cast<std::uint32_t>(name.size), name.whole, name.bytes.data(), name.file.get(), &chunk};
    bool folderMissing = false;
    if (out.whole) {
        Descriptor fd(walk.OpenBelow(name.path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (fd.valid()) return FillNew(std::move(fd), walk.Base(), name.path, out);
        folderMissing = errno == ENOENT;
    }
    // A missing folder, a file there already, a link, or no such call: level
    // by level, each told apart.
    QStringList levels = name.relative.split(QLatin1Char('/'));
    const QString leaf = levels.takeLast();
    const Placed placed = walk.Reach(levels, failed, folderMissing);
    if (placed != Placed::Ready) return placed == Placed::Link ? Streamed::Link : Streamed::Failed;
    return WriteFileAt(walk.Fd(), PathBytes(leaf), out, beat);
}

// What became of one name, as the child tells it: its refusal (None:
// written) and, for a failed disk, the path that failed.
QByteArray ItemOutcome(Refusal why, const QString &failedPath)
{
    static const QByteArray written(1, static_cast<char>(Refusal::None));  // the common one, made once
    return why == Refusal::None ? written : QByteArray(1, static_cast<char>(why)) + failedPath.toUtf8();
}

// Where the name at `i` goes below the folder, "\" or "/" between levels:
// its path, or the name itself where no paths were given.
QString PathOf(const QList<QByteArray> &names, const QStringList &paths, qsizetype i)
{
    return i < paths.size() ? paths[i] : DecodeBytes(names[i]);
}

// The extraction itself, in this process: each name's outcome goes to
// `onItem` (None when it was written) as it is known, once per name. With
// `ahead`, the names are read ahead of the writing (NameReader).
ExtractReport ExtractHere(const QString &archivePath, const QList<QByteArray> &names, const QStringList &paths,
                          const QString &base, bool ahead, StatusPanel &status, EventQueue &events,
                          const std::function<void()> &onOpened,
                          const std::function<void(Refusal, const QString &)> &onItem)
{
    ExtractReport report;

    // An archive that does not open makes every name missing.
    const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(archivePath).toStdString());
    if (archive) onOpened();
    else report.archive = Refusal::NotAnArchive;

    FolderWalk walk(base);
    std::vector<char> chunk;  // made at the first large file, reused by the others
    NameReader reader(archive.get(), names, paths, ahead);
    for (const QByteArray &name : names) {
        // The user may stop the batch between two files.
        if (events.Cancelled()) {
            report.cancelled = true;
            break;
        }
        ReadName read = reader.Next();
        status.SetStatusText(read.status);
        if (read.relative.isEmpty()) {
            report.refused.append({name, Refusal::OutsideFolder});
            onItem(Refusal::OutsideFolder, {});
            events.Yield();
            continue;
        }
        QString failedPath;
        const Streamed streamed = PlaceFile(walk, read, chunk, events, failedPath);
        if (read.file) {
            read.file.reset();
            reader.Closed();
        }
        if (streamed == Streamed::Failed) {
            // The disk ends the batch. The status keeps this entry's text,
            // so the user sees where it stopped.
            if (failedPath.isEmpty()) failedPath = base + read.relative;
            report.refused.append({name, Refusal::DiskFailure});
            report.failedPath = failedPath;
            onItem(Refusal::DiskFailure, failedPath);
            return report;
        }
        if (streamed == Streamed::Written) {
            ++report.extracted;
            onItem(Refusal::None, {});
        } else {
            const Refusal why = streamed == Streamed::Link ? Refusal::Linked : Refusal::NotRead;
            report.refused.append({name, why});
            onItem(why, {});
        }
        events.Yield();
    }
    status.SetStatusText(Texts().StatusBarReady);
    return report;
}

// Removes the half-written file a child that was ended left below `base`
// at `path`: the scratch files are named after its process.
void RemoveLeftovers(const QString &base, const QString &path, int pid)
{
    const QString target = DiskPathBelow(base, path);
    if (target.isEmpty() || pid <= 0) return;
    const QDir folder = QFileInfo(target).dir();
    const QString pattern = QStringLiteral(".arcavera-extract-%1-*").arg(pid);
    for (const QString &leftover : folder.entryList({pattern}, QDir::Files | QDir::Hidden | QDir::System))
        QFile::remove(folder.filePath(leftover));
}

}  // namespace

// The extraction runs in a child process. A name whose reading takes the
// engine down, or keeps it busy past its limits, is refused as Damaged, and
// a fresh child goes on with the next one.
ExtractReport ExtractFilesTo(const QString &archivePath, const QList<QByteArray> &names, const QStringList &paths,
                             const QString &folder, StatusPanel &status, EventQueue &events)
{
    ExtractReport report;
    if (folder.isEmpty()) return report;
    const QString base = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
    // The child writes below the folder, and where a read of the archive
    // may put back an update that was cut off.
    mpq::ChildLimits limits = ArchiveLimits(archivePath);
    limits.writableFolders.push_back(PathBytes(folder).toStdString());
    limits.stallMilliseconds = 5000;  // a word comes for every name, and every mebibyte of a large one
    // Outcomes go over a packet at a time; when a child dies, the names it
    // had done may not all have been told, so the rest is tried once more
    // with each outcome told at once, and only then is the name it dies on
    // known.
    bool careful = false;
    for (qsizetype from = 0; from < names.size();) {
        const QList<QByteArray> batch = names.mid(from);
        const QStringList batchPaths = paths.mid(from);
        qsizetype done = 0;
        bool opened = false;  // the child's first item says the archive opened
        const ChildRun run = RunInChildProcess(
            [&](ChildPorts &ports) {
                ports.SetItemsAtOnce(careful);
                const ExtractReport part = ExtractHere(
                    archivePath, batch, batchPaths, base, !careful, ports, ports, [&] { ports.ItemDone({}); },
                    [&](Refusal why, const QString &failedPath) { ports.ItemDone(ItemOutcome(why, failedPath)); });
                return part.cancelled ? 1 : part.archive == Refusal::NotAnArchive ? 2 : 0;
            },
            status, nullptr, events,
            [&](QByteArrayView item) {
                if (!std::exchange(opened, true)) return;
                const auto why = static_cast<Refusal>(item.isEmpty() ? 0 : item.front());
                if (why == Refusal::None) ++report.extracted;
                else report.refused.append({batch[done], why});
                if (why == Refusal::DiskFailure) report.failedPath = QString::fromUtf8(item.sliced(1));
                ++done;
            },
            limits);
        if (run.outcome == mpq::ChildOutcome::NotStarted) {
            for (const QByteArray &name : batch) report.refused.append({name, Refusal::NotRead});
            break;
        }
        if (run.outcome == mpq::ChildOutcome::Finished && run.status == 2) report.archive = Refusal::NotAnArchive;
        if (!run.Failed() || done >= batch.size()) {
            report.cancelled = run.status == 1 || (run.outcome == mpq::ChildOutcome::Cancelled && done < batch.size() &&
                                                   report.failedPath.isEmpty());
            break;
        }
        if (careful && !opened) {  // the opening itself takes the engine down
            report.archive = Refusal::Damaged;
            for (const QByteArray &name : batch) report.refused.append({name, Refusal::Damaged});
            status.SetStatusText(Texts().StatusBarReady);
            break;
        }
        RemoveLeftovers(base, PathOf(batch, batchPaths, done), run.pid);
        for (qsizetype turn = run.turns; turn < done; ++turn) events.Yield();  // those that went with the child
        from += done;
        careful = !careful;
        if (careful) continue;  // once more, to learn where it dies
        report.refused.append({batch[done], Refusal::Damaged});
        events.Yield();
        from += 1;
        if (from >= names.size()) status.SetStatusText(Texts().StatusBarReady);
    }
    return report;
}

namespace {

// The paths of a batch that holds locale variants: the neutral variant of a
// name (or, without one, the first) has the name's own path, the others
// their tag before its extension.
QStringList VariantPaths(const QList<QByteArray> &names)
{
    QSet<QByteArray> claimed;
    for (const QByteArray &name : names)
        if (!name.contains('\0')) claimed.insert(name.toUpper());
    QStringList paths;
    for (const QByteArray &name : names) {
        const QByteArray bare = BareName(name);
        const QString path = DecodeBytes(bare);
        if (!name.contains('\0')) {
            paths << path;
        } else if (claimed.contains(bare.toUpper())) {
            paths << VariantPath(path, NameLocale(name));
        } else {
            claimed.insert(bare.toUpper());
            paths << path;
        }
    }
    return paths;
}

}  // namespace

ExtractReport ExtractFiles(const QString &archivePath, const QList<QByteArray> &names, const QString &folder,
                           StatusPanel &status, EventQueue &events)
{
    const bool variants = std::any_of(names.begin(), names.end(), [](const QByteArray &name) { return name.contains('\0'); });
    return ExtractFilesTo(archivePath, names, variants ? VariantPaths(names) : QStringList(), folder, status, events);
}
