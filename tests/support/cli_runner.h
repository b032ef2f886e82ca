// Runs the built arcavera-cli as a script would.
#pragma once

#include <QProcess>
#include <QStringList>

namespace fixtures {

struct CliRun {
    int status = -1;  // -2 when it crashed, -1 when it did not finish
    QByteArray out, err;
};

inline CliRun Cli(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(ARCAVERA_CLI_PATH), arguments);
    CliRun run;
    if (!process.waitForFinished(60000)) return run;
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

}  // namespace fixtures
