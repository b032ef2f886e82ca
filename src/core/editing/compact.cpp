#include "editing/compact.h"

#include <QFileInfo>

#include <string>
#include <vector>

#include "editing/archive_check.h"
#include "listing/classic_listing.h"
#include "listing/text_encoding.h"
#include "mpq/mpq_library.h"

namespace {

void ShowCompactProgress(void *context, std::uint64_t done, std::uint64_t total)
{
    if (total > 0) static_cast<ProgressBar *>(context)->SetProgressValue(static_cast<int>(done * 100 / total));
}

Refusal RefusalOf(mpq::CompactResult result)
{
    switch (result) {
    case mpq::CompactResult::Done: return Refusal::None;
    case mpq::CompactResult::NotAnArchive: return Refusal::NotAnArchive;
    case mpq::CompactResult::NotWritable: return Refusal::NotWritable;
    case mpq::CompactResult::Nameless: return Refusal::Nameless;
    case mpq::CompactResult::NotWritten: break;
    }
    return Refusal::ArchiveNotWritten;
}

}  // namespace

CompactReport CompactArchive(const QString &path, const ListingOptions &options, ProgressBar &progress)
{
    CompactReport report;
    report.archive = CheckArchive(path, ArchiveUse::Change);
    if (report.archive != Refusal::None) return report;
    report.sizeBefore = report.sizeAfter = QFileInfo(path).size();

    std::vector<std::string> stored;
    for (const QByteArray &name : ListStoredNames(path, options)) {
        if (name.startsWith(mpq::kUnknownPrefix)) report.nameless.append(name);
        stored.push_back(name.toStdString());
    }
    if (!report.nameless.isEmpty()) {
        report.archive = Refusal::Nameless;
        return report;
    }
    progress.SetProgressMax(100);
    progress.SetProgressValue(0);
    progress.SetProgressVisible(true);
    report.archive = RefusalOf(mpq::MpqCompactArchive(PathBytes(path).toStdString(), stored, ShowCompactProgress, &progress));
    progress.SetProgressVisible(false);
    report.sizeAfter = QFileInfo(path).size();
    return report;
}
