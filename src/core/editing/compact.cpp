#include "editing/compact.h"

#include <QFileInfo>

#include <algorithm>

#include <string>
#include <vector>

#include "editing/archive_check.h"
#include "listing/classic_listing.h"
#include "base/text_encoding.h"
#include "mpq/mpq_library.h"

namespace {

// The engine's progress in bytes, shown as a percentage and as the files of
// a batch.
struct CompactSteps {
    ProgressBar &progress;
    EventQueue &events;
    std::uint64_t files;
    std::uint64_t turns = 0;
};

bool ShowCompactProgress(void *context, std::uint64_t done, std::uint64_t total)
{
    auto *steps = static_cast<CompactSteps *>(context);
    if (total == 0) total = 1;
    done = std::min(done, total);
    steps->progress.SetProgressValue(static_cast<int>(done * 100 / total));
    const std::uint64_t reached = done * steps->files / total;
    if (reached == steps->turns) steps->events.Wait();
    for (; steps->turns < reached; ++steps->turns) steps->events.Yield();
    return !steps->events.Cancelled();
}

Refusal RefusalOf(mpq::CompactResult result)
{
    switch (result) {
    case mpq::CompactResult::Done: return Refusal::None;
    case mpq::CompactResult::NotAnArchive: return Refusal::NotAnArchive;
    case mpq::CompactResult::NotWritable: return Refusal::NotWritable;
    case mpq::CompactResult::Nameless: return Refusal::Nameless;
    case mpq::CompactResult::NotWritten:
    case mpq::CompactResult::Cancelled: break;
    }
    return Refusal::ArchiveNotWritten;
}

}  // namespace

CompactReport CompactArchive(const QString &path, const ListingOptions &options, ProgressBar &progress,
                             EventQueue &events)
{
    CompactReport report;
    // The listing is the check: no other opening before it.
    report.archive = IsFile(path) && QFileInfo(path).size() == 0 ? Refusal::EmptyFile : CheckPath(path);
    if (report.archive != Refusal::None) return report;
    report.sizeBefore = report.sizeAfter = QFileInfo(path).size();

    ListingOptions names = options;
    names.autoDetect = false;  // the stored names, as the engine takes them
    CollectingPorts quiet;
    switch (ListArchiveRows(path, names, quiet, quiet, quiet, nullptr)) {
    case RecordsRead::NoArchive: report.archive = Refusal::NotAnArchive; return report;
    case RecordsRead::Damaged: report.archive = Refusal::Damaged; return report;
    case RecordsRead::Malformed: report.archive = Refusal::Malformed; return report;
    case RecordsRead::Stopped: report.archive = Refusal::ArchiveNotWritten; return report;
    case RecordsRead::Listed:
    case RecordsRead::Empty: break;
    }
    // The engine says which nameless files, if any, it could not rewrite.
    std::vector<std::string> stored, nameless;
    for (const ListRow &row : quiet.rows)
        if (!row.Tag.startsWith(mpq::kUnknownPrefix)) stored.push_back(row.Tag.toStdString());
    progress.SetProgressMax(100);
    progress.SetProgressValue(0);
    progress.SetProgressVisible(true);
    events.BeginBatch(static_cast<int>(quiet.rows.size()));
    CompactSteps steps{progress, events, static_cast<std::uint64_t>(quiet.rows.size())};
    const mpq::CompactResult result =
        mpq::MpqCompactArchive(PathBytes(path).toStdString(), stored, ShowCompactProgress, &steps, &nameless);
    for (const std::string &name : nameless) report.nameless.append(QByteArray::fromStdString(name));
    report.archive = RefusalOf(result);
    report.cancelled = result == mpq::CompactResult::Cancelled;
    progress.SetProgressVisible(false);
    report.sizeAfter = QFileInfo(path).size();
    return report;
}
