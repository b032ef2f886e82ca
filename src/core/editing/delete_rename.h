// Deleting and renaming stored files. Both change the archive at once; the
// window then brings its rows up to date by hand.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include "base/refusal.h"
#include "listing/reporting.h"

// What a delete did, for faces that report it. The window looks at none of
// it but whether the archive was opened and written: a refresh shows the truth.
struct DeleteReport {
    // NotCreatable, NotWritable, NotAnArchive: the archive could not be
    // opened for update and nothing happened. ArchiveNotWritten: it could not
    // be written at the end and is as it was before.
    Refusal archive = Refusal::None;
    int deleted = 0;  // names the engine removed
    // In the order of the names: NotStored when the archive, read after the
    // change, stores no such file; else EngineRefused (a name the engine
    // keeps), or ArchiveNotWritten for every stored name when the archive
    // was not written.
    QList<Refused<QByteArray>> refused;

    bool opened() const { return archive == Refusal::None || archive == Refusal::ArchiveNotWritten; }
    bool written() const { return archive == Refusal::None; }
};

// Deletes the stored files `names` (exact bytes) from the archive, opened for
// update with room for `defaultMaxFiles` files as an add opens it. Per name
// the status text "Eliminazione file %v" (the texts in force) with the
// name; at the end "Pronto". When the archive cannot be opened nothing is
// said and nothing changes. The archive is not compacted.
DeleteReport DeleteStoredFiles(const QString &archivePath, const QList<QByteArray> &names, qint32 defaultMaxFiles,
                               StatusPanel &status);

// Renames the stored file `oldName` to `newName`, both exact bytes, after
// asking the engine whether `newName` is stored already. None when it was
// renamed. Else why not: an archive that could not be opened for update
// (NotCreatable, NotWritable, NotAnArchive), NameInUse (nothing changed),
// ArchiveNotWritten (the archive is as it was before), NotStored when the
// archive stores no `oldName`, EngineRefused for another refusal of the
// engine (an empty new name, the internal list, ...).
Refusal RenameStoredFile(const QString &archivePath, const QByteArray &oldName, const QByteArray &newName,
                         qint32 defaultMaxFiles);
