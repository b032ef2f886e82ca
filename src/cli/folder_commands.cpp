#include "folder_commands.h"

#include <QFileInfo>

#include <cstdio>

#include "cli_output.h"
#include "config/app_config.h"
#include "config/catalogue.h"
#include "editing/archive_check.h"
#include "exit_status.h"
#include "listing/listing_options.h"
#include "base/text_encoding.h"
#include "tools/folder_pack.h"

namespace {

// The status texts of the files, a line each, when asked for.
struct FolderPanel : StatusPanel {
    explicit FolderPanel(bool on) : verbose(on) {}
    bool verbose;
    void SetStatusText(const QString &text) override
    {
        if (!verbose || text == Texts().StatusBarReady) return;
        std::fputs(EscapeControls(text).toUtf8().constData(), stdout);
        std::fputc('\n', stdout);
    }
};

struct QuietProgress : ProgressBar {
    void SetProgressMax(int) override {}
    void SetProgressValue(int) override {}
    void SetProgressVisible(bool) override {}
};

// What is wrong with a folder, in the terminal's English.
QString ProblemText(const FolderProblem &p)
{
    const QString line = QStringLiteral("%1, line %2").arg(QLatin1String(kManifestFile)).arg(p.line);
    switch (p.kind) {
    case FolderProblem::Fits: break;
    case FolderProblem::BadLine: return line + QStringLiteral(": does not parse");
    case FolderProblem::UnknownLocale: return line + QStringLiteral(": no such locale");
    case FolderProblem::Climbs: return (p.path.isEmpty() ? line : p.path) + QStringLiteral(": the path climbs out of the folder");
    case FolderProblem::Missing: return p.path + QStringLiteral(": named by the manifest, missing from the folder");
    case FolderProblem::Unlisted: return p.path + QStringLiteral(": in the folder, not named by the manifest");
    case FolderProblem::CaseClash:
        return p.path + QStringLiteral(": gives the same stored name as %1 (names are blind to case)").arg(p.other);
    case FolderProblem::BadFront: return p.path + QStringLiteral(": missing, or not a whole number of 512-byte blocks");
    case FolderProblem::Unreadable: return p.path + QStringLiteral(": cannot be read");
    }
    return {};
}

}  // namespace

int UnpackCommand(const QStringList &arguments, const ListingOptions &listing, bool verbose)
{
    if (arguments.size() != 2 || arguments[1].isEmpty()) {
        PrintError(QStringLiteral("unpack takes an archive and a folder"));
        return 1;
    }
    const QString archive = QFileInfo(arguments[0]).absoluteFilePath();
    if (const int status = ReportArchiveCheck(archive, CheckPath(archive))) return status;
    FolderPanel panel(verbose);
    QuietProgress progress;
    NoEvents events;
    const FolderReport report = UnpackArchive(archive, arguments[1], listing, panel, progress, events);
    if (report.archive == Refusal::NameInUse) {
        PrintError(QStringLiteral("%1: not empty; unpack writes only into a new or empty folder").arg(arguments[1]));
        return ExitStatus(Refusal::NameInUse);
    }
    if (report.archive == Refusal::NotCreatable) {
        PrintError(QStringLiteral("%1: cannot be made a folder").arg(arguments[1]));
        return ExitStatus(Refusal::NotCreatable);
    }
    if (report.archive != Refusal::None) return ReportArchiveCheck(archive, report.archive);
    int status = 0;
    for (const Refused<QByteArray> &entry : report.refused) {
        PrintError(QStringLiteral("%1: could not be read; left out of the folder and its manifest").arg(ShownName(entry.name)));
        status = std::max(status, ExitStatus(entry.why));
    }
    if (!report.failedPath.isEmpty()) {
        PrintError(QStringLiteral("%1: cannot be written; unpacking stopped there").arg(report.failedPath));
        status = std::max(status, ExitStatus(Refusal::DiskFailure));
    }
    return status;
}

int PackCommand(const QStringList &arguments, const AppConfig &config, bool verbose)
{
    if (arguments.size() != 2 || arguments[1].isEmpty()) {
        PrintError(QStringLiteral("pack takes a folder and an archive"));
        return 1;
    }
    const QString archive = QFileInfo(arguments[1]).absoluteFilePath();
    if (QFileInfo(archive).isDir()) return ReportArchiveCheck(archive, Refusal::WrongKind);
    FolderPanel panel(verbose);
    NoEvents events;
    // Without a settings file the rules are those a first start would write.
    AppConfig rules = config;
    if (!QFileInfo(config.IniPath).isFile()) rules.ExtensionRules = FirstRunRules();
    const FolderReport report = PackFolder(arguments[0], archive, rules, panel, events);
    if (report.archive == Refusal::Missing) {
        PrintError(QStringLiteral("%1: no such folder").arg(arguments[0]));
        return ExitStatus(Refusal::Missing);
    }
    if (report.problem.kind != FolderProblem::Fits) {
        PrintError(ProblemText(report.problem) + QStringLiteral("; no archive was written"));
        return kFolderStatus;
    }
    if (report.archive == Refusal::NotCreatable) {
        PrintError(QStringLiteral("%1: the archive cannot be made there").arg(arguments[1]));
        return ExitStatus(Refusal::NotCreatable);
    }
    if (report.archive != Refusal::None) {
        PrintError(QStringLiteral("%1: not made: %2").arg(arguments[1], report.engineWhy));
        return ExitStatus(Refusal::ArchiveNotWritten);
    }
    for (const QByteArray &name : RefusedFor(report.refused, Refusal::UnknownCompression))
        PrintError(QStringLiteral("%1: left out, its rule has an unknown compression type").arg(DecodeBytes(name)));
    if (verbose)
        std::printf("%d files packed%s\n", report.files, report.mapHeader ? ", with a map header from war3map.w3i" : "");
    return report.refused.isEmpty() ? 0 : ExitStatus(Refusal::UnknownCompression);
}
