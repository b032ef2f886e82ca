// Names for the stored files that no list names, found in the archive itself:
// the standard names of map files, the import lists, and the paths that the
// scripts, data and models inside it mention.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <vector>

#include "listing/classic_listing.h"
#include "listing/listing_options.h"
#include "listing/reporting.h"
#include "mpq/mpq_library.h"

// How much one search for names may read and try, so that an archive full of
// nameless or huge files stays quick to list.
struct NameScanBudget {
    qint64 bytes = qint64{64} << 20;    // read from stored files in all
    qint64 perFile = qint64{16} << 20;  // read from one stored file (its start)
    qint64 tries = 4'000'000;           // candidate names hashed
};

// Gives the nameless records of a listing the names that the file of standard
// names (one name a line; none when the path is empty or unreadable) and the
// archive's own files yield. Each stored file is read at most once; a file
// named on the way is read in its turn. Returns the names given, each once, in
// the order they were found. Does nothing when no record is nameless.
QList<QByteArray> RecoverNames(mpq::MpqHandle archive, mpq::FileList &records,
                               const QString &standardNamesPath, const NameScanBudget &budget = {});

// The candidate stored names that the bytes of a stored file mention: path-like
// runs of text (JASS and Lua strings, data fields, zero-ended strings of binary
// files), "/" made "\" and doubled "\" made single, with the twins the game
// substitutes (.mdl and .mdx, .tga and .blp, a model's portrait). An import
// list (`importPrefix` not empty) gives its entries also below that folder.
QList<QByteArray> CandidateNames(const QByteArray &content, const QByteArray &importPrefix = {});

// Opens the archive at `path`, names its records as a listing with `options`
// does, and recovers what names it can whatever options.recoverNames says;
// the names given, sorted without regard to case. Empty when it holds no
// archive or nothing is nameless; `read`, when given, gets how the one
// opening went (Listed, Malformed, Empty, NoArchive or Damaged).
QList<QByteArray> ScanArchiveNames(const QString &path, const ListingOptions &options, StatusPanel &status,
                                   RecordsRead *read = nullptr);
