#include "listing/classic_listing.h"

#include <QLocale>

#include <array>
#include <cmath>
#include <utility>

#include "config/app_config.h"
#include "config/catalogue.h"
#include "editing/helpers/paths.h"
#include "listing/explorer_listing.h"
#include "listing/name_sources.h"
#include "listing/slot_progress.h"
#include "listing/text_encoding.h"

namespace {

const QLocale &UserLocale()
{
    static const QLocale locale = [] {
        QLocale l = QLocale::system();
        l.setNumberOptions(l.numberOptions() & ~QLocale::OmitGroupSeparator);
        return l;
    }();
    return locale;
}

// Numbers in the user's locale, quickly: a list of a hundred thousand rows
// formats three numbers a row. Digits are grouped by three with the locale's
// symbols; a locale that writes numbers otherwise (other digits, other
// groupings) is left to QLocale, which the first use checks against.
class NumberFormat {
public:
    NumberFormat()
    {
        const QLocale &l = UserLocale();
        group_ = l.groupSeparator();
        decimal_ = l.decimalPoint();
        minus_ = l.negativeSign();
        percent_ = l.percent();
        fast_ = l.zeroDigit() == QLatin1String("0") &&
                Whole(1234567890u) == l.toString(qulonglong{1234567890u}) && Whole(12u) == l.toString(12) &&
                Fixed2(-1234.5678) == l.toString(-1234.5678, 'f', 2) && Fixed2(0.5) == l.toString(0.5, 'f', 2);
    }

    QString Size(std::uint32_t value) const
    {
        return fast_ ? Whole(value) : UserLocale().toString(qulonglong{value});
    }

    // The saving of a stored file, in percent with two decimals.
    QString Saving(std::uint32_t fullSize, std::uint32_t compressedSize) const
    {
        if (fullSize == 0) return fast_ ? Hundredths(0, percent_) : UserLocale().toString(0.0, 'f', 2) + percent_;
        if (!fast_) {
            const double saving = 1.0 - static_cast<double>(compressedSize) / static_cast<double>(fullSize);
            return UserLocale().toString(saving * 100.0, 'f', 2) + percent_;
        }
        // Exact: (full - compressed) / full in hundredths of a percent, rounded half away from zero.
        const std::int64_t numerator = (std::int64_t{fullSize} - std::int64_t{compressedSize}) * 10000;
        const std::int64_t full = fullSize;
        const std::int64_t rounded = numerator >= 0 ? (numerator + full / 2) / full : -((-numerator + full / 2) / full);
        return Hundredths(rounded, percent_, numerator < 0);
    }

    const QString &PercentSign() const { return percent_; }

private:
    // prefix, the digits grouped by three, then the tails: one allocation.
    QString Grouped(QStringView prefix, const char *digits, int length, QStringView tail1 = {},
                    QStringView tail2 = {}, QStringView tail3 = {}) const
    {
        const qsizetype needed = prefix.size() + length + (length / 3) * group_.size() + tail1.size() +
                                 tail2.size() + tail3.size();
        QString text(needed, Qt::Uninitialized);
        QChar *out = text.data();
        auto put = [&out](QStringView part) {
            for (QChar c : part) *out++ = c;
        };
        put(prefix);
        for (int i = 0; i < length; ++i) {
            if (i > 0 && (length - i) % 3 == 0) put(group_);
            *out++ = QLatin1Char(digits[i]);
        }
        put(tail1);
        put(tail2);
        put(tail3);
        text.truncate(out - text.constData());
        return text;
    }

    static int Digits(std::uint64_t value, char *buffer)  // buffer of 20; returns the count
    {
        char reversed[20];
        int n = 0;
        do {
            reversed[n++] = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value != 0);
        for (int i = 0; i < n; ++i) buffer[i] = reversed[n - 1 - i];
        return n;
    }

    QString Whole(std::uint64_t value) const
    {
        char digits[20];
        return Grouped(QStringView(), digits, Digits(value, digits));
    }

    // Hundredths as "-1,234.56", then `suffix`.
    QString Hundredths(std::int64_t hundredths, const QString &suffix = QString(), bool negative = false) const
    {
        negative = negative || hundredths < 0;  // a negative value that rounds to zero keeps its sign
        const std::uint64_t magnitude = hundredths < 0 ? std::uint64_t(-hundredths) : std::uint64_t(hundredths);
        char digits[20];
        const int n = Digits(magnitude / 100, digits);
        const char16_t fraction[2] = {static_cast<char16_t>('0' + magnitude / 10 % 10),
                                      static_cast<char16_t>('0' + magnitude % 10)};
        return Grouped(negative ? QStringView(minus_) : QStringView(), digits, n, decimal_,
                       QStringView(fraction, 2), suffix);
    }

    QString Fixed2(double value) const { return Hundredths(std::llround(value * 100.0), QString(), value < 0); }

    QString group_, decimal_, minus_, percent_;
    bool fast_ = false;
};

const NumberFormat &Numbers()
{
    static const NumberFormat format;
    return format;
}

}  // namespace

