#include "config/startup.h"

#include <algorithm>

#include <QDir>
#include <QFileInfo>

#include <unistd.h>

QString FileNameFromCommandLine(const QString &commandLine)
{
    if (commandLine.startsWith(QLatin1Char('"'))) return commandLine.mid(1).chopped(commandLine.size() > 1 ? 1 : 0);
    return commandLine;
}

QString CommandLineFromArguments(const QStringList &arguments) { return arguments.join(QLatin1Char(' ')); }

QStringList CommandLinesFromArguments(const QStringList &arguments, const QString &launchFolder)
{
    const QString joined = CommandLineFromArguments(arguments);
    const auto names = [&](const QString &line) {
        return QFileInfo(ResolveFromLaunchFolder(FileNameFromCommandLine(line), launchFolder)).isFile();
    };
    if (arguments.size() < 2 || names(joined) || !std::all_of(arguments.begin(), arguments.end(), names))
        return {joined};
    return arguments;
}

QString ResolveFromLaunchFolder(const QString &fileName, const QString &launchFolder)
{
    if (fileName.isEmpty() || QDir::isAbsolutePath(fileName)) return fileName;
    return QDir(launchFolder).absoluteFilePath(fileName);
}

QString ComputeTempPath()
{
    // A relative $TMPDIR would move with the current folder: it is not taken.
    QString base = qEnvironmentVariable("TMPDIR");
    if (!QDir::isAbsolutePath(base) || !QFileInfo(base).isDir()) base = QStringLiteral("/tmp");
    if (base.endsWith(QLatin1Char('/')) && base.size() > 1) base.chop(1);
    return base + QStringLiteral("/Arcavera-%1").arg(::getuid());
}

QString ProgramDataPath(const QString &programFolder, const QString &name)
{
    const QString beside = QDir(programFolder).filePath(name);
    if (QFileInfo::exists(beside)) return beside;
    // Installed: <prefix>/bin beside <prefix>/share/arcavera, wherever the
    // prefix was moved to; else the prefix the build was configured with.
    const QString relative = QDir(programFolder).filePath(QStringLiteral("../share/arcavera/") + name);
    if (QFileInfo::exists(relative)) return QDir::cleanPath(relative);
    const QString installed = QDir(QStringLiteral(ARCAVERA_INSTALLED_DATA_DIR)).filePath(name);
    if (QFileInfo::exists(installed)) return installed;
    return {};
}
