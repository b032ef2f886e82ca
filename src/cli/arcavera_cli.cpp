// arcavera-cli: the command-line face of Arcavera, for scripts and build
// pipelines. It runs the same core routines as the window.
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QStringList>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "cli_output.h"
#include "cli_tools.h"
#include "command_line.h"
#include "config/app_config.h"
#include "config/catalogue.h"
#include "config/listing_setup.h"
#include "editing/add_files.h"
#include "editing/archive_check.h"
#include "editing/delete_rename.h"
#include "editing/extract_files.h"
#include "editing/helpers/file_walk.h"
#include "editing/helpers/paths.h"
#include "exit_status.h"
#include "listing/classic_listing.h"
#include "listing/name_scanner.h"
#include "listing/row_order.h"
#include "listing/text_encoding.h"
#include "properties/archive_properties.h"
#include "tools/verify_archive.h"

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
    "                  files (hidden ones too) under their paths relative to that\n"
    "                  folder. PREFIX (folders separated by \\ or /) goes before\n"
    "                  every name. The archive is made when it does not exist or\n"
    "                  is empty; a stored file of the same name is replaced. A\n"
    "                  PATH that does not exist is named and the others are\n"
    "                  still added. The archive itself is never added.\n"
    "  extract ARCHIVE [NAME...] --to FOLDER [--verbose]\n"
    "                  Write the named stored files (all of them when no name is\n"
    "                  given) below FOLDER, which is made when missing. Names use\n"
    "                  \\ between folders, as the list prints them, and are taken\n"
    "                  as UTF-8. Nothing is written outside FOLDER, nor through\n"
    "                  a link below it.\n"
    "  delete ARCHIVE NAME... [--verbose]\n"
    "                  Delete the named stored files. A NAME that is not stored\n"
    "                  is named and the others are still deleted. The room of\n"
    "                  deleted files is not given back.\n"
    "  rename ARCHIVE OLD NEW\n"
    "                  Store the file OLD under the name NEW instead. A NEW that\n"
    "                  is stored already is refused, OLD itself included; names\n"
    "                  that differ only in case are the same name.\n"
    "  delete and rename take names as extract does, and only change an archive\n"
    "  that exists: an empty file is no archive to them.\n"
    "  names ARCHIVE   Print the names that Arcavera recovers for the files that no\n"
    "                  list names (from its standard names of map files and the\n"
    "                  archive's own import lists, scripts, data and models), one\n"
    "                  a line, sorted: saved to a file, they serve as an external\n"
    "                  list file.\n"
    "  info ARCHIVE    Print the archive's properties, a line each, the name and\n"
    "                  the value separated by a tab: folder, name, size (the\n"
    "                  whole file's length, an executable part included),\n"
    "                  unpacked (the sum of the listed files' sizes), files (the\n"
    "                  entry count of the archive's header), rows (the files\n"
    "                  list prints), modified (local time, ISO 8601), saving\n"
    "                  (1 - size / unpacked, in percent; - when nothing is\n"
    "                  listed), then as the engine reads the archive: format\n"
    "                  (1 to 4), offset (of its header in the file), sector size\n"
    "                  (in bytes), hash table (slots), used slots, block table\n"
    "                  (entries), map name and map flags (of a WarCraft III\n"
    "                  map's header, when the file begins with one) and\n"
    "                  signature (none, weak or strong; not checked).\n"
    "  verify ARCHIVE  Check every file the list would print: read whole, and\n"
    "                  compared with the checksums the archive keeps of it (of\n"
    "                  its sectors, and its CRC32 and MD5 in (attributes)); then\n"
    "                  the archive's signature. Prints a line per faulty file,\n"
    "                  NAME: and its faults separated by \"; \", then \"N files\n"
    "                  checked, M with faults; signature: \" and none, weak,\n"
    "                  valid, strong, valid or does not match.\n"
    "  embed EXE ARCHIVE\n"
    "                  Append ARCHIVE, a plain MPQ archive (its header at its\n"
    "                  start), to EXE in place: zero bytes up to the next\n"
    "                  multiple of 512, then the archive byte for byte. EXE must\n"
    "                  begin with MZ and hold no archive yet.\n"
    "  split FILE [--exe OUT] [--mpq OUT]\n"
    "                  Cut a file whose archive stands behind an executable part:\n"
    "                  the bytes before the archive's header (padding included)\n"
    "                  go to the --exe file, the archive from its header to the\n"
    "                  end to the --mpq file; one of them or both. An existing\n"
    "                  OUT is replaced only once its copy is complete.\n"
    "\n"
    "Options:\n"
    "  --ini FILE      Use FILE as settings instead of the user's Arcavera.ini\n"
    "                  (compression rules, external list files, type detection,\n"
    "                  the recovery of names, sort order). Without a settings\n"
    "                  file, add uses the rules of a first start: .bik .smk .mp3\n"
    "                  .mpq .w3m .w3x stored plain, .wav compressed as audio, the\n"
    "                  rest compressed.\n"
    "  -v, --verbose   Print a line per file added, extracted or deleted.\n"
    "  --no-scan       List without recovering names from the archive's own\n"
    "                  files, whatever the settings say.\n"
    "  -h, --help      Show this help.\n"
    "  --              Take every later argument as a path or name, even one\n"
    "                  beginning with -.\n"
    "\n"
    "Attributes: C compressed, E encrypted, X key adjusted to the position.\n"
    "Files that no list names are shown as ~unknowns\\...; names are printed as\n"
    "UTF-8, with control characters (tabs and line breaks among them) written\n"
    "out as \\x and two hex digits, such as \\x1b for escape.\n"
    "\n"
    "Exit status:\n"
    "  0  done\n"
    "  1  bad usage\n"
    "  2  a path that does not exist, is the wrong kind (a folder given as\n"
    "     archive, a file as the folder to extract to), or cannot be made or\n"
    "     written\n"
    "  3  the file holds no MPQ archive (it is left as it is)\n"
    "  4  some files could not be added, extracted or deleted, or the file to\n"
    "     rename is not stored: each is named on standard error, the others\n"
    "     were done (a disk failure during extraction ends it there)\n"
    "  5  rename: the new name is stored already; nothing was renamed\n"
    "  6  verify: a file is faulty, or the signature does not match (an\n"
    "     archive without a signature is no fault)\n"
    "For embed and split:\n"
    "  2  a path that does not exist or is a folder, an ARCHIVE that is EXE\n"
    "     itself, an OUT that is FILE itself or both OUTs one file\n"
    "  3  EXE does not begin with MZ, ARCHIVE has no header at its start, or\n"
    "     FILE holds no archive behind an executable part\n"
    "  4  EXE holds an archive already\n"
    "  5  a file cannot be read or written; the file that failed is left as it\n"
    "     was (EXE keeps its old length, OUT its old bytes)\n";

