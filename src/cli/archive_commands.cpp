// arcavera-cli list, names, info, verify, compact and create: an archive as
// a whole.
#include <QFileInfo>

#include <cstdio>

#include "base/text_encoding.h"
#include "cli_commands.h"
#include "cli_output.h"
#include "editing/archive_check.h"
#include "editing/archive_update.h"
#include "editing/compact.h"
#include "exit_status.h"
#include "listing/classic_listing.h"
#include "listing/name_scanner.h"
#include "listing/row_order.h"
#include "preview/preview_content.h"
#include "properties/archive_properties.h"
#include "tools/verify_archive.h"

int ListCommand(CommandRun &run)
{
    const QString &path = run.archive;
    // The records are sorted and printed as they are: no row is made.
    CollectingPorts quiet;
    mpq::FileList records;
    const RecordsRead read = ReadArchiveRecords(path, run.settings.listing, quiet, quiet, records, nullptr);
    if (const int status = Refuse(WhyNotRead(read), About::Archive, path)) return status;
    if (read == RecordsRead::Malformed) Tell(Say::Malformed, path);
    PrintRecords(records, SortRecords(records, run.settings.window.SortKey, run.settings.window.SortOrder));
    return 0;
}

int NamesCommand(CommandRun &run)
{
    const QString &path = run.archive;
    CollectingPorts ports;
    RecordsRead read = RecordsRead::NoArchive;
    const QList<QByteArray> names = ScanArchiveNames(path, run.settings.listing, ports, &read);
    if (const int refused = Refuse(WhyNotRead(read), About::Archive, path)) return refused;
    for (const QByteArray &name : names) std::printf("%s\n", EscapeControls(DecodeBytes(name)).toUtf8().constData());
    return 0;
}

int InfoCommand(CommandRun &run)
{
    const QString &path = run.archive;
    qint64 totalSize = 0;
    int status = 0;
    const std::vector<ListRow> rows = ListedRows(path, run.settings.listing, totalSize, status);
    if (status) return status;

    const ArchiveProperties p = ReadArchiveProperties(path, totalSize, static_cast<qint64>(rows.size()));
    const std::optional<double> saving = ArchiveSaving(p);
    QList<std::pair<const char *, QString>> lines = {
        {"folder", p.folder},
        {"name", p.name},
        {"size", QString::number(p.size)},
        {"unpacked", QString::number(p.unpacked)},
        {"files", QString::number(p.headerCount)},
        {"rows", QString::number(p.rowsShown)},
        {"modified", p.lastChange.toString(Qt::ISODate)},
        {"saving", saving ? QString::number(*saving * 100.0, 'f', 2) + QLatin1Char('%') : QStringLiteral("-")},
    };
    if (const std::optional<ArchiveDetails> &d = p.details) {
        lines += {{"format", QString::number(d->formatVersion)},
                  {"offset", QString::number(d->headerOffset)},
                  {"sector size", QString::number(d->sectorSize)},
                  {"hash table", QString::number(d->hashTableSize)},
                  {"used slots", QString::number(d->usedSlots)},
                  {"block table", QString::number(d->blockTableSize)}};
        if (p.mapHeader)
            lines += {{"map name", p.mapHeader->name},
                      {"map flags", QStringLiteral("0x%1").arg(p.mapHeader->flags, 8, 16, QLatin1Char('0'))}};
        lines += {"signature", d->signature == ArchiveSignature::Strong ? QStringLiteral("strong")
                               : d->signature == ArchiveSignature::Weak ? QStringLiteral("weak")
                                                                        : QStringLiteral("none")};
    }
    for (const auto &[key, value] : lines)
        std::printf("%s\t%s\n", key, EscapeControls(value).toUtf8().constData());
    if (p.mapDetails) {
        for (const auto &[key, value] : MapDetailLines(*p.mapDetails, false))
            std::printf("%s\t%s\n", key.toUtf8().constData(), EscapeControls(value).toUtf8().constData());
    }
    return 0;
}

int VerifyCommand(CommandRun &run)
{
    const QString &path = run.archive;
    CollectingPorts quiet;
    NoEvents events;
    const VerifyReport report = VerifyArchive(path, run.settings.listing, quiet, quiet, events);
    if (report.archive != Refusal::None) return Refuse(report.archive, About::Archive, path);
    for (const QString &line : VerifyReportLines(report, -1))
        std::printf("%s\n", EscapeControls(line).toUtf8().constData());
    return report.Sound() ? 0 : kFaultsFoundStatus;
}

int CompactCommand(CommandRun &run)
{
    const QString &path = run.archive;
    CollectingPorts quiet;
    NoEvents events;
    const CompactReport report = CompactArchive(path, run.settings.listing, quiet, events);
    if (report.archive == Refusal::None) {
        std::printf("%s\n", Words(Say::Compacted, QString::number(report.sizeBefore), QString::number(report.sizeAfter))
                                .toUtf8()
                                .constData());
        return 0;
    }
    for (const QByteArray &name : report.nameless) Refuse(Refusal::Nameless, About::Item, ShownName(name));
    return Refuse(report.archive, About::Archive, path);
}

int CreateCommand(CommandRun &run)
{
    const QString format = run.Value("--format").value_or(QStringLiteral("1"));
    if (format.size() != 1 || format[0] < QLatin1Char('1') || format[0] > QLatin1Char('4'))
        return UsageError(Say::Takes, QStringLiteral("--format"), QStringLiteral("1, 2, 3 or 4"));
    bool counted = true;
    const std::optional<QString> maxOption = run.Value("--max-files");
    const qint32 maxFiles = maxOption ? maxOption->toInt(&counted) : run.settings.config.DefaultMaxFiles;
    if (!counted || maxFiles < 1) return UsageError(Say::Takes, QStringLiteral("--max-files"), QStringLiteral("N >= 1"));
    const QString path = QFileInfo(run.arguments[0]).absoluteFilePath();
    return Refuse(CreateArchive(path, format.toInt(), maxFiles), About::Archive, path);
}
