// What arcavera-cli writes to the terminal.
#pragma once

#include <QString>

#include <vector>

#include "listing/list_row.h"

// What reaches the terminal is UTF-8 with the control characters of names
// and paths written out as "\x1b" (EscapeControls).

// "arcavera-cli: message" on standard error.
void PrintError(const QString &message);
// One line per row, the six columns separated by tabs; the numbers are
// written in the user's locale as the lines go out.
void PrintRows(const std::vector<ListRow> &rows);
// A row as one line, without its line end.
QByteArray RowLine(const ListRow &row);