// The settings every command reads, loaded once.
struct Settings {
    QString iniPath;
    AppConfig config;
    ListingOptions listing;
    WindowSettings window;
};

Settings LoadSettings(const QString &iniPath)
{
    Settings settings;
    settings.iniPath = iniPath;
    settings.config.IniPath = iniPath;
    LoadAppConfig(settings.config);
    settings.listing = ListingOptionsOf(settings.config);
    settings.window = ReadWindowSettings(iniPath, 0, 0);
    return settings;
}

// Why `path` is no archive to read or change, said on standard error, as
// its exit status; 0 when it is one.
int ReportArchiveCheck(const QString &path, Refusal why)
{
    switch (why) {
    case Refusal::Missing:
        PrintError(QStringLiteral("%1: no such file").arg(path));
        break;
    case Refusal::WrongKind:
        PrintError(QStringLiteral("%1: is a folder, not an archive").arg(path));
        break;
    case Refusal::EmptyFile:
        PrintError(QStringLiteral("%1: is empty, it holds no MPQ archive; left as it is").arg(path));
        break;
    case Refusal::NotAnArchive:
        PrintError(QStringLiteral("%1: holds no MPQ archive").arg(path));
        break;
    default:
        break;
    }
    return ExitStatus(why);
}

// Why the archive could not be opened for update, said, as its exit status.
int ReportUpdateNotOpened(const QString &archive, Refusal why)
{
    switch (why) {
    case Refusal::NotCreatable:
        PrintError(QStringLiteral("%1: the archive cannot be made there").arg(archive));
        break;
    case Refusal::NotWritable:
        PrintError(QStringLiteral("%1: the archive cannot be written").arg(archive));
        break;
    case Refusal::NotAnArchive:
        PrintError(QStringLiteral("%1: holds no MPQ archive; left as it is").arg(archive));
        break;
    default:
        break;
    }
    return ExitStatus(why);
}

