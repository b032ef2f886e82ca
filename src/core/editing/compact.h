// Compaction: an archive rewritten without the room that deleted and
// replaced files left.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include "base/refusal.h"
#include "listing/listing_options.h"
#include "listing/reporting.h"

struct CompactReport {
    Refusal archive = Refusal::None;  // None when it was compacted
    QList<QByteArray> nameless;       // Nameless: the files no list or scan names that could not be rewritten
    bool cancelled = false;           // the user stopped it: the archive is as it was
    qint64 sizeBefore = 0;            // the file's length before and after
    qint64 sizeAfter = 0;
};

// Compacts the archive at `path` (mpq_library.h, MpqCompactArchive). The
// names a listing with `options` gives its files (lists and recovered names)
// give the keys of files encrypted for their place, and, in formats 3 and 4,
// the names they are rewritten under; with a file that needs a name none
// gives, the archive is left alone (Nameless). Any failure leaves the
// archive as it was (NotWritable, ArchiveNotWritten). Progress goes to
// `progress`, 0 to 100, as files move, and to `events` as a batch of a turn
// per file; when `events` is cancelled the archive is left as it was. The
// status texts are the caller's.
CompactReport CompactArchive(const QString &path, const ListingOptions &options, ProgressBar &progress,
                             EventQueue &events);
