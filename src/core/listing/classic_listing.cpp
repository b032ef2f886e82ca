#include "listing/classic_listing.h"

#include <QFileInfo>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <set>

#include "boundary/child_work.h"

#include "listing/name_sources.h"
#include "base/paths.h"
#include "listing/slot_progress.h"
#include "base/text_encoding.h"

namespace {

// What the engine must not read again in a listing: the nameless records
// whose probe took it down, and the archive's own files when reading them
// for names did.
struct ListingSkips {
    std::set<std::size_t> unprobed;
    bool noRecovery = false;
};

// Reads the records and names them, with the progress of the walk over
// them; the progress is left at its end for the caller to finish. Before a
// nameless record is probed for its type, `probing` hears of it.
SlotProgress NameRecords(mpq::MpqHandle archive, const QString &path, const ListingOptions &options, StatusPanel &status,
                         ProgressBar &progress, mpq::FileList &records, qint64 *totalSize,
                         const ListingSkips &skips = {}, const std::function<void(std::size_t)> &probing = {})
{
    BuildFileLists(archive, path, records, options, status);
    SlotProgress shown(status, progress, options, static_cast<std::int64_t>(records.size()));
    shown.Start();
    for (std::size_t i = 0; i < records.size(); ++i) {
        // The list text names no nameless record: its names stay unread here.
        const std::string_view name = options.autoDetect && !records.FromListText(i) ? records.Name(i) : std::string_view();
        if (name.find(mpq::kUnknownPrefix) != std::string_view::npos && !skips.unprobed.count(i)) {
            if (probing) probing(i);
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

void NameArchiveRecordsHere(mpq::MpqHandle archive, const QString &path, const ListingOptions &options,
                            StatusPanel &status, ProgressBar &progress, mpq::FileList &records, qint64 *totalSize)
{
    records.Clear();
    if (mpq::SFileGetFileInfo(archive, mpq::SFILE_INFO_HASH_TABLE_SIZE) <= 1) return;
    NameRecords(archive, path, options, status, progress, records, totalSize).Finish();
}

namespace {

// What the child of a listing returns.
enum ListingExit : int { kListed = 0, kNotOpened = 1, kNoTable = 2, kNotSaved = 3 };

}  // namespace

RecordsRead ReadArchiveRecords(const QString &path, const ListingOptions &options, StatusPanel &status,
                               ProgressBar &progress, mpq::FileList &records, qint64 *totalSize, EventQueue *events)
{
    records.Clear();
    const bool file = IsFile(path);
    const bool content = file && QFileInfo(path).size() > 0;
    const auto say = [&](const QString &text) {
        if (!path.isEmpty() && !text.isEmpty() && (!file || content)) status.SetStatusText(ListingOptions::Put(text, path));
    };
    if (!content) {
        say(options.notOpened);
        return RecordsRead::NoArchive;
    }
    // The child writes the records here; this process reads them back.
    const int shared = ::memfd_create("arcavera-listing", MFD_CLOEXEC);
    if (shared < 0) return RecordsRead::NoArchive;
    // A listing that takes the engine down is tried again without what it
    // was reading then: the probe of that nameless record, or the reading of
    // the archive's own files for names. Only what is left is damage.
    ListingSkips skips;
    ListingOptions tried = options;
    RecordsRead result = RecordsRead::NoArchive;
    mpq::ChildLimits limits = ArchiveLimits(path);
    limits.stallMilliseconds = 5000;  // progress comes at every percent
    limits.stopByKill = true;         // a listing only reads: a Cancel ends it at once
    bool careful = false;  // each probe told at once, so that the one the engine dies on is known
    for (int attempt = 0; attempt < 4; ++attempt) {
        qint64 total = 0;
        std::int64_t inProbe = -1;
        bool malformed = false;
        NoEvents none;
        if (::ftruncate(shared, 0) != 0 || ::lseek(shared, 0, SEEK_SET) != 0) break;
        const ChildRun run = RunInChildProcess(
            [&](ChildPorts &ports) {
                ports.SetItemsAtOnce(careful);
                const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(path).toStdString());
                if (!archive) return int(kNotOpened);
                if (mpq::SFileGetFileInfo(archive.get(), mpq::SFILE_INFO_HASH_TABLE_SIZE) <= 1) return int(kNoTable);
                if (mpq::SFileGetFileInfo(archive.get(), mpq::SFILE_INFO_MALFORMED) == 1) ports.ItemDone("M");
                mpq::FileList named;
                qint64 sizes = 0;
                NameRecords(archive.get(), path, tried, ports, ports, named, &sizes, skips, [&](std::size_t i) {
                    const std::int64_t index = static_cast<std::int64_t>(i);
                    ports.ItemDone(QByteArray(1, 'p') + QByteArray(reinterpret_cast<const char *>(&index), sizeof index));
                }).Finish();
                ports.ItemDone(QByteArray(1, 't') + QByteArray(reinterpret_cast<const char *>(&sizes), sizeof sizes));
                return named.Save(shared) ? int(kListed) : int(kNotSaved);
            },
            status, &progress, events != nullptr ? *events : none,
            [&](QByteArrayView item) {
                if (item == "M") malformed = true;
                if (item.size() != 1 + 8) return;
                if (item.front() == 'p') std::memcpy(&inProbe, item.data() + 1, 8);
                if (item.front() == 't') {
                    std::memcpy(&total, item.data() + 1, 8);
                    inProbe = -1;
                }
            },
            limits);
        if (run.outcome == mpq::ChildOutcome::Cancelled) {
            say(options.stopped);
            ::close(shared);
            return RecordsRead::Stopped;
        }
        if (run.Failed()) {
            if (!careful) careful = true;
            else if (inProbe >= 0) skips.unprobed.insert(static_cast<std::size_t>(inProbe));
            else if (tried.recoverNames) tried.recoverNames = false;
            else break;
            continue;
        }
        if (run.outcome == mpq::ChildOutcome::Finished && run.status == kListed) {
            result = ::lseek(shared, 0, SEEK_SET) == 0 && records.Load(shared) ? RecordsRead::Listed : RecordsRead::NoArchive;
            if (result == RecordsRead::Listed && totalSize != nullptr) *totalSize += total;
            if (result == RecordsRead::Listed && malformed) {
                say(options.malformed);
                result = RecordsRead::Malformed;
            }
        } else if (run.outcome == mpq::ChildOutcome::Finished && run.status == kNoTable) {
            result = RecordsRead::Empty;
        } else {
            say(options.notOpened);
        }
        ::close(shared);
        return result;
    }
    say(options.damaged);
    ::close(shared);
    return RecordsRead::Damaged;
}

RecordsRead ListArchiveRows(const QString &path, const ListingOptions &options, StatusPanel &status,
                            ProgressBar &progress, RowSink &rows, qint64 *totalSize, EventQueue *events)
{
    mpq::FileList records;
    const RecordsRead read = ReadArchiveRecords(path, options, status, progress, records, totalSize, events);
    if (records.empty()) return read;
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
    return read;
}

bool LoadArchiveClassic(const QString &path, const ListingOptions &options, ListingPorts &ports,
                        qint64 &totalSize)
{
    if (path.isEmpty() || !IsFile(path)) {
        ListArchiveRows(path, options, ports.status, ports.progress, ports.rows, nullptr);  // says why
        return false;
    }
    totalSize = 0;
    ListArchiveRows(path, options, ports.status, ports.progress, ports.rows, &totalSize, ports.events);
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