QString FormatSize(std::uint32_t bytes) { return Numbers().Size(bytes); }

QString FormatRatio(std::uint32_t fullSize, std::uint32_t compressedSize)
{
    return Numbers().Saving(fullSize, compressedSize);
}

QString FormatPercent(double fraction)
{
    return UserLocale().toString(fraction * 100.0, 'f', 0) + Numbers().PercentSign();
}

QString FormatLength(qint64 bytes) { return UserLocale().toString(bytes); }

QString FormatSaving(double fraction)
{
    return UserLocale().toString(fraction * 100.0, 'f', 2) + Numbers().PercentSign();
}

QString AttributeLetters(std::uint32_t flags)
{
    // Eight possible texts, made once and shared by every row.
    static const std::array<QString, 8> texts = [] {
        std::array<QString, 8> t;
        for (int i = 0; i < 8; ++i) {
            t[static_cast<std::size_t>(i)] = QString::fromLatin1(i & 1 ? "C" : "-") +
                                             QLatin1String(i & 2 ? "E" : "-") + QLatin1String(i & 4 ? "X" : "-");
        }
        return t;
    }();
    const int index = ((flags & (mpq::MAFA_FLAG_IMPLODE | mpq::MAFA_FLAG_COMPRESS)) ? 1 : 0) |
                      ((flags & mpq::MAFA_FLAG_ENCRYPT) ? 2 : 0) | ((flags & mpq::MAFA_FLAG_MODCRYPTKEY) ? 4 : 0);
    return texts[static_cast<std::size_t>(index)];
}

namespace {

// The row of a record whose display name is known decoded already.
ListRow MakeListRow(const mpq::FileListEntry &record, const QByteArray &displayName, QString text)
{
    ListRow row;
    row.columns[ListRow::Name] = std::move(text);
    row.Tag = displayName;
    row.columns[ListRow::Ext] = GetExtension(row.columns[ListRow::Name]);
    row.columns[ListRow::Size] = FormatSize(record.FullSize);
    row.columns[ListRow::Compressed] = FormatSize(record.CompressedSize);
    row.columns[ListRow::Ratio] = FormatRatio(record.FullSize, record.CompressedSize);
    row.columns[ListRow::Attribute] = AttributeLetters(record.Flags);
    row.FullSize = record.FullSize;
    row.CompressedSize = record.CompressedSize;
    row.Flags = record.Flags;
    return row;
}

}  // namespace

ListRow MakeListRow(const mpq::FileListEntry &record, const QByteArray &displayName)
{
    return MakeListRow(record, displayName, DecodeBytes(displayName));
}

RecordFilter::RecordFilter(const QString &folder) : all_(false), folderKey_(UpperKey(folder)) {}

bool RecordFilter::Passes(const QString &name) const
{
    if (all_) return true;
    const qsizetype length = folderKey_.size();
    if (name.size() < length) return false;
    const QChar *text = name.constData();
    const QChar *key = folderKey_.constData();
    for (qsizetype i = 0; i < length; ++i)
        if (text[i].toUpper() != key[i]) return false;
    // A file of a subfolder has another "\" behind the folder.
    return name.indexOf(QLatin1Char('\\'), length) < 0;
}

void ListArchiveRecords(mpq::MpqHandle archive, const QString &path, const AppConfig &config,
                        ListingPorts &ports, const RecordFilter &filter, bool clearRows, qint64 *totalSize)
{
    const std::int64_t n = mpq::SFileGetFileInfo(archive, mpq::SFILE_INFO_HASH_TABLE_SIZE);
    if (n <= 1) return;
    std::vector<mpq::FileListEntry> records(static_cast<std::size_t>(n) + 1);
    BuildFileLists(archive, path, records, config, ports.status);
    SlotProgress progress(ports, n);
    progress.Start();
    if (clearRows) ports.rows.ClearRows();
    ports.rows.SetSorted(false);
    const bool autoDetect = config.AutoDetectFile != 0;
    for (std::int64_t i = 0; i <= n; ++i) {
        const mpq::FileListEntry &record = records[static_cast<std::size_t>(i)];
        if (record.FileExists != 0) {
            const QByteArray stored = QByteArray::fromStdString(record.StoredName);
            QString name = DecodeBytes(stored);
            if (filter.Passes(name)) {
                const QByteArray shown = ProbeUnknownEntry(archive, stored, autoDetect);
                // The probe only ever appends an extension.
                ports.rows.AddRow(shown.size() == stored.size() ? MakeListRow(record, shown, std::move(name))
                                                                 : MakeListRow(record, shown));
                if (totalSize != nullptr) *totalSize += record.FullSize;
            }
        }
        progress.Step(i);
    }
    ports.rows.SetSorted(true);
    progress.Finish();
}

bool LoadArchiveClassic(const QString &path, const AppConfig &config, ListingPorts &ports,
                        qint64 &totalSize)
{
    if (path.isEmpty() || !IsFile(path)) return false;
    totalSize = 0;
    const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(path).toStdString());
    ListArchiveRecords(archive.get(), path, config, ports, RecordFilter(), false, &totalSize);
    return true;
}
