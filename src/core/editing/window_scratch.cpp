#include "editing/window_scratch.h"

#include <QDir>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "editing/drag_drop.h"
#include "base/text_encoding.h"

namespace {

constexpr char kWindowPrefix[] = "window-";

// The folder at `path` opened and locked for this process; -1 when it is
// gone or another process holds it.
int LockFolder(const QString &path, bool wait)
{
    const int fd = ::open(PathBytes(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return -1;
    if (::flock(fd, LOCK_EX | (wait ? 0 : LOCK_NB)) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Whether the open folder `fd` still stands at `path` (a sweep of another
// window may have taken it before it was locked).
bool StillThere(int fd, const QString &path)
{
    struct stat held {}, now {};
    return ::fstat(fd, &held) == 0 && ::lstat(PathBytes(path).constData(), &now) == 0 && held.st_ino == now.st_ino &&
           held.st_dev == now.st_dev;
}

void RemoveFolder(const QString &path)
{
    EmptyScratchFolder(path);
    QDir().rmdir(path);
}

// The folders of windows that are gone: nobody holds their lock.
void RemoveAbandoned(const QString &userFolder)
{
    const QDir folder(userFolder);
    for (const QString &name : folder.entryList({QString::fromLatin1(kWindowPrefix) + '*'}, QDir::Dirs | QDir::Hidden)) {
        const QString path = folder.filePath(name);
        const int fd = LockFolder(path, false);
        if (fd < 0) continue;
        RemoveFolder(path);
        ::close(fd);
    }
}

}  // namespace

WindowScratch::WindowScratch(const QString &userFolder) : userFolder_(userFolder)
{
    if (!EnsureScratchFolder(userFolder)) return;
    RemoveAbandoned(userFolder);
    for (int attempt = 0; attempt < 3 && lock_ < 0; ++attempt) {
        QByteArray pattern = PathBytes(QDir(userFolder).filePath(QString::fromLatin1(kWindowPrefix) + "XXXXXX"));
        if (::mkdtemp(pattern.data()) == nullptr) return;
        const QString made = PathFromBytes(pattern);
        const int fd = LockFolder(made, true);
        if (fd < 0) continue;
        if (!StillThere(fd, made)) {
            ::close(fd);
            continue;
        }
        lock_ = fd;
        path_ = made;
    }
}

WindowScratch::~WindowScratch() { Release(); }

QString WindowScratch::DragFolder() const { return path_.isEmpty() ? QString() : path_ + QStringLiteral("/drag"); }

QString WindowScratch::OpenFolder() const { return path_.isEmpty() ? QString() : path_ + QStringLiteral("/open"); }

void WindowScratch::Release()
{
    if (lock_ < 0) return;
    RemoveFolder(path_);
    ::close(lock_);
    lock_ = -1;
    // Empty once no window uses it; never emptied from here.
    if (IsOwnFolder(userFolder_)) QDir().rmdir(userFolder_);
}
