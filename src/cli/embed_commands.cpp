// arcavera-cli embed and split: an archive put behind an executable, and
// such a file cut into its executable part and its archive.
#include "cli_commands.h"

#include <QFileInfo>

#include "cli_output.h"
#include "exit_status.h"
#include "base/paths.h"
#include "tools/embed_archive.h"
#include "tools/mpq_header.h"

namespace {

// Exit status 2 or 5 with a message when `path` is no file to read, else 0.
int CheckInput(const QString &path, const QString &shown)
{
    if (!QFileInfo::exists(path)) return Refuse(Refusal::Missing, About::Archive, shown);
    if (IsDirectory(path)) {
        Tell(Say::FolderNotFile, shown);
        return 2;
    }
    if (!QFileInfo(path).isReadable()) return Refuse(EmbedStatus::ReadFailed, shown);
    return 0;
}

}  // namespace

int SplitCommand(CommandRun &run)
{
    const QStringList &files = run.arguments;
    const QString exeOption = run.Value("--exe").value_or(QString()), mpqOption = run.Value("--mpq").value_or(QString());
    if (exeOption.isEmpty() && mpqOption.isEmpty()) return run.WrongArguments();
    const QString source = CleanAbsolutePath(files[0]);
    if (const int status = CheckInput(source, files[0])) return status;
    const QString exe = exeOption.isEmpty() ? QString() : CleanAbsolutePath(exeOption);
    const QString mpq = mpqOption.isEmpty() ? QString() : CleanAbsolutePath(mpqOption);
    for (const QString &output : {exe, mpq}) {
        if (output.isEmpty()) continue;
        if (IsDirectory(output)) {
            Tell(Say::FolderNotFile, output);
            return 2;
        }
        if (IsSameFile(output, source)) return Refuse(EmbedStatus::SameFile, output);
    }
    if (!exe.isEmpty() && !mpq.isEmpty() && IsSameFile(exe, mpq)) {
        Tell(Say::SameOutputs, exe);
        return 2;
    }
    const qint64 header = FindMPQHeader(source);
    if (header == 0) {
        Tell(Say::NoExecutablePart, source);
        return 3;
    }
    if (header < 0) return Refuse(Refusal::NotAnArchive, About::Archive, source);
    if (!exe.isEmpty())
        if (const EmbedResult done = ExportExecutablePart(source, exe); done.status != EmbedStatus::Done)
            return Refuse(done.status, done.path);
    if (!mpq.isEmpty())
        if (const EmbedResult done = ExportArchivePart(source, mpq); done.status != EmbedStatus::Done)
            return Refuse(done.status, done.path);
    return 0;
}

int EmbedCommand(CommandRun &run)
{
    const QStringList &arguments = run.arguments;
    const QString exe = CleanAbsolutePath(arguments[0]);
    const QString archive = CleanAbsolutePath(arguments[1]);
    if (const int status = CheckInput(exe, arguments[0])) return status;
    if (const int status = CheckInput(archive, arguments[1])) return status;
    if (IsSameFile(exe, archive)) return Refuse(EmbedStatus::SameFile, arguments[1]);
    if (!IsExecutable(exe)) {
        Tell(Say::NotExecutable, exe);
        return 3;
    }
    if (const qint64 header = FindMPQHeader(exe); header >= 0) {
        Tell(Say::HasArchive, exe, QString::number(header));
        return 4;
    }
    const EmbedResult done = EmbedArchive(exe, archive);
    return Refuse(done.status, done.path);
}
