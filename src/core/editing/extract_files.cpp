#include "editing/extract_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <functional>

#include "boundary/child_work.h"
#include "config/catalogue.h"
#include "editing/helpers/paths.h"
#include "mpq/mpq_library.h"
#include "mpq/whole_io.h"
#include "listing/text_encoding.h"

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

// Opens the folder `name` of the folder `dirfd`, making it when missing. A
// link in its place is never followed, whether it points to a folder, to
// anything else or nowhere.
Placed OpenLevel(int dirfd, const QByteArray &name, Descriptor &level)
{
    for (int attempt = 0; attempt < 2; ++attempt) {
        level = Descriptor(::openat(dirfd, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (level.valid()) return Placed::Ready;
        if (errno != ENOENT) break;
        // Made by someone else in between: the next opening looks at it.
        if (::mkdirat(dirfd, name.constData(), 0777) != 0 && errno != EEXIST) return Placed::Failed;
    }
    return IsLinkAt(dirfd, name) ? Placed::Link : Placed::Failed;
}

// The folders below the chosen one, reached level by level without
// following a link. The folder reached last stays open: the names of one
// folder follow each other, and its levels are then walked once.
class FolderWalk {
public:
    // `base` ends in "/".
    explicit FolderWalk(const QString &base) : base_(base) {}

    // Opens `levels` below the base, from the top down, making the missing
    // ones; Ready with the last of them in Fd(). Else `failed` is the disk
    // path of the level that is a link or could not be opened or made.
    Placed Reach(const QStringList &levels, QString &failed)
    {
        if (current_.valid() && levels == reached_) return Placed::Ready;
        current_ = Descriptor();
        // The base is the user's choice and may be reached through links.
        Descriptor level(::open(PathBytes(base_).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!level.valid()) {
            failed = base_.size() > 1 ? base_.chopped(1) : base_;
            return Placed::Failed;
        }
        QString path = base_;
        for (const QString &name : levels) {
            path += name;
            Descriptor next;
            const Placed placed = OpenLevel(level.get(), PathBytes(name), next);
            if (placed != Placed::Ready) {
                failed = path;
                return placed;
            }
            level = std::move(next);
            path += QLatin1Char('/');
        }
        current_ = std::move(level);
        reached_ = levels;
        return Placed::Ready;
    }
    int Fd() const { return current_.get(); }

private:
    const QString base_;
    Descriptor current_;
    QStringList reached_;
};

// What became of one stored file.
enum class Streamed { Written, NotRead, Link, Failed };

// Extracted files move through reused chunks of this size: memory stays flat
// whatever a file's size.
constexpr std::uint32_t kChunk = 1u << 20;

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

// Streams the stored file, `size` bytes in all, into the file `name` of the
// folder `dirfd`, through `chunk`. It goes to a file of its own beside, which
// takes the name only once every byte is there: a file that does not read
// to its end, or a full disk, leaves what stood at the name as it was. A link
// in the name's place is neither followed nor replaced, and a pipe or device
// there is no file to replace. `beat` hears of each chunk.
Streamed StreamStoredFileAt(mpq::MpqHandle file, std::uint32_t size, int dirfd, const QByteArray &name,
                            std::vector<char> &chunk, EventQueue &beat)
{
    struct stat st {};
    if (::fstatat(dirfd, name.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
        if (S_ISLNK(st.st_mode)) return Streamed::Link;
        if (!S_ISREG(st.st_mode)) return Streamed::Failed;
    }
    QByteArray scratch;
    Descriptor fd = MakeScratchAt(dirfd, scratch);
    if (!fd.valid()) return Streamed::Failed;
    Streamed result = Streamed::Written;
    for (std::uint32_t done = 0; done < size && result == Streamed::Written;) {
        const std::uint32_t wanted = std::min(kChunk, size - done);
        std::uint32_t read = 0;
        if (!mpq::SFileReadFile(file, chunk.data(), wanted, &read, nullptr) || read != wanted)
            result = Streamed::NotRead;
        else if (!mpq::WriteAll(fd.get(), chunk.data(), read))
            result = Streamed::Failed;
        done += read;
        beat.Wait();
    }
    if (!fd.Close() && result == Streamed::Written) result = Streamed::Failed;
    if (result == Streamed::Written && ::renameat(dirfd, scratch.constData(), dirfd, name.constData()) != 0)
        result = Streamed::Failed;
    if (result != Streamed::Written) ::unlinkat(dirfd, scratch.constData(), 0);
    return result;
}


// What became of one name, as the child tells it: its refusal (None:
// written) and, for a failed disk, the path that failed.
QByteArray ItemOutcome(Refusal why, const QString &failedPath)
{
    return QByteArray(1, static_cast<char>(why)) + failedPath.toUtf8();
}

// The extraction itself, in this process: each name's outcome goes to
// `onItem` (None when it was written) as it is known, once per name.
ExtractReport ExtractHere(const QString &archivePath, const QList<QByteArray> &names, const QString &base,
                          StatusPanel &status, EventQueue &events, const std::function<void()> &onOpened,
                          const std::function<void(Refusal, const QString &)> &onItem)
{
    ExtractReport report;

    // An archive that does not open makes every name missing.
    const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(archivePath).toStdString());
    if (archive) onOpened();
    else report.archive = Refusal::NotAnArchive;

    FolderWalk walk(base);
    std::vector<char> chunk;  // made at the first file, reused by the others
    for (const QByteArray &name : names) {
        // The user may stop the batch between two files.
        if (events.Cancelled()) {
            report.cancelled = true;
            break;
        }
        const QString shown = DecodeBytes(name);
        status.SetStatusText(ReplaceValue(Texts().StatusBarExtract, shown));
        // Only names that stay below the folder are written; "..", "\x" and
        // "C:x" would reach elsewhere.
        const QString target = DiskPathBelow(base, shown);
        if (target.isEmpty()) {
            report.refused.append({name, Refusal::OutsideFolder});
            onItem(Refusal::OutsideFolder, {});
            events.Yield();
            continue;
        }

        const mpq::StoredFile file = mpq::SFileOpenFileEx(archive.get(), name.toStdString());
        const std::int64_t size = mpq::SFileGetFileInfo(file.get(), mpq::SFILE_INFO_SIZE);
        if (size < 0) {
            report.refused.append({name, Refusal::NotRead});
            onItem(Refusal::NotRead, {});
        } else {
            QStringList levels = target.mid(base.size()).split(QLatin1Char('/'));
            const QString leaf = levels.takeLast();
            QString failedPath = target;
            const Placed placed = walk.Reach(levels, failedPath);
            if (chunk.empty()) chunk.resize(kChunk);
            const Streamed streamed =
                placed == Placed::Link   ? Streamed::Link
                : placed != Placed::Ready ? Streamed::Failed
                                          : StreamStoredFileAt(file.get(), static_cast<std::uint32_t>(size),
                                                               walk.Fd(), PathBytes(leaf), chunk, events);
            if (streamed == Streamed::NotRead || streamed == Streamed::Link) {
                const Refusal why = streamed == Streamed::Link ? Refusal::Linked : Refusal::NotRead;
                report.refused.append({name, why});
                onItem(why, {});
                events.Yield();
                continue;
            }
            if (streamed == Streamed::Failed) {
                // The disk ends the batch. The status keeps this entry's text,
                // so the user sees where it stopped.
                report.refused.append({name, Refusal::DiskFailure});
                report.failedPath = failedPath;
                onItem(Refusal::DiskFailure, failedPath);
                return report;
            }
            ++report.extracted;
            onItem(Refusal::None, {});
        }
        events.Yield();
    }
    status.SetStatusText(Texts().StatusBarReady);
    return report;
}

// Removes the half-written file a child that was ended left below `base`
// for `name`: the scratch files are named after its process.
void RemoveLeftovers(const QString &base, const QByteArray &name, int pid)
{
    const QString target = DiskPathBelow(base, DecodeBytes(name));
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
ExtractReport ExtractFiles(const QString &archivePath, const QList<QByteArray> &names, const QString &folder,
                           StatusPanel &status, EventQueue &events)
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
        qsizetype done = 0;
        bool opened = false;  // the child's first item says the archive opened
        const ChildRun run = RunInChildProcess(
            [&](ChildPorts &ports) {
                ports.SetItemsAtOnce(careful);
                const ExtractReport part = ExtractHere(
                    archivePath, batch, base, ports, ports, [&] { ports.ItemDone({}); },
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
        RemoveLeftovers(base, batch[done], run.pid);
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
