// What arcavera-cli writes to the terminal.
#pragma once

#include <QString>

#include <cstdint>
#include <vector>

#include "base/refusal.h"
#include "listing/list_row.h"
#include "listing/row_order.h"  // a listing's records, as the core sorts them

// What reaches the terminal is UTF-8 with the control characters of names
// and paths written out as "\x1b" (EscapeControls).

// "arcavera-cli: message" on standard error.
void PrintError(const QString &message);

// Why `path` is no archive to read or change, said on standard error, as
// its exit status; 0 when it is one.
int ReportArchiveCheck(const QString &path, Refusal why);
// A stored name as messages name it: its text, and the tag of a locale
// variant in brackets after it ("war3map.wts [de-DE]").
QString ShownName(const QByteArray &storedName);
// One line per record's row, in `order`, the seven columns (the last the
// locale of a variant, empty for a neutral file) separated by tabs;
// the numbers are written in the user's locale as the lines go out.
void PrintRecords(const mpq::FileList &records, const std::vector<std::uint32_t> &order);
// A row as one line, without its line end.
QByteArray RowLine(const ListRow &row);
