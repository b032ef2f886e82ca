#include "listing/classic_listing.h"

#include <utility>

#include "listing/explorer_listing.h"
#include "listing/name_sources.h"
#include "listing/names.h"
#include "listing/slot_progress.h"
#include "listing/text_encoding.h"

namespace {

// The row of a record whose display name is known decoded already.
ListRow MakeListRow(const mpq::FileListEntry &record, const QByteArray &displayName, QString text)
{
    ListRow row;
    row.Tag = displayName;
    row.Text = std::move(text);
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

void ListArchiveRecords(mpq::MpqHandle archive, const QString &path, const ListingOptions &options,
                        ListingPorts &ports, const RecordFilter &filter, bool clearRows, qint64 *totalSize)
{
    const std::int64_t n = mpq::SFileGetFileInfo(archive, mpq::SFILE_INFO_HASH_TABLE_SIZE);
    if (n <= 1) return;
    std::vector<mpq::FileListEntry> records(static_cast<std::size_t>(n) + 1);
    BuildFileLists(archive, path, records, options, ports.status);
    SlotProgress progress(ports, options, n);
    progress.Start();
    if (clearRows) ports.rows.ClearRows();
    ports.rows.SetSorted(false);
    for (std::int64_t i = 0; i <= n; ++i) {
        const mpq::FileListEntry &record = records[static_cast<std::size_t>(i)];
        if (record.FileExists != 0) {
            const QByteArray stored = QByteArray::fromStdString(record.StoredName);
            QString name = DecodeBytes(stored);
            if (filter.Passes(name)) {
                const QByteArray shown = ProbeUnknownEntry(archive, stored, options.autoDetect, options.recoverNames);
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

bool LoadArchiveClassic(const QString &path, const ListingOptions &options, ListingPorts &ports,
                        qint64 &totalSize)
{
    if (path.isEmpty() || !IsFile(path)) return false;
    totalSize = 0;
    const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(path).toStdString());
    ListArchiveRecords(archive.get(), path, options, ports, RecordFilter(), false, &totalSize);
    return true;
}

QList<QByteArray> ListStoredNames(const QString &path, const ListingOptions &options)
{
    CollectingPorts quiet;
    ListingPorts ports{quiet, quiet, quiet};
    ListingOptions stored = options;
    stored.autoDetect = false;
    qint64 totalSize = 0;
    LoadArchiveClassic(path, stored, ports, totalSize);
    QList<QByteArray> names;
    names.reserve(static_cast<qsizetype>(quiet.rows.size()));
    for (const ListRow &row : quiet.rows) names.append(row.Tag);
    return names;
}
