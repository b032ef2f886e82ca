#include "editing/extract_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include <QStringList>

#include "config/catalogue.h"
#include "editing/helpers/paths.h"
#include "mpq/mpq_library.h"
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

// Writes `size` bytes as the whole content of the file `name` of the folder
// `dirfd`, replacing a file of that name. A link in its place is neither
// followed nor replaced; a pipe or device there is no file to replace. A
// short write (a full disk) is a failure like any other.
Placed WriteWholeFileAt(int dirfd, const QByteArray &name, const char *data, std::size_t size)
{
    // Not blocking, so that a pipe without a reader cannot hold the batch up.
    Descriptor fd(::openat(dirfd, name.constData(),
                           O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666));
    if (!fd.valid()) return IsLinkAt(dirfd, name) ? Placed::Link : Placed::Failed;
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return Placed::Failed;
    std::size_t done = 0;
    while (done < size) {
        const ssize_t wrote = ::write(fd.get(), data + done, size - done);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) break;
        done += static_cast<std::size_t>(wrote);
    }
    const bool closed = fd.Close();
    return done == size && closed ? Placed::Ready : Placed::Failed;
}

// The whole stored file in one buffer of exactly its size, or null when the
// engine cannot give all of it. `size` is the file's full size.
std::unique_ptr<char[]> ReadWholeStoredFile(mpq::MpqHandle file, std::uint32_t size)
{
    // At least one byte, so that an empty file has a buffer as well. A size
    // that a damaged archive inflates must not end the program: no memory
    // counts as unreadable.
    std::unique_ptr<char[]> buffer(new (std::nothrow) char[size == 0 ? 1 : size]);
    if (buffer == nullptr || size == 0) return buffer;
    std::uint32_t read = 0;
    if (!mpq::SFileReadFile(file, buffer.get(), size, &read, nullptr) || read != size) return nullptr;
    return buffer;
}

}  // namespace

ExtractReport ExtractFiles(const QString &archivePath, const QList<QByteArray> &names, const QString &folder,
                           StatusPanel &status, EventQueue &events)
{
    ExtractReport report;
    if (folder.isEmpty()) return report;
    const QString base = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');

    // Not checked: an archive that does not open makes every name missing.
    const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(archivePath).toStdString());

    FolderWalk walk(base);
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
            events.Yield();
            continue;
        }

        const mpq::StoredFile file = mpq::SFileOpenFileEx(archive.get(), name.toStdString());
        const std::int64_t size = mpq::SFileGetFileInfo(file.get(), mpq::SFILE_INFO_SIZE);
        const std::unique_ptr<char[]> data =
            size >= 0 ? ReadWholeStoredFile(file.get(), static_cast<std::uint32_t>(size)) : nullptr;
        if (data == nullptr) {
            report.refused.append({name, Refusal::NotRead});
        } else {
            QStringList levels = target.mid(base.size()).split(QLatin1Char('/'));
            const QString leaf = levels.takeLast();
            QString failedPath = target;
            Placed placed = walk.Reach(levels, failedPath);
            if (placed == Placed::Ready)
                placed = WriteWholeFileAt(walk.Fd(), PathBytes(leaf), data.get(), static_cast<std::size_t>(size));
            if (placed == Placed::Link) {
                report.refused.append({name, Refusal::Linked});
                events.Yield();
                continue;
            }
            if (placed == Placed::Failed) {
                // The disk ends the batch. The status keeps this entry's text,
                // so the user sees where it stopped.
                report.refused.append({name, Refusal::DiskFailure});
                report.failedPath = failedPath;
                return report;
            }
            ++report.extracted;
        }
        events.Yield();
    }
    status.SetStatusText(Texts().StatusBarReady);
    return report;
}
