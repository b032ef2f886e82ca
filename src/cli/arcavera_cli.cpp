// arcavera-cli: the command-line face of Arcavera, for scripts and build
// pipelines. It runs the same core routines as the window.
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <cstdio>
#include <vector>

#include "cli/cli_output.h"
#include "config/app_config.h"
#include "editing/add_files.h"
#include "editing/extract_files.h"
#include "editing/helpers/file_walk.h"
#include "editing/helpers/paths.h"
#include "listing/classic_listing.h"
#include "listing/mpq_library.h"
#include "listing/row_order.h"
#include "listing/text_encoding.h"

namespace {

constexpr const char *kUsage =
    "Usage: arcavera-cli [--ini FILE] COMMAND ARGUMENTS\n"
    "\n"
    "Commands:\n"
    "  list ARCHIVE    Print one line per stored file: name, extension, size,\n"
    "                  compressed size, saving and attributes, separated by tabs,\n"
    "                  in the order the Arcavera window shows them.\n"
    "  add ARCHIVE PATH... [--prefix PREFIX] [--verbose]\n"
    "                  Add files and folders, compressed by the rules of the\n"
    "                  settings. A file is stored under its own name; a folder's\n"
    "                  files under their paths relative to that folder. PREFIX\n"
    "                  (folders separated by \\ or /) goes before every name. The\n"
    "                  archive is made when it does not exist or is empty; a\n"
    "                  stored file of the same name is replaced.\n"
    "  extract ARCHIVE [NAME...] --to FOLDER [--verbose]\n"
    "                  Write the named stored files (all of them when no name is\n"
    "                  given) below FOLDER, which is made when missing. Names use\n"
    "                  \\ between folders, as the list prints them. Nothing is\n"
    "                  written outside FOLDER.\n"
    "\n"
    "Options:\n"
    "  --ini FILE      Use FILE as settings instead of the user's Arcavera.ini\n"
    "                  (compression rules, external list files, type detection,\n"
    "                  sort order). Without a settings file, add uses the rules\n"
    "                  of a first start: .bik .smk .mp3 .mpq .w3m .w3x stored\n"
    "                  plain, .wav compressed as audio, the rest compressed.\n"
    "  -v, --verbose   Print a line per file added or extracted.\n"
    "  -h, --help      Show this help.\n"
    "\n"
    "Attributes: C compressed, E encrypted, X key adjusted to the position.\n"
    "Files that no list names are shown as ~unknowns\\...; names are printed as\n"
    "UTF-8, with tabs and line breaks inside a name printed as '?'.\n"
    "\n"
    "Exit status: 0 done, 1 bad usage, 2 a path that does not exist or is the\n"
    "wrong kind (a folder given as archive), 3 the file holds no MPQ archive,\n"
    "4 some files could not be added or extracted (each is named on standard\n"
    "error; the others were done).\n";

struct Options {
    QString iniPath;
    QString prefix;
    QString folder;        // --to
    bool hasFolder = false;
    bool verbose = false;
    QStringList arguments;  // the command and its arguments
    bool help = false;
    QString error;
};

Options ParseOptions(const QStringList &argv)
{
    Options options;
    for (qsizetype i = 1; i < argv.size(); ++i) {
        const QString &arg = argv[i];
        if (arg == QLatin1String("-h") || arg == QLatin1String("--help")) {
            options.help = true;
        } else if (arg == QLatin1String("--ini")) {
            if (i + 1 >= argv.size()) {
                options.error = QStringLiteral("--ini needs a file");
                return options;
            }
            options.iniPath = QFileInfo(argv[++i]).absoluteFilePath();
        } else if (arg.startsWith(QLatin1String("--ini="))) {
            options.iniPath = QFileInfo(arg.mid(6)).absoluteFilePath();
        } else if (arg == QLatin1String("-v") || arg == QLatin1String("--verbose")) {
            options.verbose = true;
        } else if (arg == QLatin1String("--prefix") || arg == QLatin1String("--to")) {
            if (i + 1 >= argv.size()) {
                options.error = arg + QStringLiteral(" needs a value");
                return options;
            }
            if (arg == QLatin1String("--to")) {
                options.folder = argv[++i];
                options.hasFolder = true;
            } else {
                options.prefix = argv[++i];
            }
        } else {
            options.arguments.append(arg);
        }
    }
    return options;
}

// The listing reports nothing to a script: only the rows matter.
struct CollectingPorts : StatusPanel, ProgressBar, RowSink {
    std::vector<ListRow> rows;
    void SetStatusText(const QString &) override {}
    void SetProgressMax(int) override {}
    void SetProgressValue(int) override {}
    void SetProgressVisible(bool) override {}
    void SetSorted(bool) override {}
    void AddRow(ListRow row) override { rows.push_back(std::move(row)); }
    void ClearRows() override { rows.clear(); }
};

// Exit status 2 or 3 with a message when `path` is no archive, else 0.
int CheckArchive(const QString &path)
{
    if (!QFileInfo::exists(path)) {
        PrintError(QStringLiteral("%1: no such file").arg(path));
        return 2;
    }
    if (IsDirectory(path)) {
        PrintError(QStringLiteral("%1: is a folder, not an archive").arg(path));
        return 2;
    }
    mpq::MpqHandle archive = nullptr;
    if (!mpq::SFileOpenArchive(PathBytes(path).toStdString(), 0, 0, &archive)) {
        PrintError(QStringLiteral("%1: holds no MPQ archive").arg(path));
        return 3;
    }
    mpq::SFileCloseArchive(archive);
    return 0;
}

int ListCommand(const QStringList &arguments, const QString &iniPath)
{
    if (arguments.size() != 1) {
        PrintError(QStringLiteral("list takes one archive"));
        return 1;
    }
    const QString path = QFileInfo(arguments[0]).absoluteFilePath();
    if (const int status = CheckArchive(path)) return status;

    AppConfig config;
    config.IniPath = iniPath;
    LoadAppConfig(config);
    const WindowSettings window = ReadWindowSettings(iniPath, 0, 0);

    CollectingPorts ports;
    ListingPorts listing{ports, ports, ports};
    qint64 totalSize = 0;
    LoadArchiveClassic(path, config, listing, totalSize);
    SortRows(ports.rows, window.SortKey, window.SortOrder);
    PrintRows(ports.rows);
    return 0;
}

// The status texts of add and extract, a line each, when asked for.
struct VerbosePanel : StatusPanel {
    bool verbose = false;
    void SetStatusText(const QString &text) override
    {
        if (!verbose) return;
        std::fputs(text.toUtf8().constData(), stdout);
        std::fputc('\n', stdout);
    }
};

AppConfig LoadRules(const QString &iniPath)
{
    AppConfig config;
    config.IniPath = iniPath;
    LoadAppConfig(config);
    // Without a settings file the rules are those a first start would write.
    if (!IsFile(iniPath)) config.ExtensionRules = FirstRunRules();
    return config;
}

int AddCommand(const QStringList &arguments, const Options &options, const QString &iniPath)
{
    if (arguments.size() < 2) {
        PrintError(QStringLiteral("add takes an archive and at least one file or folder"));
        return 1;
    }
    const QString archive = QFileInfo(arguments[0]).absoluteFilePath();
    if (IsDirectory(archive)) {
        PrintError(QStringLiteral("%1: is a folder, not an archive").arg(archive));
        return 2;
    }
    QByteArray prefix = PathBytes(StoredNameFromRelativePath(options.prefix));
    if (!prefix.isEmpty() && !prefix.endsWith('\\')) prefix += '\\';
    const AppConfig config = LoadRules(iniPath);
    VerbosePanel panel;
    panel.verbose = options.verbose;
    NoEvents events;
    int status = 0;
    for (const QString &argument : arguments.mid(1)) {
        const QString path = QFileInfo(argument).absoluteFilePath();
        QString folder;
        QStringList names;
        if (IsDirectory(path)) {
            // As the window adds a folder: every file below it, hidden ones
            // included, named relative to it.
            folder = path;
            const QString found =
                ScanFiles(folder, QStringLiteral("*"), kAttributeHidden | kAttributeSystem, true, QString(QChar(0)));
            const qsizetype cut = folder.endsWith(QLatin1Char('/')) ? folder.size() : folder.size() + 1;
            for (const QString &file : found.split(QChar(0), Qt::SkipEmptyParts)) names.append(file.mid(cut));
            if (names.isEmpty()) continue;
        } else if (IsFile(path)) {
            const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
            folder = path.left(slash);
            names.append(path.mid(slash + 1));
        } else {
            PrintError(QStringLiteral("%1: no such file or folder").arg(argument));
            status = std::max(status, 2);
            continue;
        }
        const AddReport report = AddFiles(archive, names, folder, prefix, config, panel, events);
        if (!report.opened) {
            PrintError(QStringLiteral("%1: holds no MPQ archive, or cannot be written").arg(archive));
            return 3;
        }
        for (const QString &name : report.failed) {
            PrintError(QStringLiteral("%1: could not be added").arg(folder + QLatin1Char('/') + name));
            status = std::max(status, 4);
        }
        for (const QString &name : report.skipped) {
            PrintError(QStringLiteral("%1: left out, its rule has an unknown compression type").arg(name));
            status = std::max(status, 4);
        }
    }
    return status;
}

int ExtractCommand(const QStringList &arguments, const Options &options, const QString &iniPath)
{
    if (arguments.isEmpty() || !options.hasFolder || options.folder.isEmpty()) {
        PrintError(QStringLiteral("extract takes an archive, stored names if not all, and --to FOLDER"));
        return 1;
    }
    const QString archive = QFileInfo(arguments[0]).absoluteFilePath();
    if (const int status = CheckArchive(archive)) return status;
    const QString folder = QFileInfo(options.folder).absoluteFilePath();
    if (IsFile(folder) || !QDir().mkpath(folder)) {
        PrintError(QStringLiteral("%1: cannot be made a folder").arg(options.folder));
        return 2;
    }
    QList<QByteArray> names;
    for (const QString &name : arguments.mid(1)) names.append(name.toUtf8());
    if (names.isEmpty()) {
        // Every stored file, by the names the listing gives them.
        AppConfig config;
        config.IniPath = iniPath;
        LoadAppConfig(config);
        CollectingPorts ports;
        ListingPorts listing{ports, ports, ports};
        qint64 totalSize = 0;
        LoadArchiveClassic(archive, config, listing, totalSize);
        for (const ListRow &row : ports.rows) names.append(row.Tag);
    }
    VerbosePanel panel;
    panel.verbose = options.verbose;
    NoEvents events;
    const ExtractReport report = ExtractFiles(archive, names, folder, panel, events);
    int status = 0;
    for (const QByteArray &name : report.missing) {
        PrintError(QStringLiteral("%1: not in the archive, or unreadable").arg(DecodeBytes(name)));
        status = 4;
    }
    for (const QByteArray &name : report.refused) {
        PrintError(QStringLiteral("%1: refused, it would be written outside %2").arg(DecodeBytes(name), folder));
        status = 4;
    }
    if (report.diskFailure) {
        PrintError(QStringLiteral("%1: cannot be written; extraction stopped there").arg(report.failedPath));
        status = 4;
    }
    return status;
}

}  // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const Options options = ParseOptions(QCoreApplication::arguments());
    if (!options.error.isEmpty()) {
        PrintError(options.error);
        std::fputs(kUsage, stderr);
        return 1;
    }
    if (options.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (options.arguments.isEmpty()) {
        std::fputs(kUsage, stderr);
        return 1;
    }
    const QString iniPath =
        options.iniPath.isEmpty() ? LocateIniPath(QCoreApplication::applicationDirPath()) : options.iniPath;
    const QString command = options.arguments.first();
    const QStringList rest = options.arguments.mid(1);
    if (command == QLatin1String("list")) return ListCommand(rest, iniPath);
    if (command == QLatin1String("add")) return AddCommand(rest, options, iniPath);
    if (command == QLatin1String("extract")) return ExtractCommand(rest, options, iniPath);
    PrintError(QStringLiteral("unknown command: %1").arg(command));
    std::fputs(kUsage, stderr);
    return 1;
}
