// arcavera-cli: the command-line face of Arcavera, for scripts and build
// pipelines. It runs the same core routines as the window.
#include <QCoreApplication>
#include <QFileInfo>
#include <QStringList>

#include <cstdio>
#include <vector>

#include "cli/cli_output.h"
#include "config/app_config.h"
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
    "\n"
    "Options:\n"
    "  --ini FILE      Use FILE as settings instead of the user's Arcavera.ini\n"
    "                  (external list files, type detection, sort order).\n"
    "  -h, --help      Show this help.\n"
    "\n"
    "Attributes: C compressed, E encrypted, X key adjusted to the position.\n"
    "Files that no list names are shown as ~unknowns\\...; names are printed as\n"
    "UTF-8, with tabs and line breaks inside a name printed as '?'.\n"
    "\n"
    "Exit status: 0 done, 1 bad usage, 2 the archive path does not exist or is\n"
    "a folder, 3 the file holds no MPQ archive.\n";

struct Options {
    QString iniPath;
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
    PrintError(QStringLiteral("unknown command: %1").arg(command));
    std::fputs(kUsage, stderr);
    return 1;
}
