#include "command_line.h"

#include <QFileInfo>

#include "cli_commands.h"

namespace {

bool TakesValue(const QString &name)
{
    return name == QLatin1String("--ini") || name == QLatin1String("--to") || name == QLatin1String("--prefix") ||
           name == QLatin1String("--exe") || name == QLatin1String("--mpq") || name == QLatin1String("--format") ||
           name == QLatin1String("--max-files") || name == QLatin1String("--size") || name == QLatin1String("--locale");
}

// Every command takes these.
bool IsGeneral(const QString &name)
{
    for (const char *general : {"--ini", "-v", "--verbose", "--no-scan", "-h", "--help", "--version"})
        if (name == QLatin1String(general)) return true;
    return name.startsWith(QLatin1String("--ini="));
}

bool Owns(const CliCommand &command, const QString &name)
{
    for (const char *option : command.options)
        if (option && name == QLatin1String(option)) return true;
    return false;
}

bool IsKnown(const QString &name)
{
    if (IsGeneral(name)) return true;
    for (const CliCommand &command : Commands())
        if (Owns(command, name)) return true;
    return false;
}

}  // namespace

std::optional<QString> CommandLine::Value(const QString &name) const
{
    std::optional<QString> value;
    for (const Option &option : options)
        if (option.name == name && option.value) value = option.value;
    return value;
}

bool CommandLine::Has(const QString &name) const
{
    for (const Option &option : options)
        if (option.name == name) return true;
    return false;
}

CommandLine ReadCommandLine(const QStringList &argv)
{
    CommandLine line;
    bool optionsEnded = false;  // after "--" every word is a name or path
    for (qsizetype i = 1; i < argv.size(); ++i) {
        const QString &word = argv[i];
        if (optionsEnded || word == QLatin1String("-") || !word.startsWith(QLatin1Char('-'))) {
            line.arguments.append(word);
        } else if (word == QLatin1String("--")) {
            optionsEnded = true;
        } else {
            CommandLine::Option option{word, IsKnown(word), std::nullopt};
            if (TakesValue(word) && i + 1 < argv.size()) option.value = argv[++i];
            if (word == QLatin1String("-h") || word == QLatin1String("--help")) line.help = true;
            if (word == QLatin1String("--version")) line.version = true;
            line.options.append(option);
        }
    }
    return line;
}

QString IniOption(const CommandLine &line)
{
    QString ini;
    for (const CommandLine::Option &option : line.options) {
        if (option.name == QLatin1String("--ini") && option.value)
            ini = QFileInfo(*option.value).absoluteFilePath();
        else if (option.name.startsWith(QLatin1String("--ini=")))
            ini = QFileInfo(option.name.mid(6)).absoluteFilePath();
    }
    return ini;
}

std::optional<OptionProblem> CheckOptions(const CommandLine &line, const CliCommand *command)
{
    for (const CommandLine::Option &option : line.options) {
        if (!option.known)
            return OptionProblem{Say::UnknownOption, option.name, {}};
        if (TakesValue(option.name) && (!option.value || (option.value->isEmpty() && option.name != QLatin1String("--prefix"))))
            return OptionProblem{option.name == QLatin1String("--to") ? Say::NeedsFolder
                                 : option.name == QLatin1String("--ini") || option.name == QLatin1String("--exe") ||
                                         option.name == QLatin1String("--mpq")
                                     ? Say::NeedsFile
                                     : Say::NeedsValue,
                                 option.name, {}};
    }
    if (!command) return std::nullopt;
    for (qsizetype n = 0; n < line.options.size(); ++n) {
        const QString &name = line.options[n].name;
        if (IsGeneral(name)) continue;
        if (!Owns(*command, name)) {
            QStringList owners;
            for (const CliCommand &other : Commands())
                if (Owns(other, name)) owners.append(QLatin1String(other.name));
            return OptionProblem{Say::BelongsTo, name, owners.join(QStringLiteral(", "))};
        }
        for (qsizetype m = 0; m < n; ++m)
            if (line.options[m].name == name) return OptionProblem{Say::GivenTwice, name, {}};
    }
    return std::nullopt;
}
