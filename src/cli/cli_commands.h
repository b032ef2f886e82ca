// arcavera-cli's commands: one table of their names, the options each owns,
// the arguments each takes, its handler and its lines of the help.
#pragma once

#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "cli_words.h"
#include "command_line.h"
#include "config/app_config.h"
#include "config/listing_setup.h"
#include "listing/listing_options.h"

// The settings every command that reads them reads, loaded once.
struct Settings {
    QString iniPath;
    AppConfig config;
    ListingOptions listing;
    WindowSettings window;
    bool rulesFromFile = false;  // false: no settings file, the rules of a first start
};

struct CliCommand;

// One run of a command: its arguments (the words behind the command word),
// the command line it came on, and the settings.
struct CommandRun {
    const CliCommand &command;
    const CommandLine &line;
    QStringList arguments;
    QString archive;  // the first argument made absolute, for a command that reads an archive that exists
    Settings settings;
    bool verbose = false;
    std::optional<std::uint16_t> locale;  // --locale, read and checked

    // The value of an option of the command's own, or none.
    std::optional<QString> Value(const char *option) const { return line.Value(QLatin1String(option)); }
    // Says that the command takes other arguments, and returns the usage status.
    int WrongArguments() const;
};

struct CliCommand {
    const char *name;
    std::array<const char *, 3> options;  // the options it owns beside the general ones; null past the last
    const char *synopsis;                 // its arguments as the help writes them
    qsizetype minArguments, maxArguments; // -1: no bound
    bool readsArchive;                    // its first argument is an archive that must exist
    int (*run)(CommandRun &);
    const char *help;                     // what it does, the help's lines below the synopsis
};

// Says a usage error and the line that points at the help; returns the
// usage status.
int UsageError(Say what, const QString &first = {}, const QString &second = {});

// Every command, in the order of the help.
std::span<const CliCommand> Commands();
// The command called `name`, or null.
const CliCommand *FindCommand(const QString &name);
// The whole help: the commands, the options and the exit statuses.
QString HelpText();

// The handlers, by the files that hold them.
// archive_commands.cpp: an archive as a whole.
int ListCommand(CommandRun &run);
int NamesCommand(CommandRun &run);
int InfoCommand(CommandRun &run);
int VerifyCommand(CommandRun &run);
int CompactCommand(CommandRun &run);
int CreateCommand(CommandRun &run);
// change_commands.cpp: stored files in and out.
int AddCommand(CommandRun &run);
int ExtractCommand(CommandRun &run);
int DeleteCommand(CommandRun &run);
int RenameCommand(CommandRun &run);
// look_commands.cpp: stored files looked at without extracting them.
int CatCommand(CommandRun &run);
int ConvertCommand(CommandRun &run);
int ThumbnailCommand(CommandRun &run);
// folder_commands.cpp: an archive as a folder and back.
int UnpackCommand(CommandRun &run);
int PackCommand(CommandRun &run);
// embed_commands.cpp: an archive behind an executable.
int EmbedCommand(CommandRun &run);
int SplitCommand(CommandRun &run);
