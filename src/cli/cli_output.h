// What arcavera-cli writes to the terminal.
#pragma once

#include <QString>

#include <cstdint>
#include <vector>

#include "base/refusal.h"
#include "listing/listing_options.h"
#include "listing/reporting.h"
#include "listing/list_row.h"
#include "listing/locale_tags.h"  // ShownName
#include "listing/row_order.h"  // a listing's records, as the core sorts them

// What reaches the terminal is UTF-8 with the control characters of names
// and paths written out as "\x1b" (EscapeControls).

// The archive a command names, made absolute, when the disk has a file
// there; empty with the exit status in `status` (and the reason said)
// otherwise. Only the disk is asked: the command's own opening says why an
// archive cannot be read.
QString ExistingArchive(const QString &argument, int &status);
// An absolute path with "." and ".." resolved, to compare paths by.
QString CleanAbsolutePath(const QString &path);
// The rows of the archive as the window lists them in Classic style;
// `totalSize` gets the sum of their sizes. The listing is the command's one
// opening of the archive: when it holds none, or took the engine down, the
// reason is said and `status` gets the exit status.
std::vector<ListRow> ListedRows(const QString &path, const ListingOptions &options, qint64 &totalSize, int &status);

// The status texts of the core, one line each on standard output, when
// `verbose`: the file each step of a batch is at. The closing ready text
// names no file and is left out.
struct VerbosePanel : StatusPanel, ProgressBar {
    explicit VerbosePanel(bool on) : verbose(on) {}
    bool verbose;
    void SetStatusText(const QString &text) override;
    void SetProgressMax(int) override {}
    void SetProgressValue(int) override {}
    void SetProgressVisible(bool) override {}
};
// One line per record's row, in `order`, the seven columns (the last the
// locale of a variant, empty for a neutral file) separated by tabs;
// the numbers are written in the user's locale as the lines go out.
void PrintRecords(const mpq::FileList &records, const std::vector<std::uint32_t> &order);
// A row as one line, without its line end.
QByteArray RowLine(const ListRow &row);
