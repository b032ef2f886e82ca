// Packing a folder into an archive.
#include "tools/folder_pack.h"

#include <QDataStream>
#include <QDirIterator>
#include <QHash>
#include <QSet>
#include <QSaveFile>
#include <QTemporaryFile>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "boundary/child_work.h"
#include "config/app_config.h"
#include "config/catalogue.h"
#include "editing/add_files.h"
#include "base/paths.h"
#include "listing/locale_tags.h"
#include "base/text_encoding.h"
#include "mpq/mpq_library.h"
#include "mpq/mpq_shape.h"
#include "preview/map_details.h"

namespace {

constexpr std::uint32_t kFileCompress = 0x00000200, kFileEncrypt = 0x00010000, kFileExists = 0x80000000u;
constexpr std::uint8_t kZlib = 0x02, kPkware = 0x08, kWaveStereo = 0x81;

// Folders and files of version control, which a map kept under it holds
// beside its own files and which are no part of the map.
bool IsVersionControl(const QString &name)
{
    return name.startsWith(QLatin1String(".git")) || name == QLatin1String(".svn") || name == QLatin1String(".hg");
}

// Every file below `folder`, as paths relative to it, "/" between levels,
// in byte order: what the file system lists and in what order is left out
// of the result.
QStringList FilesBelow(const QString &folder)
{
    QStringList found;
    const QDir top(folder);
    QStringList pending{folder};
    while (!pending.isEmpty()) {
        const QString at = pending.takeLast();
        const QFileInfoList entries = QDir(at).entryInfoList(QDir::Files | QDir::Dirs | QDir::Hidden | QDir::System |
                                                             QDir::NoDotAndDotDot);
        for (const QFileInfo &entry : entries) {
            if (IsVersionControl(entry.fileName())) continue;
            if (entry.isDir() && !entry.isSymLink()) pending.append(entry.filePath());
            else if (entry.isFile()) found.append(top.relativeFilePath(entry.filePath()));
        }
    }
    std::sort(found.begin(), found.end(), [](const QString &a, const QString &b) { return a.toUtf8() < b.toUtf8(); });
    return found;
}

// A stored name as the hashes see it: ASCII letters in one case.
QByteArray HashCase(const QByteArray &name) { return name.toUpper(); }

// Two files that the archive would hold as one: the same name blind to
// case (or the same hashes) in the same locale.
bool FindCaseClash(const QList<ManifestFile> &files, FolderProblem &problem)
{
    QHash<QByteArray, qsizetype> seen;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const ManifestFile &f = files[i];
        const QByteArray key = (f.nameless() ? QByteArray::number(qulonglong(f.hashes), 16) + '#' : HashCase(f.name)) +
                               '/' + QByteArray::number(f.locale);
        const auto before = seen.constFind(key);
        if (before != seen.cend()) {
            problem = {FolderProblem::CaseClash, 0, files[*before].path, f.path};
            return true;
        }
        seen.insert(key, i);
    }
    return false;
}

// The next power of two of at least `count` hash slots, one in four spare.
std::uint32_t HashTableFor(qsizetype count)
{
    const std::uint64_t wanted = std::max<std::uint64_t>(16, static_cast<std::uint64_t>(count) + 3 + (count + 3) / 3);
    std::uint32_t size = 16;
    while (size < wanted && size < (1u << 20)) size <<= 1;
    return size;
}

// A folder without a manifest: every file under its path, compressed as the
// rules of the settings say.
bool ManifestForFolder(const QStringList &paths, const AppConfig &config, Manifest &m, FolderReport &report)
{
    m = Manifest{};
    m.listfile = true;
    m.attributes = 1 | 2 | 4;
    for (const QString &path : paths) {
        ManifestFile f;
        f.path = path;
        f.name = PathBytes(StoredNameFromRelativePath(path));
        const AddMethod method = ChooseAddMethod(path, config);
        if (method.kind == AddMethod::Skip) {
            report.refused.append({f.name, Refusal::UnknownCompression});
            continue;
        }
        f.flags = kFileExists;
        if (method.flags & mpq::MAFA_ENCRYPT) f.flags |= kFileEncrypt;
        if (method.kind == AddMethod::Wave) {
            f.flags |= kFileCompress;
            f.compression = kPkware;
            f.nextCompression = method.level == static_cast<std::int32_t>(mpq::MAWA_QUALITY_HIGH) ? kPkware : kWaveStereo;
        } else if ((method.flags & mpq::MAFA_COMPRESS) && method.compressionType != mpq::MAFA_COMPRESS_NONE) {
            f.flags |= kFileCompress;
            f.compression = f.nextCompression =
                method.compressionType == mpq::MAFA_COMPRESS_DEFLATE ? kZlib : kPkware;
        }
        m.files.append(f);
    }
    m.hashTableSize = HashTableFor(m.files.size());
    return true;
}

