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
#include "editing/archive_update.h"
#include "editing/compact.h"
#include "editing/archive_check.h"
#include "editing/delete_rename.h"
#include "editing/extract_files.h"
#include "listing/locale_tags.h"
#include "base/file_walk.h"
#include "base/paths.h"
#include "exit_status.h"
#include "look_commands.h"
#include "folder_commands.h"
#include "usage.h"
#include "listing/classic_listing.h"
#include "listing/name_scanner.h"
#include "listing/row_order.h"
#include "base/text_encoding.h"
#include "preview/preview_content.h"
#include "properties/archive_properties.h"
#include "tools/verify_archive.h"

namespace {

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
    case Refusal::Damaged:
        PrintError(QStringLiteral("%1: damaged, reading it stopped the engine; left as it was").arg(archive));
        break;
    case Refusal::Malformed:
        PrintError(QStringLiteral("%1: a malformed archive (a protected map): it can be read, never changed").arg(archive));
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
// `totalSize` gets the sum of their sizes. The listing is the command's one
// opening of the archive: when it holds none, or took the engine down, the
// reason is said and `status` gets the exit status.
std::vector<ListRow> ListedRows(const QString &path, const Settings &settings, qint64 &totalSize, int &status)
{
    CollectingPorts ports;
    totalSize = 0;
    status = ReportArchiveCheck(path, WhyNotRead(ListArchiveRows(path, settings.listing, ports, ports, ports, &totalSize)));
    return std::move(ports.rows);
}

// The archive named by a command of one argument, made absolute; empty with
// the exit status in `status` when there is none to take. Only the disk is
// asked: the command's own opening says why an archive cannot be read.
QString OneArchive(const QStringList &arguments, const char *command, int &status)
{
    status = 0;
    if (arguments.size() != 1) {
        PrintError(QStringLiteral("%1 takes one archive").arg(QLatin1String(command)));
        status = kUsageStatus;
        return {};
    }
    const QString path = QFileInfo(arguments[0]).absoluteFilePath();
    status = ReportArchiveCheck(path, CheckPath(path));
    return status ? QString() : path;
}

int ListCommand(const QStringList &arguments, const Settings &settings)
{
    if (arguments.size() != 1) {
        PrintError(QStringLiteral("list takes one archive"));
        return kUsageStatus;
    }
    // Checked and listed with one opening.
    const QString path = QFileInfo(arguments[0]).absoluteFilePath();
    if (const Refusal why = CheckPath(path); why != Refusal::None) return ReportArchiveCheck(path, why);
    // The records are sorted and printed as they are: no row is made.
    CollectingPorts quiet;
    mpq::FileList records;
    const RecordsRead read = ReadArchiveRecords(path, settings.listing, quiet, quiet, records, nullptr);
    if (const int status = ReportArchiveCheck(path, WhyNotRead(read))) return status;
    if (read == RecordsRead::Malformed)
        PrintError(QStringLiteral("%1: a malformed archive (a protected map): listed, but never changed").arg(path));
    PrintRecords(records, SortRecords(records, settings.window.SortKey, settings.window.SortOrder));
    return 0;
}

int NamesCommand(const QStringList &arguments, const Settings &settings)
{
    int status = 0;
    const QString path = OneArchive(arguments, "names", status);
    if (status) return status;
    CollectingPorts ports;
    RecordsRead read = RecordsRead::NoArchive;
    const QList<QByteArray> names = ScanArchiveNames(path, settings.listing, ports, &read);
    if (const int refused = ReportArchiveCheck(path, WhyNotRead(read))) return refused;
    for (const QByteArray &name : names) std::printf("%s\n", EscapeControls(DecodeBytes(name)).toUtf8().constData());
    return 0;
}

int InfoCommand(const QStringList &arguments, const Settings &settings)
{
    int status = 0;
    const QString path = OneArchive(arguments, "info", status);
    if (status) return status;
    qint64 totalSize = 0;
    const std::vector<ListRow> rows = ListedRows(path, settings, totalSize, status);
    if (status) return status;

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
    if (p.mapDetails) {
        for (const auto &[key, value] : MapDetailLines(*p.mapDetails, false))
            std::printf("%s\t%s\n", key.toUtf8().constData(), EscapeControls(value).toUtf8().constData());
    }
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
    {FaultEngine, "damaged: reading it stopped the engine"},
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
    NoEvents events;
    const VerifyReport report = VerifyArchive(path, settings.listing, quiet, quiet, events);
    if (report.archive != Refusal::None) return ReportArchiveCheck(path, report.archive);
    for (const FaultyFile &file : report.faulty) {
        QStringList said;
        for (const auto &[fault, text] : kFaultTexts)
            if (file.faults & fault) said << QLatin1String(text);
        std::printf("%s: %s\n", EscapeControls(ShownName(file.name)).toUtf8().constData(),
                    said.join(QStringLiteral("; ")).toUtf8().constData());
    }
    std::printf("%lld files checked, %lld with faults; signature: %s\n", static_cast<long long>(report.filesChecked),
                static_cast<long long>(report.faulty.size()), SignatureText(report.signature));
    return report.Sound() ? 0 : kFaultsFoundStatus;
}

int CompactCommand(const QStringList &arguments, const Settings &settings)
{
    int status = 0;
    const QString path = OneArchive(arguments, "compact", status);
    if (status) return status;
    CollectingPorts quiet;
    NoEvents events;
    const CompactReport report = CompactArchive(path, settings.listing, quiet, events);
    switch (report.archive) {
    case Refusal::None:
        std::printf("%lld bytes before, %lld after\n", static_cast<long long>(report.sizeBefore),
                    static_cast<long long>(report.sizeAfter));
        break;
    case Refusal::Nameless:
        for (const QByteArray &name : report.nameless)
            PrintError(QStringLiteral("%1: has no name to be rewritten under").arg(ShownName(name)));
        PrintError(QStringLiteral("%1: not compacted; it is as it was").arg(path));
        break;
    case Refusal::NotWritable:
        PrintError(QStringLiteral("%1: the archive cannot be written").arg(path));
        break;
    case Refusal::EmptyFile:
    case Refusal::NotAnArchive:
    case Refusal::Damaged:
    case Refusal::Malformed: return ReportArchiveCheck(path, report.archive);
    default:
        ReportNotWritten(path);
        break;
    }
    return ExitStatus(report.archive);
}

int CreateCommand(const QStringList &arguments, const CommandLine &line, const Settings &settings)
{
    if (arguments.size() != 1) {
        PrintError(QStringLiteral("create takes one archive"));
        return kUsageStatus;
    }
    const QString format = line.Value(QStringLiteral("--format")).value_or(QStringLiteral("1"));
    bool counted = true;
    const qint32 maxFiles = line.Has(QStringLiteral("--max-files"))
                                ? line.Value(QStringLiteral("--max-files")).value_or(QString()).toInt(&counted)
                                : settings.config.DefaultMaxFiles;
    const bool knownFormat = format.size() == 1 && format[0] >= QLatin1Char('1') && format[0] <= QLatin1Char('4');
    if (!knownFormat || !counted || maxFiles < 1) {
        PrintError(QStringLiteral("create takes --format 1, 2, 3 or 4 and --max-files with a count of 1 or more"));
        return kUsageStatus;
    }
    const QString path = QFileInfo(arguments[0]).absoluteFilePath();
    const Refusal why = CreateArchive(path, format.toInt(), maxFiles);
    if (why == Refusal::NameInUse)
        PrintError(QStringLiteral("%1: a file is there already; left as it is").arg(path));
    else if (why != Refusal::None)
        PrintError(QStringLiteral("%1: the archive cannot be made there").arg(path));
    return ExitStatus(why);
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

int AddCommand(const QStringList &arguments, const QString &prefixOption, std::uint16_t locale, bool verbose,
               const Settings &settings)
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
        const AddReport report = AddFiles(archive, group.names, group.folder, prefix, config, panel, events, 1, locale);
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

int DeleteCommand(const QStringList &arguments, std::uint16_t locale, bool verbose, const Settings &settings)
{
    if (arguments.size() < 2) {
        PrintError(QStringLiteral("delete takes an archive and at least one stored name"));
        return kUsageStatus;
    }
    const QString archive = CleanAbsolutePath(arguments[0]);
    if (const int status = ReportArchiveCheck(archive, CheckArchiveToChange(archive))) return status;
    QList<QByteArray> names;
    for (const QString &name : arguments.mid(1)) names.append(VariantName(name.toUtf8(), locale));
    VerbosePanel panel(verbose);
    const DeleteReport report = DeleteStoredFiles(archive, names, settings.config.DefaultMaxFiles, panel);
    if (!report.opened()) return ReportUpdateNotOpened(archive, report.archive);
    if (!report.written()) ReportNotWritten(archive);
    int status = 0;
    for (const Refused<QByteArray> &entry : report.refused) {
        PrintError((entry.why == Refusal::NotStored ? QStringLiteral("%1: not stored")
                                                    : QStringLiteral("%1: could not be deleted"))
                       .arg(ShownName(entry.name)));
        status = std::max(status, ExitStatus(entry.why));
    }
    return status;
}

int RenameCommand(const QStringList &arguments, std::uint16_t locale, const Settings &settings)
{
    if (arguments.size() != 3 || arguments[1].isEmpty() || arguments[2].isEmpty()) {
        PrintError(QStringLiteral("rename takes an archive, a stored name and its new name"));
        return kUsageStatus;
    }
    const QString archive = CleanAbsolutePath(arguments[0]);
    if (const int status = ReportArchiveCheck(archive, CheckArchiveToChange(archive))) return status;
    const Refusal why =
        RenameStoredFile(archive, VariantName(arguments[1].toUtf8(), locale), VariantName(arguments[2].toUtf8(), locale),
                         settings.config.DefaultMaxFiles);
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

int ExtractCommand(const QStringList &arguments, const std::optional<QString> &folderOption,
                   std::optional<std::uint16_t> locale, bool verbose, const Settings &settings)
{
    if (arguments.isEmpty() || !folderOption || folderOption->isEmpty()) {
        PrintError(QStringLiteral("extract takes an archive, stored names if not all, and --to FOLDER"));
        return kUsageStatus;
    }
    const QString archive = QFileInfo(arguments[0]).absoluteFilePath();
    if (const int status = ReportArchiveCheck(archive, CheckPath(archive))) return status;
    QList<QByteArray> names;
    for (const QString &name : arguments.mid(1)) names.append(VariantName(name.toUtf8(), locale.value_or(0)));
    if (names.isEmpty()) {
        // Every stored file (of the locale given), by the names the listing gives them.
        qint64 totalSize = 0;
        int status = 0;
        for (const ListRow &row : ListedRows(archive, settings, totalSize, status))
            if (!locale || NameLocale(row.Tag) == *locale) names.append(row.Tag);
        if (status) return status;
    }
    const QString folder = QFileInfo(*folderOption).absoluteFilePath();
    const bool madeFolder = !QFileInfo::exists(folder);
    if (IsFile(folder) || !QDir().mkpath(folder)) {
        PrintError(QStringLiteral("%1: cannot be made a folder").arg(*folderOption));
        return ExitStatus(Refusal::NotCreatable);
    }
    VerbosePanel panel(verbose);
    NoEvents events;
    const ExtractReport report = ExtractFiles(archive, names, folder, panel, events);
    if (report.archive != Refusal::None) {
        if (madeFolder) QDir().rmdir(folder);  // made for nothing
        return ReportArchiveCheck(archive, report.archive);
    }
    for (const QByteArray &name : RefusedFor(report.refused, Refusal::NotRead))
        PrintError(QStringLiteral("%1: not in the archive, or unreadable").arg(ShownName(name)));
    for (const QByteArray &name : RefusedFor(report.refused, Refusal::Damaged))
        PrintError(QStringLiteral("%1: damaged, reading it stopped the engine; not written").arg(ShownName(name)));
    for (const QByteArray &name : RefusedFor(report.refused, Refusal::OutsideFolder))
        PrintError(QStringLiteral("%1: refused, it would be written outside %2").arg(ShownName(name), folder));
    for (const QByteArray &name : RefusedFor(report.refused, Refusal::Linked))
        PrintError(QStringLiteral("%1: refused, a link stands in its place below %2").arg(ShownName(name), folder));
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
    if (line.version) {
        std::printf("arcavera-cli %s\n", ARCAVERA_VERSION);
        return 0;
    }
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
    if ((line.Has(QStringLiteral("--format")) || line.Has(QStringLiteral("--max-files"))) &&
        command != QLatin1String("create")) {
        PrintError(QStringLiteral("--format and --max-files belong to create"));
        return kUsageStatus;
    }
    if (line.Has(QStringLiteral("--size")) && command != QLatin1String("thumbnail")) {
        PrintError(QStringLiteral("--size belongs to thumbnail"));
        return kUsageStatus;
    }
    std::optional<std::uint16_t> locale;
    if (const std::optional<QString> given = line.Value(QStringLiteral("--locale"))) {
        const QStringList owners = {QStringLiteral("add"), QStringLiteral("extract"), QStringLiteral("delete"),
                                    QStringLiteral("rename")};
        if (!owners.contains(command)) {
            PrintError(QStringLiteral("--locale belongs to add, extract, delete and rename"));
            return kUsageStatus;
        }
        std::uint16_t lcid = 0;
        if (!ParseLocale(*given, lcid)) {
            PrintError(QStringLiteral("%1: no such locale; give a tag (%2), neutral, or an LCID in hex such as 0x407")
                           .arg(*given, KnownLocaleTags().join(QStringLiteral(", "))));
            return kUsageStatus;
        }
        locale = lcid;
    }
    const bool verbose = line.Has(QStringLiteral("-v")) || line.Has(QStringLiteral("--verbose"));
    if (command == QLatin1String("embed")) return EmbedCommand(rest);
    Settings settings = LoadSettings(iniPath);
    if (line.Has(QStringLiteral("--no-scan"))) settings.listing.recoverNames = false;
    if (command == QLatin1String("list")) return ListCommand(rest, settings);
    if (command == QLatin1String("names")) return NamesCommand(rest, settings);
    if (command == QLatin1String("add"))
        return AddCommand(rest, line.Value(QStringLiteral("--prefix")).value_or(QString()), locale.value_or(0), verbose,
                          settings);
    if (command == QLatin1String("extract"))
        return ExtractCommand(rest, line.Value(QStringLiteral("--to")), locale, verbose, settings);
    if (command == QLatin1String("delete")) return DeleteCommand(rest, locale.value_or(0), verbose, settings);
    if (command == QLatin1String("rename")) return RenameCommand(rest, locale.value_or(0), settings);
    if (command == QLatin1String("info")) return InfoCommand(rest, settings);
    if (command == QLatin1String("verify")) return VerifyCommand(rest, settings);
    if (command == QLatin1String("cat")) return CatCommand(rest);
    if (command == QLatin1String("convert")) return ConvertCommand(rest);
    if (command == QLatin1String("thumbnail")) return ThumbnailCommand(rest, line.Value(QStringLiteral("--size")));
    if (command == QLatin1String("compact")) return CompactCommand(rest, settings);
    if (command == QLatin1String("unpack")) return UnpackCommand(rest, settings.listing, verbose);
    if (command == QLatin1String("pack")) return PackCommand(rest, settings.config, verbose);
    if (command == QLatin1String("create")) return CreateCommand(rest, line, settings);
    PrintError(QStringLiteral("unknown command: %1").arg(command));
    std::fputs(kUsage, stderr);
    return kUsageStatus;
}
