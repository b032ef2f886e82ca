// Stored files read for a look at them (the preview, cat, convert, the
// thumbnail and a map's details): in a child process of the engine, like
// every other read, and never more than a cap into memory.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include "base/refusal.h"
#include "base/reporting.h"

// How much of a stored file a look takes.
struct LookLimits {
    qint64 maxBytes = qint64(64) << 20;  // a file up to this size is read whole
    qint64 headBytes = qint64(64) << 10; // of a larger one, only this much of its start
};

struct StoredBytes {
    // None when read; NotAnArchive (the archive did not open), NotStored (no
    // file of the name), NotRead (it could not be read whole), Damaged (the
    // engine died or stalled reading it or the archive).
    Refusal why = Refusal::None;
    qint64 size = 0;       // the stored file's size, when it opened
    bool cut = false;      // larger than the cap: `bytes` holds its start only
    bool stopped = false;  // the user left the read; `bytes` is empty
    QByteArray bytes;
};

// Reads each of `names` from the archive at `archivePath` in one child
// process, in order. With `firstFound`, the reading ends at the first name
// stored, and the names after it come back as NotStored. Progress of a large
// file reaches `progress`; a Cancel of `events` leaves the read (`stopped`).
QList<StoredBytes> ReadStoredFiles(const QString &archivePath, const QList<QByteArray> &names, const LookLimits &limits,
                                   StatusPanel &status, ProgressBar *progress, EventQueue &events,
                                   bool firstFound = false);

// Writes the whole stored file `name` to the open descriptor `fd` (standard
// output for cat), whatever its size, from the child. Returns None, or why
// not: NotAnArchive, NotStored, NotRead (bytes may have gone out before the
// failure), Damaged, DiskFailure (the descriptor refused the bytes).
Refusal WriteStoredFile(const QString &archivePath, const QByteArray &name, int fd);
