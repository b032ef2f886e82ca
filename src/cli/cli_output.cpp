#include "cli_output.h"

#include <cstdio>
#include <string>
#include <string_view>

#include <QDir>
#include <QFileInfo>

#include "config/catalogue.h"
#include "editing/archive_check.h"
#include "exit_status.h"
#include "listing/classic_listing.h"
#include "listing/locale_tags.h"
#include "base/text_encoding.h"

QString ExistingArchive(const QString &argument, int &status)
{
    const QString path = QFileInfo(argument).absoluteFilePath();
    status = Refuse(CheckPath(path), About::Archive, path);
    return status ? QString() : path;
}

QString CleanAbsolutePath(const QString &path) { return QDir::cleanPath(QFileInfo(path).absoluteFilePath()); }

std::vector<ListRow> ListedRows(const QString &path, const ListingOptions &options, qint64 &totalSize, int &status)
{
    CollectingPorts ports;
    totalSize = 0;
    status = Refuse(WhyNotRead(ListArchiveRows(path, options, ports, ports, ports, &totalSize)), About::Archive, path);
    return std::move(ports.rows);
}

void VerbosePanel::SetStatusText(const QString &text)
{
    if (!verbose || text == Texts().StatusBarReady) return;
    std::fputs(EscapeControls(text).toUtf8().constData(), stdout);
    std::fputc('\n', stdout);
}

namespace {

// A column as UTF-8, its control characters written out as EscapeControls
// does, so that no name breaks a line or a column or acts on the terminal.
template <typename Buffer>
void AppendColumn(Buffer &out, const QString &text)
{
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if (u >= 0x7F || u < 0x20) {  // rare: the whole text the slow way
            const QByteArray utf8 = EscapeControls(text).toUtf8();
            out.append(utf8.constData(), static_cast<std::size_t>(utf8.size()));
            return;
        }
    }
    for (QChar c : text) out.push_back(static_cast<char>(c.unicode()));
}

}  // namespace

QByteArray RowLine(const ListRow &row)
{
    QByteArray line;
    std::string text;
    for (int column = 0; column <= ListRow::Locale; ++column) {
        if (column > 0) text.push_back('\t');
        AppendColumn(text, ColumnText(row, column));
    }
    line = QByteArray::fromStdString(text);
    return line;
}

namespace {

// Whether `bytes` are printable ASCII: then they are the name's text as it
// is, with nothing to write out.
bool PrintableAscii(const QByteArray &bytes)
{
    for (char c : bytes)
        if (c < 0x20 || c >= 0x7F) return false;
    return true;
}

}  // namespace

void PrintRecords(const mpq::FileList &records, const std::vector<std::uint32_t> &order)
{
    const NumberTexts numbers;
    std::string out;
    constexpr std::size_t kChunk = 1 << 16;  // written out as it fills: little memory, few writes
    out.reserve(kChunk + 4096);
    for (const std::uint32_t i : order) {
        const std::string_view name = records.Name(i);
        const mpq::FileListEntry &record = records[i];
        const QByteArray tag = QByteArray::fromRawData(name.data(), static_cast<qsizetype>(name.size()));
        if (PrintableAscii(tag)) {
            out.append(name);
            out.push_back('\t');
            const std::size_t dot = name.rfind('.');
            if (dot != std::string_view::npos) out.append(name.substr(dot + 1));
        } else {
            ListRow row;
            row.Tag = tag;
            row.Flags = record.Flags;
            AppendColumn(out, ColumnText(row, ListRow::Name));
            out.push_back('\t');
            AppendColumn(out, ColumnText(row, ListRow::Ext));
        }
        out.push_back('\t');
        numbers.AppendSize(out, record.FullSize);
        out.push_back('\t');
        numbers.AppendSize(out, record.CompressedSize);
        out.push_back('\t');
        numbers.AppendRatio(out, record.FullSize, record.CompressedSize);
        out.push_back('\t');
        AppendColumn(out, AttributeLetters(record.Flags));
        out.push_back('\t');
        if (record.Locale != 0) AppendColumn(out, LocaleTag(record.Locale));
        out.push_back('\n');
        if (out.size() >= kChunk) {
            std::fwrite(out.data(), 1, out.size(), stdout);
            out.clear();
        }
    }
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fflush(stdout);
}
