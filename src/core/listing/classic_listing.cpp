#include "listing/classic_listing.h"

#include <QFileInfo>

#include "listing/name_sources.h"
#include "listing/names.h"
#include "listing/slot_progress.h"
#include "listing/text_encoding.h"

ListRow MakeListRow(const mpq::FileListEntry &record, const QByteArray &displayName)
{
    ListRow row;
    row.Tag = displayName;
    row.FullSize = record.FullSize;
    row.CompressedSize = record.CompressedSize;
    row.Flags = record.Flags;
    return row;
}

void ListArchiveRows(mpq::MpqHandle archive, const QString &path, const ListingOptions &options,
                     StatusPanel &status, ProgressBar &progress, RowSink &rows, qint64 *totalSize)
{
    const std::int64_t n = mpq::SFileGetFileInfo(archive, mpq::SFILE_INFO_HASH_TABLE_SIZE);
    if (n <= 1) return;
    std::vector<mpq::FileListEntry> records;
    BuildFileLists(archive, path, records, options, status);
    SlotProgress shown(status, progress, options, static_cast<std::int64_t>(records.size()));
    shown.Start();
    rows.SetSorted(false);
    rows.ReserveRows(records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        mpq::FileListEntry &record = records[i];
        const QByteArray stored = QByteArray::fromStdString(record.StoredName);
        std::string().swap(record.StoredName);  // the row holds the name now
        rows.AddRow(MakeListRow(record, ProbeUnknownEntry(archive, stored, options.autoDetect, options.recoverNames)));
        if (totalSize != nullptr) *totalSize += record.FullSize;
        shown.Step(static_cast<std::int64_t>(i) + 1);
    }
    std::vector<mpq::FileListEntry>().swap(records);  // the rows hold it all: gone before they are sorted
    rows.SetSorted(true);
    shown.Finish();
}

mpq::Archive OpenForListing(const QString &path, const ListingOptions &options, StatusPanel &status)
{
    const bool file = IsFile(path);
    mpq::Archive archive = file ? mpq::SFileOpenArchive(PathBytes(path).toStdString()) : nullptr;
    if (!archive && !path.isEmpty() && !options.notOpened.isEmpty() && (!file || QFileInfo(path).size() > 0))
        status.SetStatusText(ListingOptions::Put(options.notOpened, path));
    return archive;
}

bool LoadArchiveClassic(const QString &path, const ListingOptions &options, ListingPorts &ports,
                        qint64 &totalSize)
{
    const mpq::Archive archive = OpenForListing(path, options, ports.status);
    if (path.isEmpty() || !IsFile(path)) return false;
    return ListArchiveClassic(archive.get(), path, options, ports, totalSize);
}

bool ListArchiveClassic(mpq::MpqHandle archive, const QString &path, const ListingOptions &options,
                        ListingPorts &ports, qint64 &totalSize)
{
    totalSize = 0;
    ListArchiveRows(archive, path, options, ports.status, ports.progress, ports.rows, &totalSize);
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
