// The flat listing of an archive: one row per stored file.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <vector>

#include "listing/list_row.h"
#include "listing/listing_options.h"
#include "listing/reporting.h"
#include "mpq/mpq_library.h"

// How a listing of an archive's records ended.
enum class RecordsRead {
    Listed,     // every stored file has its record
    Malformed,  // every stored file has its record, but the archive reads only as a protected map
                // does: it is never changed, and the status says so
    Empty,      // an archive of one hash slot or none: nothing to list, nothing said
    NoArchive,  // the path names no file, or one that holds no archive (or an empty one)
    Damaged,    // reading the archive crashed the engine or kept it busy past its limits
    Stopped,    // the user stopped the listing (a Cancel of its events): nothing listed
};

// The records of every stored file of the archive at `path`, named as a
// listing with `options` names them (a nameless one probed for its type),
// with status and progress as the percentage moves. `totalSize`, when given,
// gets their sizes. The engine reads the archive in a child process, which
// leaves nothing of its tables behind. A file with content that does not open,
// or that takes the engine down, says so in the status.
RecordsRead ReadArchiveRecords(const QString &path, const ListingOptions &options, StatusPanel &status,
                               ProgressBar &progress, mpq::FileList &records, qint64 *totalSize,
                               EventQueue *events = nullptr);

// What a listing's child does, in this process: the records of every
// stored file of the open archive, named as ReadArchiveRecords names them.
// For a caller that must meet the engine's faults itself (the fuzzing
// target); everyone else lists through ReadArchiveRecords.
void NameArchiveRecordsHere(mpq::MpqHandle archive, const QString &path, const ListingOptions &options,
                            StatusPanel &status, ProgressBar &progress, mpq::FileList &records, qint64 *totalSize);

// The row walk that both styles share: the records as ReadArchiveRecords
// makes them, then the row of each given to `rows` in slot order, in storage
// reserved once, Sorted off while it fills.
RecordsRead ListArchiveRows(const QString &path, const ListingOptions &options, StatusPanel &status,
                            ProgressBar &progress, RowSink &rows, qint64 *totalSize, EventQueue *events = nullptr);

// Lists the archive at `path` into `ports.rows`, with status and progress.
// False only when the path is empty or names no file; an empty file, or one
// that holds no archive, lists nothing and succeeds. `totalSize` becomes the
// sum of the listed sizes.
bool LoadArchiveClassic(const QString &path, const ListingOptions &options, ListingPorts &ports,
                        qint64 &totalSize);

// The stored names of every file a Classic listing with `options` shows,
// as the engine takes them (no guessed extension), in slot order, quietly.
QList<QByteArray> ListStoredNames(const QString &path, const ListingOptions &options);
