// arcavera-cli embed and split: an archive put behind an executable, and
// such a file cut into its executable part and its archive.
#pragma once

#include <QStringList>

// embed EXE ARCHIVE, given the arguments behind the command word. Returns
// the exit status.
int EmbedCommand(const QStringList &arguments);

// split FILE [--exe OUT] [--mpq OUT], given the words behind the command
// word and the values of --exe and --mpq (empty when not given); the
// command line has been read and checked. Returns the exit status.
int SplitCommand(const QStringList &files, const QString &exe, const QString &mpq);