// The manifest's files against the folder's: each named file there, each
// file there named.
bool MatchFolder(const Manifest &m, const QStringList &paths, FolderProblem &problem)
{
    QSet<QString> present(paths.begin(), paths.end());
    QSet<QString> named;
    for (const ManifestFile &f : m.files) {
        if (!present.contains(f.path)) {
            problem = {FolderProblem::Missing, 0, f.path, {}};
            return false;
        }
        named.insert(f.path);
    }
    for (const QString &path : paths)
        if (!named.contains(path) && path != QLatin1String(kManifestFile) && path != m.front) {
            problem = {FolderProblem::Unlisted, 0, path, {}};
            return false;
        }
    return true;
}

mpq::ArchiveShape ShapeOf(const Manifest &m)
{
    mpq::ArchiveShape shape;
    shape.format = m.format;
    shape.sectorSize = m.sectorSize;
    shape.hashTableSize = m.hashTableSize;
    shape.rawChunkSize = m.rawChunkSize;
    shape.attributes = m.attributes;
    shape.listfile = m.listfile;
    shape.heldSlots = m.heldSlots;
    for (const ManifestFile &f : m.files) {
        mpq::FileShape file;
        file.named = !f.nameless();
        file.name = file.named ? mpq::LocaleVariant(f.name.toStdString(), f.locale) : std::string();
        file.nameKey = f.hashes;
        file.slot = f.slot;
        file.locale = f.locale;
        file.flags = f.flags;
        // A wave's lossy compression would lose once more with each pack:
        // its sectors are packed without loss instead, and keep their bytes.
        const auto lossless = [](std::uint8_t mask) { return (mask & 0xC0) != 0 ? kPkware : mask; };
        file.compression = lossless(f.compression);
        file.nextCompression = lossless(f.nextCompression);
        file.fileTime = f.time;
        file.key = f.key;
        shape.files.push_back(std::move(file));
    }
    return shape;
}

}  // namespace

QString FolderProblemText(const FolderProblem &problem)
{
    const MessageStrings &t = Texts();
    const QString line = QString::number(problem.line);
    switch (problem.kind) {
    case FolderProblem::Fits: return {};
    case FolderProblem::BadLine: return ReplaceValue(t.MessageFolderBadLine, line);
    case FolderProblem::UnknownLocale: return ReplaceValue(t.MessageFolderUnknownLocale, line);
    case FolderProblem::Climbs:
        return ReplaceValue(t.MessageFolderClimbs, problem.path.isEmpty() ? QLatin1String(kManifestFile) + QLatin1Char(':') + line
                                                                          : problem.path);
    case FolderProblem::Missing: return ReplaceValue(t.MessageFolderMissing, problem.path);
    case FolderProblem::Unlisted: return ReplaceValue(t.MessageFolderUnlisted, problem.path);
    case FolderProblem::CaseClash: return ReplaceValue(t.MessageFolderCaseClash, problem.other + QLatin1String(" / ") + problem.path);
    case FolderProblem::BadFront: return ReplaceValue(t.MessageFolderBadFront, problem.path);
    case FolderProblem::Unreadable: return ReplaceValue(t.MessageFolderUnreadable, problem.path);
    }
    return {};
}

QByteArray MakeMapHeader(const QString &name, quint32 flags, quint32 players)
{
    QByteArray header("HM3W\0\0\0\0", 8);
    header += name.toUtf8().left(512 - 8 - 1 - 8).replace('\0', ' ');
    header += '\0';
    for (quint32 value : {flags, players})
        for (int shift = 0; shift < 32; shift += 8) header += static_cast<char>((value >> shift) & 0xFF);
    header.append(512 - header.size(), '\0');
    return header;
}

