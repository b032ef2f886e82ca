// Deleting and renaming stored files. Both change the archive at once; the
// window then brings its rows up to date by hand.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include "listing/reporting.h"

// What a delete did, for faces that report it. The window looks at none of
// it but `opened`: a refresh shows the truth.
struct DeleteReport {
    bool opened = false;           // false: the archive could not be opened for update; nothing happened
    int deleted = 0;               // names the engine removed
    QList<QByteArray> notDeleted;  // names the engine refused (not stored, or the archive is read-only)
    bool written = true;           // false: the archive could not be written at the end and is as it
                                   // was before; every name is in `notDeleted`
};

// Deletes the stored files `names` (exact bytes) from the archive, opened for
// update with room for `defaultMaxFiles` files as an add opens it. Per name
// the status text "Eliminazione file %v" (the texts in force) with the
// name; at the end "Pronto". When the archive cannot be opened nothing is
// said and nothing changes. The archive is not compacted.
DeleteReport DeleteStoredFiles(const QString &archivePath, const QList<QByteArray> &names, qint32 defaultMaxFiles,
                               StatusPanel &status);

enum class RenameResult {
    NotOpened,  // the archive could not be opened for update
    NameInUse,  // a file is stored under the new name already (the old name itself too): nothing changed
    Renamed,
    Refused,    // the engine refused (the old name is not stored, an empty new name, ...)
    NotWritten, // the archive could not be written at the end and is as it was before
};

// Renames the stored file `oldName` to `newName`, both exact bytes, after
// asking the engine whether `newName` is stored already.
RenameResult RenameStoredFile(const QString &archivePath, const QByteArray &oldName, const QByteArray &newName,
                              qint32 defaultMaxFiles);
