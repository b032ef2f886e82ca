#include "cli/cli_output.h"

#include <cstdio>
#include <string>

void PrintError(const QString &message)
{
    std::fprintf(stderr, "arcavera-cli: %s\n", message.toUtf8().constData());
}

namespace {

// A column as UTF-8, with the characters that would break a line or a
// column printed as "?".
template <typename Buffer>
void AppendColumn(Buffer &out, const QString &text)
{
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if (u >= 0x80) {  // rare: the whole text the slow way
            QByteArray utf8 = text.toUtf8();
            for (char &b : utf8)
                if (b == '\t' || b == '\n' || b == '\r') b = '?';
            out.append(utf8.constData(), static_cast<std::size_t>(utf8.size()));
            return;
        }
    }
    for (QChar c : text) {
        const auto b = static_cast<char>(c.unicode());
        out.push_back((b == '\t' || b == '\n' || b == '\r') ? '?' : b);
    }
}

}  // namespace

QByteArray RowLine(const ListRow &row)
{
    QByteArray line;
    std::string text;
    for (int column = 0; column < ListRow::ColumnCount; ++column) {
        if (column > 0) text.push_back('\t');
        AppendColumn(text, row.columns[static_cast<std::size_t>(column)]);
    }
    line = QByteArray::fromStdString(text);
    return line;
}

void PrintRows(const std::vector<ListRow> &rows)
{
    std::string out;
    out.reserve(1 << 21);
    for (const ListRow &row : rows) {
        for (int column = 0; column < ListRow::ColumnCount; ++column) {
            if (column > 0) out.push_back('\t');
            AppendColumn(out, row.columns[static_cast<std::size_t>(column)]);
        }
        out.push_back('\n');
        if (out.size() > (1u << 20)) {
            std::fwrite(out.data(), 1, out.size(), stdout);
            out.clear();
        }
    }
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fflush(stdout);
}