void ReportNotWritten(const QString &archive)
{
    PrintError(QStringLiteral("%1: the archive could not be written (is the disk full?); it is as it was").arg(archive));
}

// The rows of the archive as the window lists them in Classic style;
// `totalSize` gets the sum of their sizes.
std::vector<ListRow> ListedRows(const QString &path, const Settings &settings, qint64 &totalSize)
{
    CollectingPorts ports;
    ListingPorts listing{ports, ports, ports};
    LoadArchiveClassic(path, settings.listing, listing, totalSize);
    return std::move(ports.rows);
}

// The archive named by a command of one argument, made absolute; empty with
// the exit status in `status` when there is none to take.
QString OneArchive(const QStringList &arguments, const char *command, int &status)
{
    status = 0;
    if (arguments.size() != 1) {
        PrintError(QStringLiteral("%1 takes one archive").arg(QLatin1String(command)));
        status = kUsageStatus;
        return {};
    }
    const QString path = QFileInfo(arguments[0]).absoluteFilePath();
    status = ReportArchiveCheck(path, CheckArchive(path, ArchiveUse::Read));
    return status ? QString() : path;
}

int ListCommand(const QStringList &arguments, const Settings &settings)
{
    int status = 0;
    const QString path = OneArchive(arguments, "list", status);
    if (status) return status;
    qint64 totalSize = 0;
    std::vector<ListRow> rows = ListedRows(path, settings, totalSize);
    SortRows(rows, settings.window.SortKey, settings.window.SortOrder);
    PrintRows(rows);
    return 0;
}

int NamesCommand(const QStringList &arguments, const Settings &settings)
{
    int status = 0;
    const QString path = OneArchive(arguments, "names", status);
    if (status) return status;
    CollectingPorts ports;
    for (const QByteArray &name : ScanArchiveNames(path, settings.listing, ports))
        std::printf("%s\n", EscapeControls(DecodeBytes(name)).toUtf8().constData());
    return 0;
}

