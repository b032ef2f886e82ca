// The start of the program: where its files are, and what the command line names.
#pragma once

#include <QString>
#include <QStringList>

// The program's home page: the Info menu opens it, the credits name it.
inline constexpr const char *kHomePage = "https://github.com/arcavera/arcavera";

// The archive named on the command line: a line that begins with a double
// quote loses its first and its last character; otherwise the whole line is
// the name. Blanks belong to the name.
QString FileNameFromCommandLine(const QString &commandLine);

// The command line of start-up: the program's arguments joined by one blank.
QString CommandLineFromArguments(const QStringList &arguments);

// The command lines of the windows a start asks for: one, the arguments
// joined as above; but where the desktop hands several files at once (each
// argument an existing file, relative ones below `launchFolder`, while their
// joined text names none), each file on its own, in their order.
QStringList CommandLinesFromArguments(const QStringList &arguments, const QString &launchFolder);

// A relative name is taken from the folder the program was started in.
QString ResolveFromLaunchFolder(const QString &fileName, const QString &launchFolder);

// The scratch folder: the user's temporary folder ($TMPDIR when it is an
// absolute path, else /tmp) and a folder of this program that no other user
// shares.
QString ComputeTempPath();

// A file or folder the program ships (Languages, icons): beside the
// executable, else in the installed data folder (share/arcavera beside the
// bin folder, or the configured prefix's). Empty when none has it.
QString ProgramDataPath(const QString &programFolder, const QString &name);
