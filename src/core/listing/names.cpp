#include "listing/names.h"

#include <QFileInfo>

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
