#include "listing/classic_listing.h"

#include <QLocale>

#include "config/app_config.h"
#include "config/catalogue.h"
#include "editing/helpers/paths.h"
#include "listing/name_sources.h"
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

}  // namespace

QString FormatSize(std::uint32_t bytes) { return UserLocale().toString(qulonglong{bytes}); }

QString FormatRatio(std::uint32_t fullSize, std::uint32_t compressedSize)
{
    double saving = 0.0;
    if (fullSize > 0) saving = 1.0 - static_cast<double>(compressedSize) / static_cast<double>(fullSize);
    return UserLocale().toString(saving * 100.0, 'f', 2) + UserLocale().percent();
}

QString FormatPercent(double fraction)
{
    return UserLocale().toString(fraction * 100.0, 'f', 0) + UserLocale().percent();
}

QString AttributeLetters(std::uint32_t flags)
{
    QString letters = QStringLiteral("---");
    if (flags & (mpq::MAFA_FLAG_IMPLODE | mpq::MAFA_FLAG_COMPRESS)) letters[0] = QLatin1Char('C');
    if (flags & mpq::MAFA_FLAG_ENCRYPT) letters[1] = QLatin1Char('E');
    if (flags & mpq::MAFA_FLAG_MODCRYPTKEY) letters[2] = QLatin1Char('X');
    return letters;
}

ListRow MakeListRow(const mpq::FileListEntry &record, const QByteArray &displayName)
{
    ListRow row;
    row.columns[ListRow::Name] = DecodeBytes(displayName);
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

bool LoadArchiveClassic(const QString &path, const AppConfig &config, ListingPorts &ports,
                        qint64 &totalSize)
{
    if (path.isEmpty() || !IsFile(path)) return false;
    totalSize = 0;
    mpq::MpqHandle archive = nullptr;
    mpq::SFileOpenArchive(PathBytes(path).toStdString(), 0, 0, &archive);
    const std::int64_t n = mpq::SFileGetFileInfo(archive, mpq::SFILE_INFO_HASH_TABLE_SIZE);
    if (n > 1) {
        std::vector<mpq::FileListEntry> records(static_cast<std::size_t>(n) + 1);
        BuildFileLists(archive, path, records, config, ports.status);
        ports.status.SetStatusText(ReplaceValue(Texts().StatusBarOpen, QStringLiteral("0%")));
        ports.progress.SetProgressMax(static_cast<int>(n));
        ports.progress.SetProgressVisible(true);
        ports.rows.SetSorted(false);
        const QString openText = Texts().StatusBarOpen;
        for (std::int64_t i = 0; i <= n; ++i) {
            const mpq::FileListEntry &record = records[static_cast<std::size_t>(i)];
            if (record.FileExists != 0) {
                const QByteArray name = ProbeUnknownEntry(
                    archive, QByteArray::fromStdString(record.StoredName), config.AutoDetectFile != 0);
                ports.rows.AddRow(MakeListRow(record, name));
                totalSize += record.FullSize;
            }
            ports.status.SetStatusText(ReplaceValue(openText, FormatPercent(double(i) / double(n))));
            ports.progress.SetProgressValue(static_cast<int>(i));
        }
        ports.rows.SetSorted(true);
        ports.status.SetStatusText(Texts().StatusBarReady);
        ports.progress.SetProgressVisible(false);
    }
    mpq::SFileCloseArchive(archive);
    return true;
}
