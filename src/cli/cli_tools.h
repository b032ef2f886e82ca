// arcavera-cli embed and split: an archive put behind an executable, and
// such a file cut into its executable part and its archive.
#pragma once

#include <QStringList>

// embed EXE ARCHIVE, given the arguments behind the command word. Returns
// the exit status.
int EmbedCommand(const QStringList &arguments);

// split FILE [--exe OUT] [--mpq OUT], given the whole command line with the
// program first: its options --exe and --mpq are its own, so it reads the
// command line before the options of the other commands are parsed. Returns
// the exit status, or -1 when the command line is not a split or asks for
// the help, so that it runs as any other.
int SplitCommandLine(const QStringList &argv);
