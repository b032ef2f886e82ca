#include "command_line.h"

#include <QFileInfo>

namespace {

bool TakesValue(const QString &name)
{
    return name == QLatin1String("--ini") || name == QLatin1String("--to") || name == QLatin1String("--prefix") ||
           name == QLatin1String("--exe") || name == QLatin1String("--mpq") || name == QLatin1String("--format") ||
           name == QLatin1String("--max-files") || name == QLatin1String("--size") || name == QLatin1String("--locale");
}

bool IsKnown(const QString &name)
{
    return TakesValue(name) || name == QLatin1String("-h") || name == QLatin1String("--help") ||
           name == QLatin1String("-v") || name == QLatin1String("--verbose") || name == QLatin1String("--no-scan") ||
           name == QLatin1String("--version") ||
           name.startsWith(QLatin1String("--ini="));
}

QString UnknownOption(const QString &name)
{
    return QStringLiteral("unknown option %1 (put -- before names that begin with -)").arg(name);
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

QString GeneralUsageError(const CommandLine &line)
{
    for (const CommandLine::Option &option : line.options) {
        if (!option.known || option.name == QLatin1String("--exe") || option.name == QLatin1String("--mpq"))
            return UnknownOption(option.name);
        if (TakesValue(option.name) && !option.value)
            return option.name + (option.name == QLatin1String("--ini")  ? QStringLiteral(" needs a file")
                                  : option.name == QLatin1String("--to") ? QStringLiteral(" needs a folder")
                                                                         : QStringLiteral(" needs a value"));
    }
    return {};
}

QString SplitUsageError(const CommandLine &line)
{
    bool exeGiven = false, mpqGiven = false;
    for (const CommandLine::Option &option : line.options) {
        if (!option.known) return UnknownOption(option.name);
        if (option.name == QLatin1String("--exe") || option.name == QLatin1String("--mpq")) {
            bool &given = option.name == QLatin1String("--exe") ? exeGiven : mpqGiven;
            if (!option.value || option.value->isEmpty()) return option.name + QStringLiteral(" needs a file");
            if (given) return option.name + QStringLiteral(" is given twice");
            given = true;
        } else if (option.name == QLatin1String("--to")) {
            return QStringLiteral("--to belongs to extract");
        } else if (option.name == QLatin1String("--prefix")) {
            return QStringLiteral("--prefix belongs to add");
        }
    }
    return {};
}
