// Starting another program and waiting for its end.
#pragma once

#include <QString>
#include <QStringList>

// The program and arguments a command line starts: the whole line when it
// names an existing file (blanks and all), else the line split as a shell
// would. A Windows program (a name ending in ".exe") starts through Wine,
// and only when Wine is on the PATH. Empty when nothing can start.
QStringList StartCommand(const QString &commandLine);

// True when `program`, the first word of StartCommand, is Wine.
bool RunsThroughWine(const QStringList &command);

// Starts the command line with the program's environment and current
// folder, and waits for it to end, without a time limit. When nothing can
// start, it comes back at once; nothing is reported either way.
void RunAndWait(const QString &commandLine);