FolderReport PackFolder(const QString &folderGiven, const QString &archivePath, const AppConfig &config,
                        StatusPanel &status, EventQueue &events)
{
    FolderReport report;
    const QString folder = QFileInfo(folderGiven).absoluteFilePath();
    if (!QFileInfo(folder).isDir()) {
        report.archive = Refusal::Missing;
        return report;
    }
    const QStringList paths = FilesBelow(folder);
    for (const QString &path : paths)
        if (path.startsWith(QLatin1String("../")) || PathClimbs(path)) {
            report.problem = {FolderProblem::Climbs, 0, path, {}};
            return report;
        }

    Manifest m;
    const QString manifestPath = folder + QLatin1Char('/') + QLatin1String(kManifestFile);
    QByteArray front;
    if (QFileInfo(manifestPath).isFile()) {
        QFile file(manifestPath);
        if (!file.open(QIODevice::ReadOnly)) {
            report.problem = {FolderProblem::Unreadable, 0, QLatin1String(kManifestFile), {}};
            return report;
        }
        if (!ReadManifest(file.readAll(), m, report.problem) || !MatchFolder(m, paths, report.problem)) return report;
        if (!m.front.isEmpty()) {
            const QFileInfo info(folder + QLatin1Char('/') + m.front);
            if (!info.isFile() || info.size() % 512 != 0) {
                report.problem = {FolderProblem::BadFront, 0, m.front, {}};
                return report;
            }
        }
    } else {
        ManifestForFolder(paths, config, m, report);
        // A map saved as a folder: the header the game looks for, from its details.
        const auto w3i = std::find_if(paths.begin(), paths.end(),
                                      [](const QString &p) { return p.compare(QLatin1String("war3map.w3i"), Qt::CaseInsensitive) == 0; });
        if (w3i != paths.end()) {
            QFile info(folder + QLatin1Char('/') + *w3i);
            QFile strings(folder + QLatin1String("/war3map.wts"));
            const QByteArray w3iBytes = info.open(QIODevice::ReadOnly) ? info.read(1 << 24) : QByteArray();
            const QByteArray wts = strings.open(QIODevice::ReadOnly) ? strings.read(1 << 26) : QByteArray();
            const std::optional<MapDetails> details = ParseMapDetails(w3iBytes, wts);
            front = details ? MakeMapHeader(PlainGameText(details->name), details->flags, quint32(details->playerCount))
                            : MakeMapHeader(QFileInfo(archivePath).completeBaseName(), 0, 0);
            report.mapHeader = true;
        }
    }
    if (FindCaseClash(m.files, report.problem)) return report;

    // The build: in a child, into a file beside the archive that is renamed
    // into its place only when whole and on the disk.
    const QFileInfo target(archivePath);
    QTemporaryFile built(target.absolutePath() + QStringLiteral("/.arcavera-pack-XXXXXX"));
    QTemporaryFile frontFile(target.absolutePath() + QStringLiteral("/.arcavera-front-XXXXXX"));
    if (!built.open() || (!front.isEmpty() && (!frontFile.open() || frontFile.write(front) != front.size() || !frontFile.flush()))) {
        report.archive = Refusal::NotCreatable;
        return report;
    }
    const std::string builtPath = PathBytes(built.fileName()).toStdString();
    const std::string frontPath = !front.isEmpty() ? PathBytes(frontFile.fileName()).toStdString()
                                  : m.front.isEmpty() ? std::string()
                                                      : PathBytes(folder + QLatin1Char('/') + m.front).toStdString();
    std::vector<std::string> sources;
    mpq::ArchiveShape shape = ShapeOf(m);
    for (qsizetype i = 0; i < m.files.size(); ++i) {
        const QString source = folder + QLatin1Char('/') + m.files[i].path;
        const qint64 size = QFileInfo(source).size();
        if (size > qint64(0xFFFFFFFFu)) {  // past what an archive's file can hold
            report.problem = {FolderProblem::Unreadable, 0, m.files[i].path, {}};
            return report;
        }
        shape.files[static_cast<std::size_t>(i)].fullSize = static_cast<std::uint32_t>(size);
        sources.push_back(PathBytes(source).toStdString());
    }
    const std::optional<QByteArray> result = RunForResult(
        [&](ChildPorts &) {
            std::string why;
            const bool ok = mpq::BuildArchive(builtPath, shape, sources, frontPath, why);
            return QByteArray(1, ok ? '1' : '0') + QByteArray::fromStdString(why);
        },
        status, nullptr, events, ArchiveLimits(archivePath));
    if (!result || result->isEmpty() || result->at(0) != '1') {
        report.archive = Refusal::ArchiveNotWritten;
        report.engineWhy = result && !result->isEmpty() ? QString::fromUtf8(result->mid(1))
                                                         : QStringLiteral("building the archive stopped the engine");
        return report;
    }
    const int fd = ::open(builtPath.c_str(), O_RDONLY | O_CLOEXEC);
    const bool synced = fd >= 0 && ::fsync(fd) == 0;
    if (fd >= 0) ::close(fd);
    if (!synced || !built.rename(target.absoluteFilePath())) {
        report.archive = Refusal::ArchiveNotWritten;
        report.engineWhy = QStringLiteral("the archive could not be put in its place");
        return report;
    }
    built.setAutoRemove(false);
    built.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther);
    report.files = static_cast<int>(m.files.size());
    return report;
}
