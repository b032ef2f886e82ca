#include "preview/stored_read.h"

#include <QDataStream>

#include <algorithm>

#include "boundary/child_work.h"
#include "listing/reporting.h"
#include "base/paths.h"
#include "base/text_encoding.h"
#include "mpq/mpq_library.h"
#include "mpq/whole_io.h"

namespace {

constexpr qint64 kReadChunk = qint64(1) << 20;

// Reads `wanted` bytes of `file` in chunks, telling the progress in KiB
// and asking for the user's Cancel between chunks.
bool ReadChunked(mpq::MpqHandle file, QByteArray &bytes, qint64 wanted, ChildPorts &ports, bool &stopped)
{
    bytes.resize(wanted);
    const bool large = wanted > kReadChunk;
    if (large) {
        ports.SetProgressMax(static_cast<int>(wanted >> 10));
        ports.SetProgressVisible(true);
    }
    for (qint64 at = 0; at < wanted;) {
        const auto count = static_cast<std::uint32_t>(std::min(kReadChunk, wanted - at));
        std::uint32_t read = 0;
        mpq::SFileReadFile(file, bytes.data() + at, count, &read, nullptr);
        if (read != count) return false;
        at += read;
        if (large) {
            ports.SetProgressValue(static_cast<int>(at >> 10));
            ports.Yield();
            if (ports.Cancelled()) {
                stopped = true;
                return false;
            }
        }
    }
    return true;
}

StoredBytes ReadOne(mpq::MpqHandle archive, const QByteArray &name, const LookLimits &limits, ChildPorts &ports)
{
    StoredBytes got;
    const mpq::StoredFile file = mpq::SFileOpenFileEx(archive, name.toStdString());
    if (!file) {
        got.why = Refusal::NotStored;
        return got;
    }
    got.size = mpq::SFileGetFileInfo(file.get(), mpq::SFILE_INFO_SIZE);
    if (got.size < 0) {
        got.why = Refusal::NotRead;
        got.size = 0;
        return got;
    }
    got.cut = got.size > limits.maxBytes;
    const qint64 wanted = got.cut ? std::min(limits.headBytes, got.size) : got.size;
    if (!ReadChunked(file.get(), got.bytes, wanted, ports, got.stopped)) {
        got.bytes.clear();
        if (!got.stopped) got.why = Refusal::NotRead;
    }
    return got;
}

QDataStream &operator<<(QDataStream &out, const StoredBytes &got)
{
    return out << got.why << got.size << got.cut << got.stopped << got.bytes;
}
QDataStream &operator>>(QDataStream &in, StoredBytes &got)
{
    return in >> got.why >> got.size >> got.cut >> got.stopped >> got.bytes;
}

}  // namespace

QList<StoredBytes> ReadStoredFiles(const QString &archivePath, const QList<QByteArray> &names, const LookLimits &limits,
                                   StatusPanel &status, ProgressBar *progress, EventQueue &events, bool firstFound)
{
    // A look only reads: a Cancel may end its child at once, even within a
    // read the engine is stuck in.
    mpq::ChildLimits childLimits = ArchiveLimits(archivePath);
    childLimits.stopByKill = true;
    const std::optional<QByteArray> answer = RunForResult(
        [&](ChildPorts &ports) {
            QByteArray report;
            QDataStream out(&report, QIODevice::WriteOnly);
            const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(archivePath).toStdString());
            if (!archive) return report;
            bool found = false;
            for (const QByteArray &name : names) {
                StoredBytes got;
                got.why = Refusal::NotStored;
                if (!(firstFound && found)) got = ReadOne(archive.get(), name, limits, ports);
                found = found || got.why == Refusal::None;
                out << got;
            }
            return report;
        },
        status, progress, events, childLimits);

    QList<StoredBytes> result(names.size());
    // An empty answer: the archive did not open; none: the engine died.
    const Refusal whole = !answer ? Refusal::Damaged : answer->isEmpty() ? Refusal::NotAnArchive : Refusal::None;
    if (whole != Refusal::None) {
        for (StoredBytes &got : result) got.why = whole;
        return result;
    }
    QDataStream in(*answer);
    for (StoredBytes &got : result) {
        in >> got;
        if (in.status() != QDataStream::Ok) got = StoredBytes{Refusal::Damaged, 0, false, false, {}};
    }
    return result;
}

Refusal WriteStoredFile(const QString &archivePath, const QByteArray &name, int fd)
{
    CollectingPorts quiet;
    NoEvents events;
    const std::optional<QByteArray> answer = RunForResult(
        [&](ChildPorts &) {
            const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(archivePath).toStdString());
            if (!archive) return QByteArray(1, char(Refusal::NotAnArchive));
            const mpq::StoredFile file = mpq::SFileOpenFileEx(archive.get(), name.toStdString());
            if (!file) return QByteArray(1, char(Refusal::NotStored));
            const std::int64_t size = mpq::SFileGetFileInfo(file.get(), mpq::SFILE_INFO_SIZE);
            if (size < 0) return QByteArray(1, char(Refusal::NotRead));
            std::vector<char> chunk(static_cast<std::size_t>(std::min<std::int64_t>(kReadChunk, std::max<std::int64_t>(size, 1))));
            for (std::int64_t at = 0; at < size;) {
                const auto count = static_cast<std::uint32_t>(std::min<std::int64_t>(kReadChunk, size - at));
                std::uint32_t read = 0;
                mpq::SFileReadFile(file.get(), chunk.data(), count, &read, nullptr);
                if (read != count) return QByteArray(1, char(Refusal::NotRead));
                if (!mpq::WriteAll(fd, chunk.data(), read)) return QByteArray(1, char(Refusal::DiskFailure));
                at += read;
            }
            return QByteArray(1, char(Refusal::None));
        },
        quiet, nullptr, events, ArchiveLimits(archivePath));
    if (!answer || answer->size() != 1) return Refusal::Damaged;
    return static_cast<Refusal>(answer->front());
}
