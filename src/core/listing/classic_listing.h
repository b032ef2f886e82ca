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

// The records of every stored file of an open archive, named as a listing
// with `options` names them (a nameless one probed for its type), with
// status and progress as the percentage moves. `totalSize`, when given,
// gets their sizes. An archive of one hash slot or none (also no archive)
// lists nothing and reports nothing.
void ListArchiveRecords(mpq::MpqHandle archive, const QString &path, const ListingOptions &options,
                        StatusPanel &status, ProgressBar &progress, mpq::FileList &records, qint64 *totalSize);

// The row walk that both styles share, on an archive it takes: the records
// as ListArchiveRecords makes them; then the archive is closed, so that its
// tables are gone before the rows come; then the row of each is given to
// `rows` in slot order, in storage reserved once, Sorted off while it fills.
void ListArchiveRows(mpq::Archive archive, const QString &path, const ListingOptions &options,
                     StatusPanel &status, ProgressBar &progress, RowSink &rows, qint64 *totalSize);

// The archive at `path` opened for a listing. A path that names no file, or
// a file with content that holds no archive, says so in the status; an empty
// file (a new archive before its first add) opens to nothing, silently.
mpq::Archive OpenForListing(const QString &path, const ListingOptions &options, StatusPanel &status);

// Lists the archive at `path` into `ports.rows`, with status and progress.
// False only when the path is empty or names no file; an empty file, or one
// that holds no archive, lists nothing and succeeds. `totalSize` becomes the
// sum of the listed sizes.
bool LoadArchiveClassic(const QString &path, const ListingOptions &options, ListingPorts &ports,
                        qint64 &totalSize);

// The stored names of every file a Classic listing with `options` shows,
// as the engine takes them (no guessed extension), in slot order, quietly.
QList<QByteArray> ListStoredNames(const QString &path, const ListingOptions &options);
