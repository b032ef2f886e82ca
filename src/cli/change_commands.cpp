// arcavera-cli add, extract, delete and rename: stored files in and out.
#include <QDir>
#include <QFileInfo>
#include <QHash>

#include <algorithm>
#include <vector>

#include "base/file_walk.h"
#include "base/paths.h"
#include "base/text_encoding.h"
#include "cli_commands.h"
#include "cli_output.h"
#include "editing/add_files.h"
#include "editing/archive_check.h"
#include "editing/delete_rename.h"
#include "editing/extract_files.h"
#include "exit_status.h"
#include "listing/locale_tags.h"

namespace {

// The files of one source folder: they go in with one pass over the archive.
struct AddGroup {
    QString folder;
    QStringList names;  // relative to the folder, "/" between levels
};

// The batch of an add, grouped by source folder in the order the paths came.
// A path that is missing, or the archive itself, is named and left out, its
// exit status kept in `status`.
std::vector<AddGroup> AddGroups(const QStringList &paths, const QString &archive, int &status)
{
    std::vector<AddGroup> groups;
    QHash<QString, std::size_t> groupIndex;
    const auto namesOf = [&](const QString &folder) -> QStringList & {
        const auto found = groupIndex.constFind(folder);
        if (found != groupIndex.cend()) return groups[*found].names;
        groupIndex.insert(folder, groups.size());
        groups.push_back(AddGroup{folder, {}});
        return groups.back().names;
    };
    for (const QString &argument : paths) {
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
        } else if (path == archive || !IsFile(path)) {
            status = std::max(status, Refuse(path == archive ? Refusal::WrongKind : Refusal::Missing, About::Item, argument));
        } else {
            // As the window adds a chosen file: under its bare name.
            const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
            namesOf(slash == 0 ? QStringLiteral("/") : path.left(slash)).append(path.mid(slash + 1));
        }
    }
    return groups;
}

// Says each refused name of a batch, `shown` as messages name it, but those
// that only shared the archive's fate; the highest of their exit statuses.
template <typename Name, typename Shown>
int RefuseEach(const QList<Refused<Name>> &refused, Shown shown)
{
    int status = 0;
    for (const Refused<Name> &entry : refused)
        if (entry.why != Refusal::ArchiveNotWritten) status = std::max(status, Refuse(entry.why, About::Item, shown(entry.name)));
    return status;
}

// The stored names of `arguments` in the variant of `locale`.
QList<QByteArray> VariantNames(const QStringList &arguments, std::uint16_t locale)
{
    QList<QByteArray> names;
    for (const QString &name : arguments) names.append(VariantName(name.toUtf8(), locale));
    return names;
}

}  // namespace

int AddCommand(CommandRun &run)
{
    const QString archive = CleanAbsolutePath(run.arguments[0]);
    if (IsDirectory(archive)) return Refuse(Refusal::WrongKind, About::Archive, archive);
    int status = 0;
    const std::vector<AddGroup> groups = AddGroups(run.arguments.mid(1), archive, status);
    QByteArray prefix = PathBytes(StoredNameFromRelativePath(run.Value("--prefix").value_or(QString())));
    if (!prefix.isEmpty() && !prefix.endsWith('\\')) prefix += '\\';
    // Without a settings file the rules are those a first start would write.
    AppConfig config = run.settings.config;
    if (!run.settings.rulesFromFile) config.ExtensionRules = FirstRunRules();
    VerbosePanel panel(run.verbose);
    NoEvents events;
    for (const AddGroup &group : groups) {
        if (group.names.isEmpty()) continue;  // an empty folder adds nothing
        const AddReport report =
            AddFiles(archive, group.names, group.folder, prefix, config, panel, events, 1, run.locale.value_or(0));
        if (!report.opened()) return std::max(status, Refuse(report.archive, About::Archive, archive));
        if (!report.written()) status = std::max(status, Refuse(report.archive, About::Archive, archive));
        const QString folder = group.folder.endsWith(QLatin1Char('/')) ? group.folder : group.folder + QLatin1Char('/');
        status = std::max(status, RefuseEach(report.refused, [&](const QString &name) { return folder + name; }));
    }
    return status;
}

int DeleteCommand(CommandRun &run)
{
    const QString archive = CleanAbsolutePath(run.arguments[0]);
    if (const int status = Refuse(CheckArchiveToChange(archive), About::Archive, archive)) return status;
    VerbosePanel panel(run.verbose);
    const DeleteReport report = DeleteStoredFiles(archive, VariantNames(run.arguments.mid(1), run.locale.value_or(0)),
                                                  run.settings.config.DefaultMaxFiles, panel);
    if (!report.written()) return Refuse(report.archive, About::Archive, archive);
    return RefuseEach(report.refused, ShownName);
}

int RenameCommand(CommandRun &run)
{
    if (run.arguments[1].isEmpty() || run.arguments[2].isEmpty()) return run.WrongArguments();
    const QString archive = CleanAbsolutePath(run.arguments[0]);
    if (const int status = Refuse(CheckArchiveToChange(archive), About::Archive, archive)) return status;
    const QList<QByteArray> names = VariantNames(run.arguments.mid(1), run.locale.value_or(0));
    const Refusal why = RenameStoredFile(archive, names[0], names[1], run.settings.config.DefaultMaxFiles);
    // A name in use is the new one's fault; the rest concern the old name or the archive.
    if (why == Refusal::NameInUse) return Refuse(why, About::Item, ShownName(names[1]));
    if (why == Refusal::NotStored || why == Refusal::EngineRefused) return Refuse(why, About::Item, ShownName(names[0]));
    return Refuse(why, About::Archive, archive);
}

int ExtractCommand(CommandRun &run)
{
    const std::optional<QString> folderOption = run.Value("--to");
    if (!folderOption) return run.WrongArguments();
    const QString &archive = run.archive;
    QList<QByteArray> names = VariantNames(run.arguments.mid(1), run.locale.value_or(0));
    if (names.isEmpty()) {
        // Every stored file (of the locale given), by the names the listing gives them.
        qint64 totalSize = 0;
        int status = 0;
        for (const ListRow &row : ListedRows(archive, run.settings.listing, totalSize, status))
            if (!run.locale || NameLocale(row.Tag) == *run.locale) names.append(row.Tag);
        if (status) return status;
    }
    const QString folder = QFileInfo(*folderOption).absoluteFilePath();
    const bool madeFolder = !QFileInfo::exists(folder);
    if (IsFile(folder) || !QDir().mkpath(folder)) return Refuse(Refusal::NotCreatable, About::Item, *folderOption);
    VerbosePanel panel(run.verbose);
    NoEvents events;
    const ExtractReport report = ExtractFiles(archive, names, folder, panel, events);
    if (report.archive != Refusal::None) {
        if (madeFolder) QDir().rmdir(folder);  // made for nothing
        return Refuse(report.archive, About::Archive, archive);
    }
    int status = 0;
    for (const Refused<QByteArray> &entry : report.refused) {
        const QString shown = entry.why == Refusal::DiskFailure ? report.failedPath : ShownName(entry.name);
        status = std::max(status, Refuse(entry.why, About::Item, shown, folder));
    }
    return status;
}
