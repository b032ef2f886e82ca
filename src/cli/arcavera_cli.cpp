// arcavera-cli: the command-line face of Arcavera, for scripts and build
// pipelines. It runs the same core routines as the window; its commands,
// the options each owns and their handlers stand in one table
// (command_table.cpp), the words and exit status of each refusal in another
// (exit_status.cpp).
#include <QCoreApplication>
#include <QFileInfo>

#include <cstdio>

#include "cli_commands.h"
#include "cli_output.h"
#include "cli_words.h"
#include "config/catalogue.h"
#include "exit_status.h"
#include "listing/locale_tags.h"

namespace {

// The terminal's locale for messages, as POSIX ranks the variables.
QString TerminalLocale()
{
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const QString value = qEnvironmentVariable(variable); !value.isEmpty()) return value;
    return {};
}

// The run's one language, for the core's status texts and the tool's own
// words alike.
void LoadRunLanguage(const QString &iniPath)
{
    const QString file = CommandLineLanguage(LanguagesFolder(QCoreApplication::applicationDirPath()), iniPath,
                                             TerminalLocale());
    LoadLanguage(file);
    LoadCliWords(file);
}

Settings LoadSettings(const QString &iniPath, bool scanNames)
{
    Settings settings;
    settings.iniPath = iniPath;
    settings.config.IniPath = iniPath;
    LoadAppConfig(settings.config);
    settings.listing = ListingOptionsOf(settings.config);
    if (!scanNames) settings.listing.recoverNames = false;
    settings.window = ReadWindowSettings(iniPath, 0, 0);
    settings.rulesFromFile = QFileInfo(iniPath).isFile();
    return settings;
}

int Run(const CommandLine &line)
{
    const QString iniOption = IniOption(line);
    const QString iniPath = iniOption.isEmpty() ? LocateIniPath(QCoreApplication::applicationDirPath()) : iniOption;
    LoadRunLanguage(iniPath);
    if (const std::optional<OptionProblem> problem = CheckOptions(line, nullptr))
        return UsageError(problem->what, problem->first, problem->second);
    if (line.help) {
        std::fputs(HelpText().toUtf8().constData(), stdout);
        return 0;
    }
    if (line.arguments.isEmpty()) return UsageError(Say::NoCommand);
    const CliCommand *command = FindCommand(line.arguments.first());
    if (!command) return UsageError(Say::UnknownCommand, line.arguments.first());
    if (const std::optional<OptionProblem> problem = CheckOptions(line, command))
        return UsageError(problem->what, problem->first, problem->second);

    CommandRun run{*command, line, line.arguments.mid(1), {}, {}, false, std::nullopt};
    if (const std::optional<QString> given = line.Value(QStringLiteral("--locale"))) {
        std::uint16_t lcid = 0;
        if (!ParseLocale(*given, lcid))
            return UsageError(Say::NoSuchLocale, *given, KnownLocaleTags().join(QStringLiteral(", ")));
        run.locale = lcid;
    }
    const qsizetype count = run.arguments.size();
    if (count < command->minArguments || (command->maxArguments >= 0 && count > command->maxArguments))
        return run.WrongArguments();
    if (command->readsArchive) {
        int status = 0;
        run.archive = ExistingArchive(run.arguments[0], status);
        if (status) return status;
    }
    run.verbose = line.Has(QStringLiteral("-v")) || line.Has(QStringLiteral("--verbose"));
    run.settings = LoadSettings(iniPath, !line.Has(QStringLiteral("--no-scan")));
    return command->run(run);
}

}  // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const CommandLine line = ReadCommandLine(QCoreApplication::arguments());
    if (line.version) {
        std::printf("arcavera-cli %s\n", ARCAVERA_VERSION);
        return 0;
    }
    return Run(line);
}
