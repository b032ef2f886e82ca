// Whether a path holds an archive to read or to change, and whether an
// archive stores a name: answered from the disk and the engine, so that a
// face never asks the engine itself.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include "base/refusal.h"
#include "listing/classic_listing.h"
#include "mpq/mpq_library.h"

// None when something other than a folder stands at `path`; else Missing or
// WrongKind (a folder).
Refusal CheckPath(const QString &path);

// Whether the file at `path` is there to be changed (delete, rename): they
// change only an archive that exists, and an empty file would become a new
// one. Missing, WrongKind or EmptyFile, with no opening: the change's own
// opening says why it cannot be made.
Refusal CheckArchiveToChange(const QString &path);

// The reason a listing's opening gives for an archive that cannot be read:
// NotAnArchive or Damaged (ArchiveNotWritten when the user stopped it);
// None when it was read (a malformed one too).
Refusal WhyNotRead(RecordsRead read);

// Whether a file with at least one byte stands at `path`: an update of
// anything else makes a new archive there.
bool HasContent(const QString &path);

// Why an update of `path` could not be opened: NotCreatable when there was
// no archive to open (`hadContent` false, taken before the attempt),
// NotWritable when the archive reads, Malformed when it reads only as a
// protected map does, else NotAnArchive (or Damaged).
Refusal WhyUpdateNotOpened(const QString &path, bool hadContent);

// For each of `names` (exact bytes; the engine knows no case), whether the
// archive stores a file of that name, read apart from any change. All false
// when the archive does not open.
QList<bool> AreStored(const QString &archivePath, const QList<QByteArray> &names);
