#include "tools/self_executing.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryFile>

#include "config/registry.h"
#include "editing/helpers/run_and_wait.h"
#include "config/startup.h"

namespace {

const QString kToolKey = QStringLiteral("HKEY_CURRENT_USER\\Software\\Team MoPaQ\\MPQDraft for Windows\\");

QString FolderWithSlash(const QString &fileName)
{
    QString folder = QFileInfo(fileName).absolutePath();
    if (!folder.endsWith(QLatin1Char('/'))) folder += QLatin1Char('/');
    return folder;
}

// A disk path as a Windows program under Wine sees it: Wine's Z: drive is
// the root of the file system.
QString WinePath(const QString &path)
{
    QString p = path;
    return QStringLiteral("Z:") + p.replace(QLatin1Char('/'), QLatin1Char('\\'));
}

QString RegString(const QString &text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('"'), QLatin1String("\\\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

}  // namespace

std::vector<std::pair<QString, QString>> SelfExecutableValues(const QString &fileName)
{
    return {
        {QStringLiteral("HKEY_CURRENT_USER\\Software\\Team MoPaQ\\"), QString()},
        {kToolKey, QString()},
        {kToolKey + QStringLiteral("Patch Wizard\\"), QString()},
        {kToolKey + QStringLiteral("Patch Wizard\\MPQ Directory"), FolderWithSlash(fileName)},
        {kToolKey + QStringLiteral("SEMPQ Wizard\\"), QString()},
        {kToolKey + QStringLiteral("SEMPQ Wizard\\Custom Name"), QStringLiteral("Arcavera")},
        {kToolKey + QStringLiteral("SEMPQ Wizard\\MPQ Path"), fileName},
        {kToolKey + QStringLiteral("SEMPQ Wizard\\SEMPQ Path"), fileName + QStringLiteral(".exe")},
    };
}

void WriteSelfExecutableValues(const QString &fileName)
{
    for (const auto &[key, value] : SelfExecutableValues(fileName)) WriteRegistry(key, value, QString());
}

QString SelfExecutableCommandLine(const QString &programFolder)
{
    const QString found = ProgramDataPath(programFolder, kSelfExecutableTool);
    return found.isEmpty() ? programFolder + QLatin1Char('/') + kSelfExecutableTool : found;
}

QByteArray WineRegistryFile(const std::vector<std::pair<QString, QString>> &values)
{
    QString text = QStringLiteral("Windows Registry Editor Version 5.00\r\n");
    for (const auto &[path, value] : values) {
        const qsizetype cut = path.lastIndexOf(QLatin1Char('\\'));
        const QString key = path.left(cut);
        const QString name = path.mid(cut + 1);
        const bool isPath = name.endsWith(QLatin1String("Path")) || name.endsWith(QLatin1String("Directory"));
        const QString data = isPath && !value.isEmpty() ? WinePath(value) : value;
        text += QStringLiteral("\r\n[") + key + QStringLiteral("]\r\n");
        text += (name.isEmpty() ? QStringLiteral("@") : RegString(name)) + QLatin1Char('=') + RegString(data) +
                QStringLiteral("\r\n");
    }
    // Wine's regedit reads the file in UTF-16 with its byte order mark.
    QByteArray bytes("\xFF\xFE", 2);
    for (QChar c : text) {
        bytes.append(static_cast<char>(c.unicode() & 0xFF));
        bytes.append(static_cast<char>(c.unicode() >> 8));
    }
    return bytes;
}

void MakeSelfExecutable(const QString &fileName, const QString &programFolder, const QString &tempPath)
{
    WriteSelfExecutableValues(fileName);
    const QString commandLine = SelfExecutableCommandLine(programFolder);
    const QStringList command = StartCommand(commandLine);
    if (RunsThroughWine(command)) {
        QDir().mkpath(tempPath);
        QTemporaryFile file(QDir(tempPath).filePath(QStringLiteral("mpqdraft-XXXXXX.reg")));
        if (file.open() && file.write(WineRegistryFile(SelfExecutableValues(fileName))) > 0 && file.flush()) {
            QProcess regedit;
            regedit.setProcessChannelMode(QProcess::ForwardedChannels);
            regedit.start(command.first(), {QStringLiteral("regedit"), QStringLiteral("/S"), WinePath(file.fileName())});
            if (regedit.waitForStarted(-1)) regedit.waitForFinished(-1);
        }
    }
    RunAndWait(commandLine);
}
