#include "cli_output.h"

#include <cstdio>
#include <string>
#include <string_view>

#include "exit_status.h"
#include "listing/locale_tags.h"
#include "base/text_encoding.h"

void PrintError(const QString &message)
{
    std::fprintf(stderr, "arcavera-cli: %s\n", EscapeControls(message).toUtf8().constData());
}

// Why `path` is no archive to read or change, said on standard error, as
// its exit status; 0 when it is one.
int ReportArchiveCheck(const QString &path, Refusal why)
{
    switch (why) {
    case Refusal::Missing:
        PrintError(QStringLiteral("%1: no such file").arg(path));
        break;
    case Refusal::WrongKind:
        PrintError(QStringLiteral("%1: is a folder, not an archive").arg(path));
        break;
    case Refusal::EmptyFile:
        PrintError(QStringLiteral("%1: is empty, it holds no MPQ archive; left as it is").arg(path));
        break;
    case Refusal::NotAnArchive:
        PrintError(QStringLiteral("%1: holds no MPQ archive").arg(path));
        break;
    case Refusal::Damaged:
        PrintError(QStringLiteral("%1: damaged, reading it stopped the engine").arg(path));
        break;
    case Refusal::Malformed:
        PrintError(QStringLiteral("%1: a malformed archive (a protected map): it can be read, never changed").arg(path));
        break;
    default:
        break;
    }
    return ExitStatus(why);
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

QString ShownName(const QByteArray &storedName)
{
    const std::uint16_t locale = NameLocale(storedName);
    const QString text = DecodeBytes(BareName(storedName));
    return locale == 0 ? text : QStringLiteral("%1 [%2]").arg(text, LocaleTag(locale));
}

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
