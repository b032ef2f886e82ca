#include "properties/archive_properties.h"

#include <QFileInfo>
#include <QLocale>
#include <QtEndian>

#include <cstring>

#include "boundary/child_work.h"
#include "listing/reporting.h"
#include "base/text_encoding.h"
#include "preview/map_preview.h"
#include "mpq/mpq_library.h"
#include "tools/mpq_header.h"

namespace {

// The engine reads the layout in a child process; an archive that takes it
// down has no details to show.
std::optional<ArchiveDetails> ReadDetails(const QString &path)
{
    CollectingPorts quiet;
    NoEvents events;
    const std::optional<QByteArray> read = RunForResult(
        [&](ChildPorts &) {
            mpq::ArchiveLayout found;
            if (!mpq::ReadArchiveLayout(PathBytes(path).toStdString(), found)) return QByteArray();
            return QByteArray(reinterpret_cast<const char *>(&found), sizeof found);
        },
        quiet, nullptr, events, ArchiveLimits(path));
    if (!read || read->size() != sizeof(mpq::ArchiveLayout)) return std::nullopt;
    mpq::ArchiveLayout layout;
    std::memcpy(&layout, read->constData(), sizeof layout);
    ArchiveDetails details{layout.formatVersion, static_cast<qint64>(layout.headerOffset), layout.sectorSize,
                           layout.hashTableSize, layout.usedSlots, layout.blockTableSize, ArchiveSignature::None};
    if (layout.signature == mpq::SignatureKind::Weak) details.signature = ArchiveSignature::Weak;
    if (layout.signature == mpq::SignatureKind::Strong) details.signature = ArchiveSignature::Strong;
    return details;
}

}  // namespace

ArchiveProperties ReadArchiveProperties(const QString &fileName, qint64 unpacked, qint64 rowsShown)
{
    ArchiveProperties p;
    const QFileInfo info(fileName);
    p.name = info.fileName();
    p.folder = info.absolutePath();
    if (!p.folder.endsWith(QLatin1Char('/'))) p.folder += QLatin1Char('/');
    p.unpacked = unpacked;
    p.rowsShown = rowsShown;
    p.onDisk = info.isFile();
    if (p.onDisk) {
        p.size = info.size();
        p.lastChange = info.lastModified();
        p.headerCount = GetMPQFileCount(fileName);
        p.details = ReadDetails(fileName);
        p.mapHeader = ReadMapHeader(fileName);
        if (p.details) p.mapDetails = ReadArchiveMapDetails(fileName);
    }
    return p;
}

std::optional<MapHeader> ReadMapHeader(const QString &path)
{
    constexpr qint64 kHeaderSize = 512, kNameAt = 8;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    const QByteArray bytes = file.read(kHeaderSize);
    const qsizetype nameEnds = bytes.indexOf('\0', kNameAt);
    if (!bytes.startsWith("HM3W") || nameEnds < 0 || nameEnds + 1 + 4 > bytes.size()) return std::nullopt;
    return MapHeader{DecodeBytes(bytes.mid(kNameAt, nameEnds - kNameAt)),
                     qFromLittleEndian<quint32>(bytes.constData() + nameEnds + 1)};
}

std::optional<double> ArchiveSaving(const ArchiveProperties &properties)
{
    if (properties.unpacked <= 0 || !properties.onDisk) return std::nullopt;
    return 1.0 - static_cast<double>(properties.size) / static_cast<double>(properties.unpacked);
}

QString FormatGeneralDate(const QDateTime &when)
{
    if (!when.isValid()) return QString();
    const QLocale locale = QLocale::system();
    // The long time format of some locales names the time zone; the date
    // and time of a file do without it.
    QString timeFormat = locale.timeFormat(QLocale::LongFormat);
    timeFormat.remove(QLatin1Char('t'));
    return locale.toString(when.date(), QLocale::ShortFormat) + QLatin1Char(' ') +
           locale.toString(when.time(), timeFormat.trimmed());
}

float SavingHeight(double share, float barHeight)
{
    return share > 0 ? static_cast<float>(share * barHeight) : 0.0f;
}
