#include "tools/verify_archive.h"

#include <algorithm>

#include "config/catalogue.h"
#include "editing/archive_check.h"
#include "base/paths.h"
#include "listing/classic_listing.h"
#include "listing/locale_tags.h"
#include "base/text_encoding.h"
#include "mpq/mpq_library.h"

namespace {

// The engine's fault bits and ours, a pair each.
constexpr std::pair<std::uint32_t, FileFault> kFaults[] = {
    {mpq::VERIFY_NOT_OPENED, FaultNotOpened}, {mpq::VERIFY_NOT_READ, FaultNotRead},
    {mpq::VERIFY_SECTOR_CRC, FaultSectorChecksum}, {mpq::VERIFY_CRC32, FaultCrc32},
    {mpq::VERIFY_MD5, FaultMd5}, {mpq::VERIFY_RAW_MD5, FaultRawMd5},
    {mpq::VERIFY_ENGINE_FAILED, FaultEngine},
};

quint32 FaultsOf(std::uint32_t engineFaults)
{
    quint32 faults = 0;
    for (const auto &[engine, fault] : kFaults)
        if (engineFaults & engine) faults |= fault;
    return faults;
}

SignatureVerdict VerdictOf(mpq::SignatureCheck check)
{
    switch (check) {
    case mpq::SignatureCheck::WeakValid: return SignatureVerdict::WeakValid;
    case mpq::SignatureCheck::StrongValid: return SignatureVerdict::StrongValid;
    case mpq::SignatureCheck::Mismatch: return SignatureVerdict::Mismatch;
    case mpq::SignatureCheck::None: break;
    }
    return SignatureVerdict::None;
}

}  // namespace

VerifyReport VerifyArchive(const QString &path, const ListingOptions &options, StatusPanel &status,
                           ProgressBar &progress, EventQueue &events)
{
    VerifyReport report;
    // The listing is the check: no other opening before it.
    report.archive = CheckPath(path);
    if (report.archive != Refusal::None) return report;
    CollectingPorts rows;
    report.archive = WhyNotRead(ListArchiveRows(path, options, status, progress, rows, nullptr));
    if (report.archive != Refusal::None) return report;
    std::vector<std::string> names;
    names.reserve(rows.rows.size());
    for (const ListRow &row : rows.rows) names.push_back(row.Tag.toStdString());

    progress.SetProgressMax(static_cast<int>(names.size()));  // a hash table holds fewer slots
    progress.SetProgressValue(0);
    progress.SetProgressVisible(true);
    events.BeginBatch(static_cast<int>(names.size()));
    const mpq::ArchiveVerdict verdict =
        mpq::VerifyArchiveFiles(PathBytes(path).toStdString(), names, [&](std::size_t n) {
            progress.SetProgressValue(static_cast<int>(n));
            if (n > 0) events.Yield();
            return !events.Cancelled();
        });
    progress.SetProgressVisible(false);
    status.SetStatusText(options.ready);
    // The archive was there for the listing; one that goes before the check is no archive.
    if (!verdict.opened) {
        report.archive = Refusal::NotAnArchive;
        return report;
    }
    report.filesChecked = verdict.filesChecked;
    for (const mpq::FileVerdict &file : verdict.faulty)
        report.faulty.append({QByteArray::fromStdString(file.storedName), FaultsOf(file.faults)});
    report.signature = VerdictOf(verdict.signature);
    if (verdict.stopped) report.filesLeft = static_cast<qint64>(names.size()) - report.filesChecked;
    return report;
}

QStringList VerifyReportLines(const VerifyReport &report, qsizetype shownFiles)
{
    const MessageStrings &t = Texts();
    QStringList lines{ReplaceValue(t.MessageVerifyChecked, QString::number(report.filesChecked)),
                      ReplaceValue(t.MessageVerifyFaulty, QString::number(report.faulty.size()))};
    const std::pair<FileFault, const QString *> kinds[] = {
        {FaultNotOpened, &t.FaultNotOpened}, {FaultNotRead, &t.FaultNotRead}, {FaultSectorChecksum, &t.FaultSectorChecksum},
        {FaultCrc32, &t.FaultCrc32},         {FaultMd5, &t.FaultMd5},         {FaultRawMd5, &t.FaultRawMd5},
        {FaultEngine, &t.FaultEngine}};
    const qsizetype shown = shownFiles < 0 ? report.faulty.size() : std::min(shownFiles, report.faulty.size());
    for (const FaultyFile &file : report.faulty.first(shown)) {
        QStringList faults;
        for (const auto &[bit, text] : kinds)
            if (file.faults & bit) faults.append(*text);
        lines.append(ShownName(file.name) + QStringLiteral(": ") + faults.join(QStringLiteral("; ")));
    }
    if (shown < report.faulty.size())
        lines.append(ReplaceValue(t.MessageVerifyMore, QString::number(report.faulty.size() - shown)));
    const QString *signature[] = {&t.SignatureNone, &t.SignatureWeak, &t.SignatureStrong, &t.SignatureMismatch};
    lines.append(report.filesLeft > 0 ? ReplaceValue(t.MessageVerifyStopped, QString::number(report.filesLeft))
                                      : *signature[static_cast<int>(report.signature)]);
    return lines;
}
