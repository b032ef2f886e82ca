#include "cli_tools.h"

#include <QDir>
#include <QFileInfo>

#include "cli_output.h"
#include "exit_status.h"
#include "base/paths.h"
#include "tools/embed_archive.h"
#include "tools/mpq_header.h"

namespace {

QString AbsolutePath(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

// Exit status 2 or 5 with a message when `path` is no file to read, else 0.
int CheckInput(const QString &path, const QString &shown)
{
    if (!QFileInfo::exists(path)) {
        PrintError(QStringLiteral("%1: no such file").arg(shown));
        return 2;
    }
    if (IsDirectory(path)) {
        PrintError(QStringLiteral("%1: is a folder, not a file").arg(shown));
        return 2;
    }
    if (!QFileInfo(path).isReadable()) {
        PrintError(QStringLiteral("%1: cannot be read; nothing was changed").arg(shown));
        return 5;
    }
    return 0;
}

// The message of a refusal or failure of the core; its exit status.
int ReportResult(const EmbedResult &result)
{
    QString message;
    switch (result.status) {
    case EmbedStatus::Done:
        break;
    case EmbedStatus::NotPlainArchive:
        message = QStringLiteral("%1: is no plain MPQ archive (no header at its start)");
        break;
    case EmbedStatus::NoEmbeddedArchive:
        message = QStringLiteral("%1: holds no MPQ archive behind an executable part");
        break;
    case EmbedStatus::SameFile:
        message = QStringLiteral("%1: is the file it would be copied from");
        break;
    case EmbedStatus::OpenFailed:
        message = QStringLiteral("%1: cannot be opened; nothing was changed");
        break;
    case EmbedStatus::ReadFailed:
        message = QStringLiteral("%1: cannot be read; nothing was changed");
        break;
    case EmbedStatus::WriteFailed:
        message = QStringLiteral("%1: cannot be written; nothing was changed");
        break;
    }
    if (!message.isEmpty()) PrintError(message.arg(result.path));
    return ExitStatus(result.status);
}

}  // namespace

int SplitCommand(const QStringList &files, const QString &exeOption, const QString &mpqOption)
{
    if (files.size() != 1 || (exeOption.isEmpty() && mpqOption.isEmpty())) {
        PrintError(QStringLiteral("split takes a file and --exe OUT, --mpq OUT or both"));
        return 1;
    }
    const QString source = AbsolutePath(files[0]);
    if (const int status = CheckInput(source, files[0])) return status;
    const QString exe = exeOption.isEmpty() ? QString() : AbsolutePath(exeOption);
    const QString mpq = mpqOption.isEmpty() ? QString() : AbsolutePath(mpqOption);
    for (const QString &output : {exe, mpq}) {
        if (output.isEmpty()) continue;
        if (IsDirectory(output)) {
            PrintError(QStringLiteral("%1: is a folder, not a file to write").arg(output));
            return 2;
        }
        if (IsSameFile(output, source)) {
            PrintError(QStringLiteral("%1: is the file to split itself").arg(output));
            return 2;
        }
    }
    if (!exe.isEmpty() && !mpq.isEmpty() && IsSameFile(exe, mpq)) {
        PrintError(QStringLiteral("%1: --exe and --mpq name the same file").arg(exe));
        return 2;
    }
    const qint64 header = FindMPQHeader(source);
    if (header == 0) {
        PrintError(QStringLiteral("%1: is a plain MPQ archive, with no executable part to split off").arg(source));
        return 3;
    }
    if (header < 0) {
        PrintError(QStringLiteral("%1: holds no MPQ archive").arg(source));
        return 3;
    }
    if (!exe.isEmpty())
        if (const int status = ReportResult(ExportExecutablePart(source, exe))) return status;
    if (!mpq.isEmpty()) return ReportResult(ExportArchivePart(source, mpq));
    return 0;
}

int EmbedCommand(const QStringList &arguments)
{
    if (arguments.size() != 2) {
        PrintError(QStringLiteral("embed takes an executable and an archive"));
        return 1;
    }
    const QString exe = AbsolutePath(arguments[0]);
    const QString archive = AbsolutePath(arguments[1]);
    if (const int status = CheckInput(exe, arguments[0])) return status;
    if (const int status = CheckInput(archive, arguments[1])) return status;
    if (IsSameFile(exe, archive)) {
        PrintError(QStringLiteral("%1: is the executable itself").arg(arguments[1]));
        return 2;
    }
    if (!IsExecutable(exe)) {
        PrintError(QStringLiteral("%1: is not an executable (it does not begin with MZ); left as it is").arg(exe));
        return 3;
    }
    if (const qint64 header = FindMPQHeader(exe); header >= 0) {
        PrintError(QStringLiteral("%1: holds an MPQ archive already, at offset %2; left as it is").arg(exe).arg(header));
        return 4;
    }
    return ReportResult(EmbedArchive(exe, archive));
}
