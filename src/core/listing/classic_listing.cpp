#include "listing/classic_listing.h"

#include <QFileInfo>

#include "listing/name_sources.h"
#include "listing/names.h"
#include "listing/slot_progress.h"
#include "listing/text_encoding.h"

namespace {

// Reads the records and names them, with the progress of the walk over
// them; the progress is left at its end for the caller to finish.
SlotProgress NameRecords(mpq::MpqHandle archive, const QString &path, const ListingOptions &options, StatusPanel &status,
                         ProgressBar &progress, mpq::FileList &records, qint64 *totalSize)
{
    BuildFileLists(archive, path, records, options, status);
    SlotProgress shown(status, progress, options, static_cast<std::int64_t>(records.size()));
    shown.Start();
    for (std::size_t i = 0; i < records.size(); ++i) {
        // The list text names no nameless record: its names stay unread here.
        const std::string_view name = options.autoDetect && !records.FromListText(i) ? records.Name(i) : std::string_view();
        if (name.find(mpq::kUnknownPrefix) != std::string_view::npos) {
            const QByteArray probed = ProbeUnknownEntry(archive, QByteArray(name.data(), static_cast<qsizetype>(name.size())), true, options.recoverNames);
            if (static_cast<std::size_t>(probed.size()) != name.size())  // its type's extension behind it
                records.Rename(i, std::string_view(probed.constData(), static_cast<std::size_t>(probed.size())));
        }
        if (totalSize != nullptr) *totalSize += records[i].FullSize;
        shown.Step(static_cast<std::int64_t>(i) + 1);
    }
    return shown;
}

}  // namespace

void ListArchiveRecords(mpq::MpqHandle archive, const QString &path, const ListingOptions &options,
                        StatusPanel &status, ProgressBar &progress, mpq::FileList &records, qint64 *totalSize)
{
    records.Clear();
    if (mpq::SFileGetFileInfo(archive, mpq::SFILE_INFO_HASH_TABLE_SIZE) <= 1) return;
    NameRecords(archive, path, options, status, progress, records, totalSize).Finish();
}

void ListArchiveRows(mpq::Archive archive, const QString &path, const ListingOptions &options,
                     StatusPanel &status, ProgressBar &progress, RowSink &rows, qint64 *totalSize)
{
    if (mpq::SFileGetFileInfo(archive.get(), mpq::SFILE_INFO_HASH_TABLE_SIZE) <= 1) return;
    mpq::FileList records;
    SlotProgress shown = NameRecords(archive.get(), path, options, status, progress, records, totalSize);
    archive.reset();  // the records hold all the rows need
    rows.SetSorted(false);
    rows.ReserveRows(records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        const std::string_view name = records.Name(i);
        ListRow row;
        row.Tag = QByteArray(name.data(), static_cast<qsizetype>(name.size()));
        row.FullSize = records[i].FullSize;
        row.CompressedSize = records[i].CompressedSize;
        row.Flags = records[i].Flags;
        rows.AddRow(std::move(row));
    }
    records.Clear();  // the rows hold it all: gone before they are sorted
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
    mpq::Archive archive = OpenForListing(path, options, ports.status);
    if (path.isEmpty() || !IsFile(path)) return false;
    totalSize = 0;
    ListArchiveRows(std::move(archive), path, options, ports.status, ports.progress, ports.rows, &totalSize);
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
