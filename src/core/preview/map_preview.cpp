#include "preview/map_preview.h"

#include "listing/reporting.h"

#include <QImage>
#include <QSaveFile>

#include "preview/stored_read.h"

QList<QByteArray> MapPictureNames()
{
    return {QByteArrayLiteral("war3mapPreview.tga"), QByteArrayLiteral("war3mapMap.blp"),
            QByteArrayLiteral("Minimap.tga")};
}

MapPicture ReadMapPicture(const QString &path, const ImageLimits &limits)
{
    CollectingPorts quiet;
    NoEvents events;
    LookLimits look;
    look.maxBytes = look.headBytes = limits.maxBytes;
    const QList<QByteArray> names = MapPictureNames();
    const QList<StoredBytes> read = ReadStoredFiles(path, names, look, quiet, nullptr, events, true);
    MapPicture picture;
    picture.why = Refusal::NotStored;
    for (qsizetype i = 0; i < read.size(); ++i) {
        if (read[i].why == Refusal::NotStored) continue;
        picture.why = read[i].why;
        picture.name = names[i];
        if (read[i].why == Refusal::None) picture.image = DecodeImage(read[i].bytes, QString::fromLatin1(names[i]), limits);
        break;
    }
    return picture;
}

std::optional<MapDetails> ReadArchiveMapDetails(const QString &path, QString *why, EventQueue *events)
{
    CollectingPorts quiet;
    NoEvents none;
    const QList<StoredBytes> read =
        ReadStoredFiles(path, {QByteArrayLiteral("war3map.w3i"), QByteArrayLiteral("war3map.wts")}, LookLimits{},
                        quiet, nullptr, events ? *events : none);
    const StoredBytes &info = read[0];
    if (info.why != Refusal::None || info.cut) {
        if (why) {
            *why = info.why == Refusal::NotStored ? QStringLiteral("no war3map.w3i")
                   : info.why == Refusal::Damaged ? QStringLiteral("reading war3map.w3i stopped the engine")
                                                  : QStringLiteral("war3map.w3i does not read");
        }
        return std::nullopt;
    }
    const QByteArray strings = read[1].why == Refusal::None && !read[1].cut ? read[1].bytes : QByteArray();
    return ParseMapDetails(info.bytes, strings, why);
}

bool SaveImagePng(const DecodedImage &image, const QString &path, int fitSide)
{
    if (image.width == 0 || image.height == 0) return false;
    // The pixels are borrowed, not copied: the image lives only in here.
    QImage picture(reinterpret_cast<const uchar *>(image.pixels.data()), static_cast<int>(image.width),
                   static_cast<int>(image.height), static_cast<qsizetype>(image.width) * 4, QImage::Format_ARGB32);
    if (fitSide > 0 && (picture.width() > fitSide || picture.height() > fitSide))
        picture = picture.scaled(fitSide, fitSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    // Written beside its place and moved there whole: a thumbnail cache
    // never sees half a file.
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && picture.save(&file, "PNG") && file.commit();
}
