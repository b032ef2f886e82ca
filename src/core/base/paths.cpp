#include "base/paths.h"

#include <QFileInfo>
#include <QStringList>

bool IsDirectory(const QString &path)
{
    if (path.isEmpty()) return false;
    const QFileInfo info(path);
    return info.exists() && info.isDir();
}

bool IsFile(const QString &path)
{
    if (path.isEmpty()) return false;
    const QFileInfo info(path);
    return info.exists() && !info.isDir();
}

QString GetExtension(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot < 0) return QString();
    return name.mid(dot + 1);
}

QString GetFileName(const QString &path) { return path.mid(path.lastIndexOf(kStoredSeparator) + 1); }

QString GetFolder(const QString &path) { return path.left(path.lastIndexOf(kStoredSeparator) + 1); }

namespace {

const QChar kDiskSeparator = u'/';

// "C:" or "C:name": a name that the archive's platform reads as a drive.
bool StartsWithDrive(const QString &component)
{
    return component.size() >= 2 && component[1] == u':' && component[0].isLetter()
        && component[0].unicode() < 0x80;
}

}  // namespace

QString StoredNameFromRelativePath(const QString &relative)
{
    QString name = relative;
    name.replace(kDiskSeparator, kStoredSeparator);
    return name;
}

QString DiskPathBelow(const QString &folder, const QString &storedName)
{
    if (storedName.isEmpty() || storedName.contains(QChar(0))) return QString();
    if (storedName.front() == kStoredSeparator || storedName.front() == kDiskSeparator)
        return QString();

    QString unified = storedName;
    unified.replace(kStoredSeparator, kDiskSeparator);
    const QStringList parts = unified.split(kDiskSeparator);
    if (StartsWithDrive(parts.front())) return QString();

    QStringList kept;
    for (const QString &part : parts) {
        if (part == QLatin1String("..")) return QString();
        if (part.isEmpty() || part == QLatin1String(".")) continue;
        kept.append(part);
    }
    if (kept.isEmpty()) return QString();

    const QString below = kept.join(kDiskSeparator);
    if (folder.isEmpty()) return below;
    if (folder.endsWith(kDiskSeparator)) return folder + below;
    return folder + kDiskSeparator + below;
}
