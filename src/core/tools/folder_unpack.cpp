// Unpacking an archive into a folder with its manifest.
#include <QDataStream>
#include <QDir>
#include <QSaveFile>
#include <QSet>

#include <algorithm>
#include <numeric>

#include "boundary/child_work.h"
#include "editing/extract_files.h"
#include "listing/classic_listing.h"
#include "listing/locale_tags.h"
#include "base/text_encoding.h"
#include "mpq/mpq_library.h"
#include "mpq/mpq_shape.h"
#include "tools/folder_pack.h"

namespace {

QDataStream &operator<<(QDataStream &out, const mpq::FileShape &f)
{
    return out << QByteArray::fromStdString(f.name) << f.named << quint64(f.nameKey) << f.slot << f.locale
               << f.platform << f.flags << f.compression << f.nextCompression << quint64(f.fileTime) << f.fullSize << f.key
               << quint64(f.offset);
}

QDataStream &operator>>(QDataStream &in, mpq::FileShape &f)
{
    QByteArray name;
    quint64 key = 0, time = 0, offset = 0;
    in >> name >> f.named >> key >> f.slot >> f.locale >> f.platform >> f.flags >> f.compression >> f.nextCompression >>
        time >> f.fullSize >> f.key >> offset;
    f.name = name.toStdString();
    f.nameKey = key;
    f.fileTime = time;
    f.offset = offset;
    return in;
}

// The shape of the archive, read in a child: a damaged archive cannot take
// the caller down.
bool ReadShape(const QString &archivePath, const mpq::FileList &records, mpq::ArchiveShape &shape, StatusPanel &status,
               EventQueue &events, Refusal &why)
{
    const std::string path = PathBytes(archivePath).toStdString();
    const std::optional<QByteArray> result = RunForResult(
        [&](ChildPorts &) {
            mpq::ArchiveShape read;
            QByteArray bytes;
            QDataStream out(&bytes, QIODevice::WriteOnly);
            if (!mpq::ReadArchiveShape(path, records, read)) return bytes;
            out << qint32(read.format) << read.sectorSize << read.hashTableSize << quint64(read.headerAt)
                << read.rawChunkSize << read.attributes << read.listfile << quint64(read.files.size());
            for (const mpq::FileShape &f : read.files) out << f;
            return bytes;
        },
        status, nullptr, events);
    if (!result) {
        why = Refusal::Damaged;
        return false;
    }
    if (result->isEmpty()) {
        why = Refusal::NotAnArchive;
        return false;
    }
    QDataStream in(*result);
    qint32 format = 0;
    quint64 headerAt = 0, count = 0;
    in >> format >> shape.sectorSize >> shape.hashTableSize >> headerAt >> shape.rawChunkSize >> shape.attributes >>
        shape.listfile >> count;
    shape.format = format;
    shape.headerAt = headerAt;
    for (quint64 i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
        mpq::FileShape f;
        in >> f;
        shape.files.push_back(std::move(f));
    }
    return in.status() == QDataStream::Ok;
}

// The paths of the files below the folder: a name's own path; a nameless
// file under its hashes in a folder of its own, with the extension its
// listing gave it. Of the variants of one name, the neutral one (or the
// first) has the plain path and the others their tag in theirs. A path
// taken already, blind to case, gets a number.
QStringList PathsFor(const mpq::ArchiveShape &shape)
{
    // Only variants can meet another file's path.
    const bool variants = std::any_of(shape.files.begin(), shape.files.end(), [](const mpq::FileShape &f) { return f.locale != 0; });
    QSet<QByteArray> hasPlain;
    QSet<QString> taken;
    QStringList paths;
    paths.reserve(static_cast<qsizetype>(shape.files.size()));
    auto plainFirst = [&](const QByteArray &name) {
        const QByteArray key = name.toUpper();
        if (hasPlain.contains(key)) return false;
        hasPlain.insert(key);
        return true;
    };
    // The neutral variants claim the plain paths before the others.
    if (variants)
        for (const mpq::FileShape &f : shape.files)
            if (f.named && f.locale == 0) plainFirst(BareName(QByteArray::fromStdString(f.name)));
    for (const mpq::FileShape &f : shape.files) {
        const QByteArray stored = QByteArray::fromStdString(f.name);
        QString path;
        if (!f.named) {
            const qsizetype dot = stored.lastIndexOf('.');
            const QString ext = dot > stored.lastIndexOf('\\') ? QString::fromLatin1(stored.mid(dot)) : QString();
            path = QStringLiteral("%1/%2-%3%4")
                       .arg(QLatin1String(kNamelessFolder))
                       .arg(quint32(f.nameKey >> 32), 8, 16, QLatin1Char('0'))
                       .arg(quint32(f.nameKey), 8, 16, QLatin1Char('0'))
                       .arg(ext);
            path = VariantPath(path, f.locale);
        } else {
            const QByteArray bare = f.locale != 0 ? BareName(stored) : stored;
            path = PathForName(bare);
            if (f.locale != 0 && !plainFirst(bare)) path = VariantPath(path, f.locale);
        }
        if (!variants) {
            paths << path;
            continue;
        }
        QString unique = path;
        for (int n = 2; taken.contains(unique.toLower()); ++n) unique = path + QStringLiteral("~%1").arg(n);
        taken.insert(unique.toLower());
        paths << unique;
    }
    return paths;
}

bool CopyFront(const QString &archivePath, quint64 length, const QString &to)
{
    QFile in(archivePath);
    QSaveFile out(to);
    if (!in.open(QIODevice::ReadOnly) || !out.open(QIODevice::WriteOnly)) return false;
    const QByteArray bytes = in.read(static_cast<qint64>(length));
    return bytes.size() == static_cast<qsizetype>(length) && out.write(bytes) == bytes.size() && out.commit();
}

}  // namespace