int InfoCommand(const QStringList &arguments, const Settings &settings)
{
    int status = 0;
    const QString path = OneArchive(arguments, "info", status);
    if (status) return status;
    qint64 totalSize = 0;
    const std::vector<ListRow> rows = ListedRows(path, settings, totalSize);

    const ArchiveProperties p = ReadArchiveProperties(path, totalSize, static_cast<qint64>(rows.size()));
    const std::optional<double> saving = ArchiveSaving(p);
    QList<std::pair<const char *, QString>> lines = {
        {"folder", p.folder},
        {"name", p.name},
        {"size", QString::number(p.size)},
        {"unpacked", QString::number(p.unpacked)},
        {"files", QString::number(p.headerCount)},
        {"rows", QString::number(p.rowsShown)},
        {"modified", p.lastChange.toString(Qt::ISODate)},
        {"saving", saving ? QString::number(*saving * 100.0, 'f', 2) + QLatin1Char('%') : QStringLiteral("-")},
    };
    if (const std::optional<ArchiveDetails> &d = p.details) {
        lines += {{"format", QString::number(d->formatVersion)},
                  {"offset", QString::number(d->headerOffset)},
                  {"sector size", QString::number(d->sectorSize)},
                  {"hash table", QString::number(d->hashTableSize)},
                  {"used slots", QString::number(d->usedSlots)},
                  {"block table", QString::number(d->blockTableSize)}};
        if (p.mapHeader)
            lines += {{"map name", p.mapHeader->name},
                      {"map flags", QStringLiteral("0x%1").arg(p.mapHeader->flags, 8, 16, QLatin1Char('0'))}};
        lines += {"signature", d->signature == ArchiveSignature::Strong ? QStringLiteral("strong")
                               : d->signature == ArchiveSignature::Weak ? QStringLiteral("weak")
                                                                        : QStringLiteral("none")};
    }
    for (const auto &[key, value] : lines)
        std::printf("%s\t%s\n", key, EscapeControls(value).toUtf8().constData());
    return 0;
}

// What verify says of each fault, in the order of their bits.
constexpr std::pair<FileFault, const char *> kFaultTexts[] = {
    {FaultNotOpened, "cannot be opened"},
    {FaultNotRead, "cannot be read completely"},
    {FaultSectorChecksum, "sector checksum wrong"},
    {FaultCrc32, "CRC32 differs from (attributes)"},
    {FaultMd5, "MD5 differs from (attributes)"},
    {FaultRawMd5, "MD5 of the stored data differs"},
};

const char *SignatureText(SignatureVerdict signature)
{
    switch (signature) {
    case SignatureVerdict::WeakValid: return "weak, valid";
    case SignatureVerdict::StrongValid: return "strong, valid";
    case SignatureVerdict::Mismatch: return "does not match";
    case SignatureVerdict::None: break;
    }
    return "none";
}

int VerifyCommand(const QStringList &arguments, const Settings &settings)
{
    int status = 0;
    const QString path = OneArchive(arguments, "verify", status);
    if (status) return status;
    CollectingPorts quiet;
    const VerifyReport report = VerifyArchive(path, settings.listing, quiet, quiet);
    if (report.archive != Refusal::None) return ReportArchiveCheck(path, report.archive);
    for (const FaultyFile &file : report.faulty) {
        QStringList said;
        for (const auto &[fault, text] : kFaultTexts)
            if (file.faults & fault) said << QLatin1String(text);
        std::printf("%s: %s\n", EscapeControls(DecodeBytes(file.name)).toUtf8().constData(),
                    said.join(QStringLiteral("; ")).toUtf8().constData());
    }
    std::printf("%lld files checked, %lld with faults; signature: %s\n", static_cast<long long>(report.filesChecked),
                static_cast<long long>(report.faulty.size()), SignatureText(report.signature));
    return report.Sound() ? 0 : kFaultsFoundStatus;
}

// The status text of each file added, extracted or deleted, a line each,
// when asked for. The closing ready text names no file and is left out.
struct VerbosePanel : StatusPanel {
    explicit VerbosePanel(bool on) : verbose(on) {}
    bool verbose;
    void SetStatusText(const QString &text) override
    {
        if (!verbose || text == Texts().StatusBarReady) return;
        std::fputs(EscapeControls(text).toUtf8().constData(), stdout);
        std::fputc('\n', stdout);
    }
};

