#include "tools/embed_archive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <sys/stat.h>

#include <algorithm>
#include <vector>

#include "base/text_encoding.h"
#include "tools/mpq_header.h"

namespace {

enum class CopyOutcome { Done, ReadFailed, WriteFailed };

// The copy loop: `length` bytes of `source` from `from` on go to `target`
// from `to` on, in passes of at most kCopyChunkSize bytes through one
// buffer. Each pass is counted in `result`.
CopyOutcome CopyBytes(QFileDevice &source, qint64 from, qint64 length, QFileDevice &target, qint64 to,
                      EmbedResult &result)
{
    if (!source.seek(from)) return CopyOutcome::ReadFailed;
    if (!target.seek(to)) return CopyOutcome::WriteFailed;
    std::vector<char> buffer(static_cast<std::size_t>(std::min(length, kCopyChunkSize)));
    for (qint64 done = 0; done < length;) {
        const qint64 pass = std::min(kCopyChunkSize, length - done);
        if (source.read(buffer.data(), pass) != pass) return CopyOutcome::ReadFailed;
        if (target.write(buffer.data(), pass) != pass) return CopyOutcome::WriteFailed;
        done += pass;
        ++result.passes;
        result.lastPassBytes = pass;
    }
    return target.flush() ? CopyOutcome::Done : CopyOutcome::WriteFailed;
}

EmbedResult Failure(EmbedStatus status, const QString &path)
{
    EmbedResult result;
    result.status = status;
    result.path = path;
    return result;
}

// Opens a file to read; a folder is none.
bool OpenToRead(QFile &file)
{
    return !QFileInfo(file.fileName()).isDir() && file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

enum class Part { Executable, Archive };

// One export: the part of the source before or from its header goes into a
// new file that replaces `targetPath` once the copy is complete.
EmbedResult ExportPart(const QString &sourcePath, const QString &targetPath, Part part)
{
    if (IsSameFile(sourcePath, targetPath)) return Failure(EmbedStatus::SameFile, targetPath);
    QFile source(sourcePath);
    if (!OpenToRead(source)) return Failure(EmbedStatus::OpenFailed, sourcePath);
    const qint64 header = FindMPQHeader(sourcePath);
    if (header <= 0) return Failure(EmbedStatus::NoEmbeddedArchive, sourcePath);
    const qint64 from = part == Part::Executable ? 0 : header;
    const qint64 length = part == Part::Executable ? header : source.size() - header;

    QSaveFile target(targetPath);
    if (QFileInfo(targetPath).isDir() || !target.open(QIODevice::WriteOnly))
        return Failure(EmbedStatus::OpenFailed, targetPath);
    EmbedResult result;
    switch (CopyBytes(source, from, length, target, 0, result)) {
    case CopyOutcome::ReadFailed:
        target.cancelWriting();
        return Failure(EmbedStatus::ReadFailed, sourcePath);
    case CopyOutcome::WriteFailed:
        target.cancelWriting();
        return Failure(EmbedStatus::WriteFailed, targetPath);
    case CopyOutcome::Done:
        break;
    }
    if (!target.commit()) return Failure(EmbedStatus::WriteFailed, targetPath);
    return result;
}

}  // namespace

bool IsSameFile(const QString &first, const QString &second)
{
    struct stat a {};
    struct stat b {};
    const bool firstExists = ::stat(PathBytes(first).constData(), &a) == 0;
    const bool secondExists = ::stat(PathBytes(second).constData(), &b) == 0;
    if (firstExists && secondExists) return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
    if (firstExists || secondExists) return false;
    return QDir::cleanPath(QFileInfo(first).absoluteFilePath()) == QDir::cleanPath(QFileInfo(second).absoluteFilePath());
}

EmbedResult EmbedArchive(const QString &exePath, const QString &mpqPath)
{
    QFile archive(mpqPath);
    if (!OpenToRead(archive)) return Failure(EmbedStatus::OpenFailed, mpqPath);
    if (FindMPQHeader(mpqPath) != 0) return Failure(EmbedStatus::NotPlainArchive, mpqPath);
    if (IsSameFile(exePath, mpqPath)) return Failure(EmbedStatus::SameFile, mpqPath);

    // ExistingOnly: an executable that vanished is not made anew. Unbuffered:
    // every write reaches the file at once, so after a failure no buffered
    // bytes are left to land behind the cut.
    QFile exe(exePath);
    if (QFileInfo(exePath).isDir() ||
        !exe.open(QIODevice::ReadWrite | QIODevice::ExistingOnly | QIODevice::Unbuffered))
        return Failure(EmbedStatus::OpenFailed, exePath);
    const qint64 oldLength = exe.size();
    const qint64 padded = (oldLength + kHeaderAlignment - 1) / kHeaderAlignment * kHeaderAlignment;

    EmbedResult result;
    CopyOutcome outcome = CopyOutcome::WriteFailed;
    const QByteArray padding(padded - oldLength, '\0');
    if (exe.seek(oldLength) && exe.write(padding) == padding.size())
        outcome = CopyBytes(archive, 0, archive.size(), exe, padded, result);
    if (outcome == CopyOutcome::Done) return result;
    // Whatever reached the executable goes again: it keeps its old bytes.
    exe.resize(oldLength);
    return Failure(outcome == CopyOutcome::ReadFailed ? EmbedStatus::ReadFailed : EmbedStatus::WriteFailed,
                   outcome == CopyOutcome::ReadFailed ? mpqPath : exePath);
}

EmbedResult ExportExecutablePart(const QString &exePath, const QString &targetPath)
{
    return ExportPart(exePath, targetPath, Part::Executable);
}

EmbedResult ExportArchivePart(const QString &exePath, const QString &targetPath)
{
    return ExportPart(exePath, targetPath, Part::Archive);
}
