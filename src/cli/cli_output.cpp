#include "cli/cli_output.h"

#include <cstdio>

void PrintError(const QString &message)
{
    std::fprintf(stderr, "arcavera-cli: %s\n", message.toUtf8().constData());
}

QByteArray RowLine(const ListRow &row)
{
    QByteArray line;
    for (int column = 0; column < ListRow::ColumnCount; ++column) {
        if (column > 0) line += '\t';
        QByteArray text = row.columns[column].toUtf8();
        for (char &c : text)
            if (c == '\t' || c == '\n' || c == '\r') c = '?';
        line += text;
    }
    return line;
}

void PrintRows(const std::vector<ListRow> &rows)
{
    QByteArray out;
    for (const ListRow &row : rows) {
        out += RowLine(row);
        out += '\n';
        if (out.size() > (1 << 20)) {
            std::fwrite(out.constData(), 1, static_cast<std::size_t>(out.size()), stdout);
            out.clear();
        }
    }
    std::fwrite(out.constData(), 1, static_cast<std::size_t>(out.size()), stdout);
    std::fflush(stdout);
}
