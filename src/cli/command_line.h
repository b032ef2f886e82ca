// The one reading of arcavera-cli's command line: the options, wherever
// they stand, and the command with its arguments. The general options go
// with every command; the others belong to the commands that the command
// table names as their owners.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

#include "cli_words.h"

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

// Reads `argv` (the program first). An option that takes a value (--ini,
// --to, --prefix, --exe, --mpq, --format, --max-files, --size, --locale)
// takes the next word, whatever it looks like.
CommandLine ReadCommandLine(const QStringList &argv);

// The settings file the command line names (--ini FILE or --ini=FILE, made
// absolute), or empty.
QString IniOption(const CommandLine &line);

struct CliCommand;

// What is wrong with the options of a command line: its words and values.
struct OptionProblem {
    Say what;
    QString first, second;
};

// The first problem of the options, in the order of the command line: an
// unknown option, one that lacks its value; then, once the command is known
// (`command` not null), an option that belongs to another command, or one of
// its own given twice.
std::optional<OptionProblem> CheckOptions(const CommandLine &line, const CliCommand *command);