// An absolute path with "." and ".." resolved, to compare paths by.
QString CleanAbsolutePath(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

// The files of one source folder: they go in with one pass over the archive.
struct AddGroup {
    QString folder;
    QStringList names;  // relative to the folder, "/" between levels
};

int AddCommand(const QStringList &arguments, const QString &prefixOption, bool verbose, const Settings &settings)
{
    if (arguments.size() < 2) {
        PrintError(QStringLiteral("add takes an archive and at least one file or folder"));
        return kUsageStatus;
    }
    const QString archive = CleanAbsolutePath(arguments[0]);
    if (IsDirectory(archive)) return ReportArchiveCheck(archive, Refusal::WrongKind);

    // The batch, grouped by source folder in the order the paths came. A path
    // that is missing is named and the others still go in.
    int status = 0;
    std::vector<AddGroup> groups;
    QHash<QString, std::size_t> groupIndex;
    const auto namesOf = [&](const QString &folder) -> QStringList & {
        const auto found = groupIndex.constFind(folder);
        if (found != groupIndex.cend()) return groups[*found].names;
        groupIndex.insert(folder, groups.size());
        groups.push_back(AddGroup{folder, {}});
        return groups.back().names;
    };
    for (const QString &argument : arguments.mid(1)) {
        const QString path = CleanAbsolutePath(argument);
        if (IsDirectory(path)) {
            // As the window adds a folder: every file below it, hidden ones
            // included, named relative to it. The archive itself, when it
            // lies below, stays out.
            const QString found =
                ScanFiles(path, QStringLiteral("*"), kAttributeHidden | kAttributeSystem, true, QString(QChar(0)));
            const qsizetype cut = path.endsWith(QLatin1Char('/')) ? path.size() : path.size() + 1;
            QStringList &names = namesOf(path);
            for (const QString &file : found.split(QChar(0), Qt::SkipEmptyParts))
                if (QDir::cleanPath(file) != archive) names.append(file.mid(cut));
        } else if (path == archive) {
            PrintError(QStringLiteral("%1: is the archive itself; left out").arg(argument));
            status = std::max(status, ExitStatus(Refusal::WrongKind));
        } else if (IsFile(path)) {
            // As the window adds a chosen file: under its bare name.
            const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
            namesOf(slash == 0 ? QStringLiteral("/") : path.left(slash)).append(path.mid(slash + 1));
        } else {
            PrintError(QStringLiteral("%1: no such file or folder").arg(argument));
            status = std::max(status, ExitStatus(Refusal::Missing));
        }
    }

    QByteArray prefix = PathBytes(StoredNameFromRelativePath(prefixOption));
    if (!prefix.isEmpty() && !prefix.endsWith('\\')) prefix += '\\';
    // Without a settings file the rules are those a first start would write.
    AppConfig config = settings.config;
    if (!IsFile(settings.iniPath)) config.ExtensionRules = FirstRunRules();
    VerbosePanel panel(verbose);
    NoEvents events;
    for (const AddGroup &group : groups) {
        if (group.names.isEmpty()) continue;  // an empty folder adds nothing
        const AddReport report = AddFiles(archive, group.names, group.folder, prefix, config, panel, events);
        if (!report.opened()) return std::max(status, ReportUpdateNotOpened(archive, report.archive));
        if (!report.written()) ReportNotWritten(archive);
        status = std::max(status, ExitStatus(report.archive));
        const QString folder = group.folder.endsWith(QLatin1Char('/')) ? group.folder : group.folder + QLatin1Char('/');
        for (const Refused<QString> &entry : report.refused)
            if (entry.why != Refusal::UnknownCompression)
                PrintError(QStringLiteral("%1: could not be added").arg(folder + entry.name));
        for (const QString &name : RefusedFor(report.refused, Refusal::UnknownCompression))
            PrintError(QStringLiteral("%1: left out, its rule has an unknown compression type").arg(folder + name));
        for (const Refused<QString> &entry : report.refused) status = std::max(status, ExitStatus(entry.why));
    }
    return status;
}

int DeleteCommand(const QStringList &arguments, bool verbose, const Settings &settings)
{
    if (arguments.size() < 2) {
        PrintError(QStringLiteral("delete takes an archive and at least one stored name"));
        return kUsageStatus;
    }
    const QString archive = CleanAbsolutePath(arguments[0]);
    if (const int status = ReportArchiveCheck(archive, CheckArchive(archive, ArchiveUse::Change))) return status;
    QList<QByteArray> names;
    for (const QString &name : arguments.mid(1)) names.append(name.toUtf8());
    VerbosePanel panel(verbose);
    const DeleteReport report = DeleteStoredFiles(archive, names, settings.config.DefaultMaxFiles, panel);
    if (!report.opened()) return ReportUpdateNotOpened(archive, report.archive);
    if (!report.written()) ReportNotWritten(archive);
    int status = 0;
    for (const Refused<QByteArray> &entry : report.refused) {
        PrintError((entry.why == Refusal::NotStored ? QStringLiteral("%1: not stored")
                                                    : QStringLiteral("%1: could not be deleted"))
                       .arg(DecodeBytes(entry.name)));
        status = std::max(status, ExitStatus(entry.why));
    }
    return status;
}

int RenameCommand(const QStringList &arguments, const Settings &settings)
{
    if (arguments.size() != 3 || arguments[1].isEmpty() || arguments[2].isEmpty()) {
        PrintError(QStringLiteral("rename takes an archive, a stored name and its new name"));
        return kUsageStatus;
    }
    const QString archive = CleanAbsolutePath(arguments[0]);
    if (const int status = ReportArchiveCheck(archive, CheckArchive(archive, ArchiveUse::Change))) return status;
    const Refusal why =
        RenameStoredFile(archive, arguments[1].toUtf8(), arguments[2].toUtf8(), settings.config.DefaultMaxFiles);
    switch (why) {
    case Refusal::None:
        break;
    case Refusal::NameInUse:
        PrintError(QStringLiteral("%1: a file of that name is stored already; nothing renamed").arg(arguments[2]));
        break;
    case Refusal::ArchiveNotWritten:
        PrintError(QStringLiteral("%1: the archive could not be written (is the disk full?); nothing renamed")
                       .arg(archive));
        break;
    case Refusal::NotStored:
        PrintError(QStringLiteral("%1: not stored; nothing renamed").arg(arguments[1]));
        break;
    case Refusal::EngineRefused:
        PrintError(QStringLiteral("%1: could not be renamed to %2").arg(arguments[1], arguments[2]));
        break;
    default:
        return ReportUpdateNotOpened(archive, why);
    }
    return ExitStatus(why);
}

int ExtractCommand(const QStringList &arguments, const std::optional<QString> &folderOption, bool verbose,
                   const Settings &settings)
{
    if (arguments.isEmpty() || !folderOption || folderOption->isEmpty()) {
        PrintError(QStringLiteral("extract takes an archive, stored names if not all, and --to FOLDER"));
        return kUsageStatus;
    }
    const QString archive = QFileInfo(arguments[0]).absoluteFilePath();
    if (const int status = ReportArchiveCheck(archive, CheckArchive(archive, ArchiveUse::Read))) return status;
    const QString folder = QFileInfo(*folderOption).absoluteFilePath();
    if (IsFile(folder) || !QDir().mkpath(folder)) {
        PrintError(QStringLiteral("%1: cannot be made a folder").arg(*folderOption));
        return ExitStatus(Refusal::NotCreatable);
    }
    QList<QByteArray> names;
    for (const QString &name : arguments.mid(1)) names.append(name.toUtf8());
    if (names.isEmpty()) {
        // Every stored file, by the names the listing gives them.
        qint64 totalSize = 0;
        for (const ListRow &row : ListedRows(archive, settings, totalSize)) names.append(row.Tag);
    }
    VerbosePanel panel(verbose);
    NoEvents events;
    const ExtractReport report = ExtractFiles(archive, names, folder, panel, events);
    for (const QByteArray &name : RefusedFor(report.refused, Refusal::NotRead))
        PrintError(QStringLiteral("%1: not in the archive, or unreadable").arg(DecodeBytes(name)));
    for (const QByteArray &name : RefusedFor(report.refused, Refusal::OutsideFolder))
        PrintError(QStringLiteral("%1: refused, it would be written outside %2").arg(DecodeBytes(name), folder));
    for (const QByteArray &name : RefusedFor(report.refused, Refusal::Linked))
        PrintError(QStringLiteral("%1: refused, a link stands in its place below %2").arg(DecodeBytes(name), folder));
    if (!RefusedFor(report.refused, Refusal::DiskFailure).isEmpty())
        PrintError(QStringLiteral("%1: cannot be written; extraction stopped there").arg(report.failedPath));
    int status = 0;
    for (const Refused<QByteArray> &entry : report.refused) status = std::max(status, ExitStatus(entry.why));
    return status;
}

}  // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const CommandLine line = ReadCommandLine(QCoreApplication::arguments());
    // split owns --exe and --mpq and reads no settings; asked for the help
    // it shows the help as any other command does.
    if (!line.help && !line.arguments.isEmpty() && line.arguments.first() == QLatin1String("split")) {
        if (const QString error = SplitUsageError(line); !error.isEmpty()) {
            PrintError(error);
            return kUsageStatus;
        }
        return SplitCommand(line.arguments.mid(1), line.Value(QStringLiteral("--exe")).value_or(QString()),
                            line.Value(QStringLiteral("--mpq")).value_or(QString()));
    }
    if (const QString error = GeneralUsageError(line); !error.isEmpty()) {
        PrintError(error);
        std::fputs(kUsage, stderr);
        return kUsageStatus;
    }
    if (line.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (line.arguments.isEmpty()) {
        std::fputs(kUsage, stderr);
        return kUsageStatus;
    }
    const QString iniOption = IniOption(line);
    const QString iniPath = iniOption.isEmpty() ? LocateIniPath(QCoreApplication::applicationDirPath()) : iniOption;
    // Status lines speak the language the settings name, as the window does.
    LoadLanguage(LanguageFilePath(LanguagesFolder(QCoreApplication::applicationDirPath()), ReadLanguage(iniPath)));
    const QString command = line.arguments.first();
    const QStringList rest = line.arguments.mid(1);
    if (line.Has(QStringLiteral("--to")) && command != QLatin1String("extract")) {
        PrintError(QStringLiteral("--to belongs to extract"));
        return kUsageStatus;
    }
    if (line.Has(QStringLiteral("--prefix")) && command != QLatin1String("add")) {
        PrintError(QStringLiteral("--prefix belongs to add"));
        return kUsageStatus;
    }
    const bool verbose = line.Has(QStringLiteral("-v")) || line.Has(QStringLiteral("--verbose"));
    if (command == QLatin1String("embed")) return EmbedCommand(rest);
    Settings settings = LoadSettings(iniPath);
    if (line.Has(QStringLiteral("--no-scan"))) settings.listing.recoverNames = false;
    if (command == QLatin1String("list")) return ListCommand(rest, settings);
    if (command == QLatin1String("names")) return NamesCommand(rest, settings);
    if (command == QLatin1String("add"))
        return AddCommand(rest, line.Value(QStringLiteral("--prefix")).value_or(QString()), verbose, settings);
    if (command == QLatin1String("extract")) return ExtractCommand(rest, line.Value(QStringLiteral("--to")), verbose, settings);
    if (command == QLatin1String("delete")) return DeleteCommand(rest, verbose, settings);
    if (command == QLatin1String("rename")) return RenameCommand(rest, settings);
    if (command == QLatin1String("info")) return InfoCommand(rest, settings);
    if (command == QLatin1String("verify")) return VerifyCommand(rest, settings);
    PrintError(QStringLiteral("unknown command: %1").arg(command));
    std::fputs(kUsage, stderr);
    return kUsageStatus;
}
