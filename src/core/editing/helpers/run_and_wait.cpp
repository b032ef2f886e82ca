#include "editing/helpers/run_and_wait.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

QStringList StartCommand(const QString &commandLine)
{
    QStringList command;
    if (QFileInfo(commandLine).isFile())
        command.append(commandLine);
    else
        command = QProcess::splitCommand(commandLine);
    if (command.isEmpty()) return {};

    const QFileInfo program(command.first());
    if (program.suffix().compare(QLatin1String("exe"), Qt::CaseInsensitive) == 0) {
        if (!program.isFile()) return {};
        const QString wine = QStandardPaths::findExecutable(QStringLiteral("wine"));
        if (wine.isEmpty()) return {};
        command.prepend(wine);
        return command;
    }
    const QString found = program.isAbsolute() || command.first().contains(QLatin1Char('/'))
                              ? (program.isFile() && program.isExecutable() ? command.first() : QString())
                              : QStandardPaths::findExecutable(command.first());
    if (found.isEmpty()) return {};
    command.first() = found;
    return command;
}

bool RunsThroughWine(const QStringList &command)
{
    return command.size() > 1 && QFileInfo(command.first()).fileName() == QLatin1String("wine");
}

void RunAndWait(const QString &commandLine)
{
    QStringList command = StartCommand(commandLine);
    if (command.isEmpty()) return;
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    process.setProgram(command.takeFirst());
    process.setArguments(command);
    process.start();
    if (!process.waitForStarted(-1)) return;
    process.waitForFinished(-1);
}
