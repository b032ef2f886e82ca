// arcavera-cli unpack and pack: an archive as a folder of its files with a
// manifest, and a folder back into an archive.
#include <QFileInfo>

#include "base/text_encoding.h"
#include "cli_commands.h"
#include "cli_output.h"
#include "config/catalogue.h"
#include "editing/archive_check.h"
#include "exit_status.h"
#include "tools/folder_pack.h"

int UnpackCommand(CommandRun &run)
{
    const QStringList &arguments = run.arguments;
    if (arguments[1].isEmpty()) return run.WrongArguments();
    const QString &archive = run.archive;
    VerbosePanel panel(run.verbose);
    NoEvents events;
    const FolderReport report = UnpackArchive(archive, arguments[1], run.settings.listing, panel, panel, events);
    if (report.archive == Refusal::NameInUse) {
        Tell(ReplaceValue(Texts().MessageFolderNotEmpty, arguments[1]));
        return ExitStatus(Refusal::NameInUse);
    }
    if (report.archive == Refusal::NotCreatable) return Refuse(report.archive, About::Item, arguments[1]);
    if (report.archive != Refusal::None) return Refuse(report.archive, About::Archive, archive);
    int status = 0;
    for (const Refused<QByteArray> &entry : report.refused)
        status = std::max(status, Refuse(entry.why, About::Item, ShownName(entry.name)));
    if (!report.failedPath.isEmpty()) status = std::max(status, Refuse(Refusal::DiskFailure, About::Item, report.failedPath));
    return status;
}

int PackCommand(CommandRun &run)
{
    const QStringList &arguments = run.arguments;
    if (arguments[1].isEmpty()) return run.WrongArguments();
    const QString archive = QFileInfo(arguments[1]).absoluteFilePath();
    if (QFileInfo(archive).isDir()) return Refuse(Refusal::WrongKind, About::Archive, archive);
    VerbosePanel panel(run.verbose);
    NoEvents events;
    // Without a settings file the rules are those a first start would write.
    AppConfig rules = run.settings.config;
    if (!run.settings.rulesFromFile) rules.ExtensionRules = FirstRunRules();
    const FolderReport report = PackFolder(arguments[0], archive, rules, panel, events);
    if (report.archive == Refusal::Missing) return Refuse(report.archive, About::Item, arguments[0]);
    if (report.problem.kind != FolderProblem::Fits) {
        Tell(FolderProblemText(report.problem));
        return kFolderStatus;
    }
    if (report.archive == Refusal::NotCreatable) return Refuse(report.archive, About::Archive, arguments[1]);
    if (report.archive != Refusal::None) {
        Tell(arguments[1] + QStringLiteral(": ") + ReplaceValue(Texts().MessagePackFailed, report.engineWhy));
        return ExitStatus(Refusal::ArchiveNotWritten);
    }
    const int status = [&] {
        int worst = 0;
        for (const Refused<QByteArray> &entry : report.refused)
            worst = std::max(worst, Refuse(entry.why, About::Item, DecodeBytes(entry.name)));
        return worst;
    }();
    panel.SetStatusText(ReplaceValue(Texts().StatusBarPacked, QString::number(report.files)));
    return status;
}
