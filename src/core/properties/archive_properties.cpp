#include "properties/archive_properties.h"

#include <QFileInfo>
#include <QLocale>

#include "tools/mpq_header.h"

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
    }
    return p;
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
