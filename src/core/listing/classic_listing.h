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

// The row of a record under its display name.
ListRow MakeListRow(const mpq::FileListEntry &record, const QByteArray &displayName);

// Which used records a listing shows: every one, or the files directly in
// one folder of the Explorer style.
class RecordFilter {
public:
    // Every record.
    RecordFilter() = default;
    // The names whose first characters, as many as `folder` has, equal it
    // without regard to case, and that hold no "\" behind that length. The
    // empty folder is the root: the names without any "\".
    explicit RecordFilter(const QString &folder);

    bool Passes(const QString &name) const;

private:
    bool all_ = true;
    QString folderKey_;  // the folder, upper-cased character by character
};

// The row loop that both styles share, on an open archive: reads the names,
// then walks hash slots 0 to n with status and progress for every slot, and
// adds the row of each used record that `filter` passes, Sorted off while it
// fills. Only a passing record is probed for its type. With `clearRows` the
// list is emptied right before the fill; `totalSize`, when given, gets the
// sizes of the listed records added. An archive of one hash slot or none
// (also no archive) lists nothing and reports nothing.
void ListArchiveRecords(mpq::MpqHandle archive, const QString &path, const ListingOptions &options,
                        ListingPorts &ports, const RecordFilter &filter, bool clearRows, qint64 *totalSize);

// Lists the archive at `path` into `ports.rows`, with status and progress.
// False only when the path is empty or names no file; an empty file, or one
// that holds no archive, lists nothing and succeeds. `totalSize` becomes the
// sum of the listed sizes.
bool LoadArchiveClassic(const QString &path, const ListingOptions &options, ListingPorts &ports,
                        qint64 &totalSize);

// The stored names of every file a Classic listing with `options` shows,
// as the engine takes them (no guessed extension), in slot order, quietly.
QList<QByteArray> ListStoredNames(const QString &path, const ListingOptions &options);
