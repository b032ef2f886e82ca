// Files dragged onto the archive list, and rows dragged out of it.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include "base/reporting.h"
#include "base/scratch_folder.h"

// What a drop on the list adds: names relative to `baseFolder`, as AddFiles
// takes them.
struct DropBatch {
    QString baseFolder;  // a disk folder ending in "/"
    QStringList names;   // "/" between levels; an empty entry adds nothing
};

// The batch of a drop of `droppedPaths` (absolute disk paths, in the order
// the drag carries them). The base folder is the folder that holds the
// dropped items; items of several folders take the folder they all lie in.
// A dropped file is named relative to it (its bare name when it lies there
// itself); a dropped folder gives every file below it, hidden ones
// included, with the folder's own name in front, and an empty entry after
// them. The items go in the opposite order: the last dropped first. A path
// that is gone gives an empty entry.
DropBatch BuildDropBatch(const QStringList &droppedPaths);

// What a drag out hands to the place it is dropped on: the scratch folder
// `tempPath` is emptied (made when missing), the stored files `names` are
// extracted into it with their folders, and what then lies at the top of
// the folder, files and folders, is returned as absolute paths, sorted. A
// file that cannot be deleted stays, and is handed over with the rest.
QStringList StageDragOut(const QString &archivePath, const QList<QByteArray> &names, const QString &tempPath,
                         StatusPanel &status, EventQueue &events);

// Opening a stored file: extracts `name` into the scratch folder (made when
// missing, its other content kept) and returns the disk path of the copy,
// or the empty text when no copy was written (a name that cannot be stored
// below the folder, a link in its place, a file the archive cannot give).
QString ExtractForViewing(const QString &archivePath, const QByteArray &name, const QString &tempPath,
                          StatusPanel &status, EventQueue &events);
