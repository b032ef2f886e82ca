#include "base/scratch_folder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

#include "base/paths.h"
#include "base/text_encoding.h"

bool IsOwnFolder(const QString &path)
{
    struct stat st {};
    return !path.isEmpty() && ::lstat(PathBytes(path).constData(), &st) == 0 && S_ISDIR(st.st_mode) &&
           st.st_uid == ::getuid();
}

bool EnsureScratchFolder(const QString &path)
{
    if (path.isEmpty()) return false;
    if (!IsDirectory(path)) ::mkdir(PathBytes(path).constData(), 0700);
    return IsOwnFolder(path);
}

void EmptyScratchFolder(const QString &path)
{
    if (!IsOwnFolder(path)) return;
    // Everything goes, hidden folders too (a stored name may make ".name"
    // folders, which the walk of DeleteFiles passes over); a link is removed
    // as a link, never followed.
    const QDir folder(path);
    for (const QFileInfo &entry :
         folder.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        if (entry.isDir() && !entry.isSymLink())
            QDir(entry.filePath()).removeRecursively();
        else
            QFile::remove(entry.filePath());
    }
}
