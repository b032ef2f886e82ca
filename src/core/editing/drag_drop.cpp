#include "editing/drag_drop.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "editing/extract_files.h"
#include "base/file_walk.h"
#include "base/paths.h"
#include "base/text_encoding.h"

namespace {

// A disk path without a closing "/", the root excepted.
QString WithoutClosingSlash(QString path)
{
    while (path.size() > 1 && path.endsWith(QLatin1Char('/'))) path.chop(1);
    return path;
}

// The folder part of a disk path, ending in "/".
QString DiskFolder(const QString &path) { return path.left(path.lastIndexOf(QLatin1Char('/')) + 1); }

// The longest folder, ending in "/", that both `folder` (ending in "/") and
// `path` lie in.
QString CommonFolder(const QString &folder, const QString &path)
{
    qsizetype same = 0;
    const qsizetype limit = std::min(folder.size(), path.size());
    while (same < limit && folder[same] == path[same]) ++same;
    return folder.left(folder.lastIndexOf(QLatin1Char('/'), same - 1) + 1);
}

}  // namespace

DropBatch BuildDropBatch(const QStringList &droppedPaths)
{
    DropBatch batch;
    if (droppedPaths.isEmpty()) return batch;
    QStringList paths;
    paths.reserve(droppedPaths.size());
    for (const QString &path : droppedPaths) paths.append(WithoutClosingSlash(path));

    batch.baseFolder = DiskFolder(paths.first());
    for (const QString &path : std::as_const(paths))
        if (!path.startsWith(batch.baseFolder)) batch.baseFolder = CommonFolder(batch.baseFolder, path);

    // Each item's group goes in front of those before it.
    for (const QString &path : std::as_const(paths)) {
        QStringList group;
        if (IsDirectory(path)) {
            group = ScanFiles(path, QStringLiteral("*"), kAttributeHidden | kAttributeSystem, true, QString(QChar(0)))
                        .split(QChar(0), Qt::SkipEmptyParts);
            group.append(QString());  // where a folder ends
        } else {
            group.append(path);
        }
        for (QString &piece : group)
            piece = IsFile(piece) && piece.startsWith(batch.baseFolder) ? piece.mid(batch.baseFolder.size()) : QString();
        batch.names = group + batch.names;
    }
    return batch;
}

QStringList StageDragOut(const QString &archivePath, const QList<QByteArray> &names, const QString &tempPath,
                         StatusPanel &status, EventQueue &events)
{
    if (!EnsureScratchFolder(tempPath)) return {};
    EmptyScratchFolder(tempPath);
    ExtractFiles(archivePath, names, tempPath, status, events);
    QStringList entries;
    const QDir folder(tempPath);
    for (const QString &entry :
         folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name))
        entries.append(folder.absoluteFilePath(entry));
    return entries;
}

QString ExtractForViewing(const QString &archivePath, const QByteArray &name, const QString &tempPath,
                          StatusPanel &status, EventQueue &events)
{
    if (!EnsureScratchFolder(tempPath)) return {};
    // Only the copy just written: whatever else lies at its place (a link
    // among it) is not this file.
    if (ExtractFiles(archivePath, {name}, tempPath, status, events).extracted != 1) return {};
    return DiskPathBelow(tempPath, DecodeBytes(name));
}
