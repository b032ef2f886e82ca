// Where stored files get their names: the archive's internal list and the
// external list files of the settings; and the type guess for the nameless.
#pragma once

#include <QByteArray>
#include <QString>

#include <string>

#include "mpq/mpq_library.h"
#include "listing/listing_options.h"
#include "listing/reporting.h"

// The list text that the engine resolves names from: the internal list and,
// unless the settings skip them when an internal list exists, the paths of
// the external list files (appended to the internal list, in place).
std::string FormListText(bool internalListFound, std::string internalList, qint16 useLists,
                         const QString &listFiles);

// Reads the internal list, forms the list text and lets the engine fill the
// records; with options.recoverNames, then recovers what names it can for
// the records still nameless. A failure leaves the records zero, which lists
// nothing.
void BuildFileLists(mpq::MpqHandle archive, const QString &archivePath, mpq::FileList &records,
                    const ListingOptions &options, StatusPanel &status);

// The name of a record as the list shows it: a nameless entry gets the
// extension its first three bytes suggest, when auto-detection is on; `wide`
// looks at more of its first bytes where the three suggest nothing.
QByteArray ProbeUnknownEntry(mpq::MpqHandle archive, const QByteArray &storedName, bool autoDetect,
                             bool wide = false);
