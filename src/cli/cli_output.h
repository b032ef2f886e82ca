// What arcavera-cli writes to the terminal.
#pragma once

#include <QString>

#include <vector>

#include "listing/list_row.h"

// "arcavera-cli: message" on standard error.
void PrintError(const QString &message);
// One line per row, the six columns separated by tabs, as UTF-8.
void PrintRows(const std::vector<ListRow> &rows);
// A row as one line, without its line end.
QByteArray RowLine(const ListRow &row);