FolderReport UnpackArchive(const QString &archivePath, const QString &folderGiven, const ListingOptions &options,
                           StatusPanel &status, ProgressBar &progress, EventQueue &events)
{
    FolderReport report;
    const QString folder = QFileInfo(folderGiven).absoluteFilePath();
    const QDir dir(folder);
    if (QFileInfo(folder).exists() &&
        (!QFileInfo(folder).isDir() || !dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot).isEmpty())) {
        report.archive = Refusal::NameInUse;
        return report;
    }
    mpq::FileList records;
    const RecordsRead read = ReadArchiveRecords(archivePath, options, status, progress, records, nullptr, &events);
    if (read == RecordsRead::Damaged || read == RecordsRead::NoArchive || read == RecordsRead::Stopped) {
        report.archive = read == RecordsRead::Damaged ? Refusal::Damaged : Refusal::NotAnArchive;
        report.cancelled = read == RecordsRead::Stopped;
        return report;
    }
    mpq::ArchiveShape shape;
    if (!ReadShape(archivePath, records, shape, status, events, report.archive)) return report;
    if (!QDir().mkpath(folder)) {
        report.archive = Refusal::NotCreatable;
        return report;
    }
    const QStringList paths = PathsFor(shape);
    // Written in the order of their paths, so that the files of one folder
    // follow each other; the manifest keeps the archive's order.
    std::vector<qsizetype> order(static_cast<std::size_t>(paths.size()));
    std::iota(order.begin(), order.end(), qsizetype{0});
    std::sort(order.begin(), order.end(), [&](qsizetype a, qsizetype b) { return paths[a] < paths[b]; });
    QList<QByteArray> names;
    QStringList sortedPaths;
    names.reserve(paths.size());
    sortedPaths.reserve(paths.size());
    for (const qsizetype i : order) {
        names << QByteArray::fromStdString(shape.files[static_cast<std::size_t>(i)].name);
        sortedPaths << paths[i];
    }
    const ExtractReport extracted = ExtractFilesTo(archivePath, names, sortedPaths, folder, status, events);
    report.refused = extracted.refused;
    report.failedPath = extracted.failedPath;
    report.cancelled = extracted.cancelled;
    report.files = extracted.extracted;
    if (extracted.archive != Refusal::None) report.archive = extracted.archive;
    if (report.cancelled || !report.failedPath.isEmpty()) return report;

    Manifest m;
    m.format = shape.format;
    m.sectorSize = shape.sectorSize;
    m.hashTableSize = shape.hashTableSize;
    m.rawChunkSize = shape.rawChunkSize;
    m.listfile = shape.listfile;
    m.attributes = shape.attributes;
    if (shape.headerAt > 0) {
        m.front = QLatin1String(kFrontFile);
        if (!CopyFront(archivePath, shape.headerAt, folder + QLatin1Char('/') + m.front)) {
            report.failedPath = folder + QLatin1Char('/') + m.front;
            return report;
        }
    }
    // A file that could not be read is not in the folder, nor in its manifest.
    const QList<QByteArray> unread = RefusedFor(report.refused, Refusal::NotRead) + RefusedFor(report.refused, Refusal::Damaged);
    const QSet<QByteArray> left(unread.begin(), unread.end());
    for (std::size_t i = 0; i < shape.files.size(); ++i) {
        const mpq::FileShape &f = shape.files[i];
        if (left.contains(QByteArray::fromStdString(f.name))) continue;
        ManifestFile file;
        file.path = paths[static_cast<qsizetype>(i)];
        file.name = f.named ? BareName(QByteArray::fromStdString(f.name)) : QByteArray();
        file.hashes = f.nameKey;
        file.key = f.key;
        file.slot = f.slot;
        file.locale = f.locale;
        file.flags = f.flags;
        file.compression = f.compression;
        file.nextCompression = f.nextCompression;
        file.time = f.fileTime;
        m.files << file;
    }
    QSaveFile manifest(folder + QLatin1Char('/') + QLatin1String(kManifestFile));
    if (!manifest.open(QIODevice::WriteOnly) || manifest.write(WriteManifest(m)) < 0 || !manifest.commit())
        report.failedPath = manifest.fileName();
    return report;
}
