// The one reading of arcavera-cli's command line: the options, wherever
// they stand, and the command with its arguments. Each command then takes
// the options it owns and refuses the others.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

struct CommandLine {
    // An option as it stood, in the order of the command line.
    struct Option {
        QString name;                  // as written: "--to", "-v", "--ini=FILE" (an unknown one too)
        bool known = false;            // false: no option of this tool
        std::optional<QString> value;  // what followed an option that takes one; none at the end
    };
    QList<Option> options;
    QStringList arguments;  // the command and its arguments; after "--" every word is one
    bool help = false;      // -h or --help stood as an option
    bool version = false;   // --version stood as an option

    // The value of the last `name`, or none.
    std::optional<QString> Value(const QString &name) const;
    bool Has(const QString &name) const;
};

// Reads `argv` (the program first). --ini, --to, --prefix, --exe and --mpq
// take the next word as their value, whatever it looks like.
CommandLine ReadCommandLine(const QStringList &argv);

// The settings file the command line names (--ini FILE or --ini=FILE, made
// absolute), or empty.
QString IniOption(const CommandLine &line);

// The first usage error of a command other than split, in the order of the
// command line: an unknown option (--exe and --mpq among them) or one that
// lacks its value. Empty when there is none.
QString GeneralUsageError(const CommandLine &line);

// The first usage error of split, whose options --exe and --mpq are its own:
// one of them without a file or given twice, --to or --prefix, an unknown
// option. Empty when there is none.
QString SplitUsageError(const CommandLine &line);
