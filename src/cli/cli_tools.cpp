#include "cli_tools.h"

#include <QDir>
#include <QFileInfo>

#include "cli_output.h"
#include "editing/helpers/paths.h"
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

// The exit status of a refusal or failure of the core, with its message.
int ReportResult(const EmbedResult &result)
{
    switch (result.status) {
    case EmbedStatus::Done:
        return 0;
    case EmbedStatus::NotPlainArchive:
        PrintError(QStringLiteral("%1: is no plain MPQ archive (no header at its start)").arg(result.path));
        return 3;
    case EmbedStatus::NoEmbeddedArchive:
        PrintError(QStringLiteral("%1: holds no MPQ archive behind an executable part").arg(result.path));
        return 3;
    case EmbedStatus::SameFile:
        PrintError(QStringLiteral("%1: is the file it would be copied from").arg(result.path));
        return 2;
    case EmbedStatus::OpenFailed:
        PrintError(QStringLiteral("%1: cannot be opened; nothing was changed").arg(result.path));
        return 5;
    case EmbedStatus::ReadFailed:
        PrintError(QStringLiteral("%1: cannot be read; nothing was changed").arg(result.path));
        return 5;
    case EmbedStatus::WriteFailed:
        PrintError(QStringLiteral("%1: cannot be written; nothing was changed").arg(result.path));
        return 5;
    }
    return 5;
}

struct SplitArguments {
    bool isSplit = false;  // false: another command, or the help is asked for
    QStringList files;     // FILE, and any stray argument
    QString exe, mpq;      // the outputs; empty when not asked for
    QString error;         // a usage error
};

// Reads the command line as the main options would, plus --exe and --mpq.
// Options may stand anywhere; the first usage error is kept.
SplitArguments ParseSplit(const QStringList &argv)
{
    SplitArguments split;
    const auto fail = [&split](const QString &error) {
        if (split.error.isEmpty()) split.error = error;
    };
    bool optionsEnded = false;
    for (qsizetype i = 1; i < argv.size(); ++i) {
        const QString &arg = argv[i];
        if (optionsEnded || arg == QLatin1String("-") || !arg.startsWith(QLatin1Char('-'))) {
            if (split.isSplit)
                split.files.append(arg);
            else if (arg == QLatin1String("split"))
                split.isSplit = true;
            else
                return {};
        } else if (arg == QLatin1String("--")) {
            optionsEnded = true;
        } else if (arg == QLatin1String("-h") || arg == QLatin1String("--help")) {
            return {};
        } else if (arg == QLatin1String("--exe") || arg == QLatin1String("--mpq")) {
            QString &output = arg == QLatin1String("--exe") ? split.exe : split.mpq;
            if (i + 1 >= argv.size() || argv[i + 1].isEmpty())
                fail(arg + QStringLiteral(" needs a file"));
            else if (!output.isEmpty())
                fail(arg + QStringLiteral(" is given twice"));
            else
                output = argv[i + 1];
            ++i;
        } else if (arg == QLatin1String("--ini")) {
            ++i;  // the settings play no part here
        } else if (arg == QLatin1String("--to") || arg == QLatin1String("--prefix")) {
            fail(arg == QLatin1String("--to") ? QStringLiteral("--to belongs to extract")
                                              : QStringLiteral("--prefix belongs to add"));
            ++i;
        } else if (arg != QLatin1String("-v") && arg != QLatin1String("--verbose") &&
                   !arg.startsWith(QLatin1String("--ini="))) {
            fail(QStringLiteral("unknown option %1 (put -- before names that begin with -)").arg(arg));
        }
    }
    return split;
}

int Split(const SplitArguments &split)
{
    if (split.files.size() != 1 || (split.exe.isEmpty() && split.mpq.isEmpty())) {
        PrintError(QStringLiteral("split takes a file and --exe OUT, --mpq OUT or both"));
        return 1;
    }
    const QString source = AbsolutePath(split.files[0]);
    if (const int status = CheckInput(source, split.files[0])) return status;
    const QString exe = split.exe.isEmpty() ? QString() : AbsolutePath(split.exe);
    const QString mpq = split.mpq.isEmpty() ? QString() : AbsolutePath(split.mpq);
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

}  // namespace

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

int SplitCommandLine(const QStringList &argv)
{
    const SplitArguments split = ParseSplit(argv);
    if (!split.isSplit) return -1;
    if (!split.error.isEmpty()) {
        PrintError(split.error);
        return 1;
    }
    return Split(split);
}
