#include "look_commands.h"

#include <QFileInfo>

#include <cstdio>
#include <unistd.h>

#include "cli_output.h"
#include "editing/archive_check.h"
#include "exit_status.h"
#include "preview/map_preview.h"
#include "preview/stored_read.h"

namespace {

constexpr int kThumbnailSide = 256;

// The archive of a look, made absolute, when the disk has a file there;
// empty with the exit status in `status` otherwise.
QString LookArchive(const QString &argument, int &status)
{
    const QString path = QFileInfo(argument).absoluteFilePath();
    status = ReportArchiveCheck(path, CheckPath(path));
    return status ? QString() : path;
}

// Why the stored file `name` gave nothing to look at, said; its exit status.
int ReportNotRead(const QString &archive, const QString &name, Refusal why)
{
    switch (why) {
    case Refusal::None:
        return 0;
    case Refusal::NotAnArchive:
    case Refusal::Missing:
        return ReportArchiveCheck(archive, why);
    case Refusal::NotStored:
        PrintError(QStringLiteral("%1: not stored").arg(name));
        break;
    case Refusal::Damaged:
        PrintError(QStringLiteral("%1: damaged, reading it stopped the engine").arg(name));
        break;
    case Refusal::DiskFailure:
        PrintError(QStringLiteral("%1: standard output refused the bytes").arg(name));
        break;
    default:
        PrintError(QStringLiteral("%1: cannot be read completely").arg(name));
        break;
    }
    return ExitStatus(why);
}

// Why an image does not decode, in the words of its fault; its exit status.
int ReportImageFault(const QString &name, const ImageResult &result)
{
    switch (result.fault) {
    case ImageFault::None:
        return 0;
    case ImageFault::NotAnImage:
        PrintError(QStringLiteral("%1: not an image Arcavera reads").arg(name));
        break;
    case ImageFault::Unsupported:
        PrintError(QStringLiteral("%1: unsupported image: %2").arg(name, result.detail));
        break;
    case ImageFault::PastLimit:
        PrintError(QStringLiteral("%1: image too large: %2").arg(name, result.detail));
        break;
    case ImageFault::Damaged:
        PrintError(QStringLiteral("%1: damaged image: %2").arg(name, result.detail));
        break;
    }
    return ExitStatus(Refusal::NotRead);
}

int SavePng(const DecodedImage &image, const QString &out, int fitSide)
{
    if (SaveImagePng(image, QFileInfo(out).absoluteFilePath(), fitSide)) return 0;
    PrintError(QStringLiteral("%1: cannot be written").arg(out));
    return ExitStatus(Refusal::NotCreatable);
}

}  // namespace

int CatCommand(const QStringList &arguments)
{
    if (arguments.size() != 2) {
        PrintError(QStringLiteral("cat takes an archive and one stored name"));
        return kUsageStatus;
    }
    int status = 0;
    const QString archive = LookArchive(arguments[0], status);
    if (status) return status;
    std::fflush(stdout);
    return ReportNotRead(archive, arguments[1], WriteStoredFile(archive, arguments[1].toUtf8(), STDOUT_FILENO));
}

int ConvertCommand(const QStringList &arguments)
{
    if (arguments.size() != 3) {
        PrintError(QStringLiteral("convert takes an archive, a stored name and the PNG to write"));
        return kUsageStatus;
    }
    int status = 0;
    const QString archive = LookArchive(arguments[0], status);
    if (status) return status;
    const ImageLimits limits;
    LookLimits look;
    look.maxBytes = look.headBytes = limits.maxBytes;
    CollectingPorts quiet;
    NoEvents events;
    const StoredBytes read = ReadStoredFiles(archive, {arguments[1].toUtf8()}, look, quiet, nullptr, events).front();
    if (read.why != Refusal::None) return ReportNotRead(archive, arguments[1], read.why);
    if (read.cut) {
        PrintError(QStringLiteral("%1: image too large: more than %2 MiB stored").arg(arguments[1]).arg(limits.maxBytes >> 20));
        return ExitStatus(Refusal::NotRead);
    }
    const ImageResult image = DecodeImage(read.bytes, arguments[1], limits);
    if (!image.Decoded()) return ReportImageFault(arguments[1], image);
    return SavePng(image.image, arguments[2], 0);
}

int ThumbnailCommand(const QStringList &arguments, const std::optional<QString> &size)
{
    if (arguments.size() != 2) {
        PrintError(QStringLiteral("thumbnail takes an archive and the PNG to write"));
        return kUsageStatus;
    }
    int side = kThumbnailSide;
    if (size) {
        bool ok = false;
        side = size->toInt(&ok);
        if (!ok || side < 1 || side > 4096) {
            PrintError(QStringLiteral("--size takes a number of pixels from 1 to 4096"));
            return kUsageStatus;
        }
    }
    int status = 0;
    const QString archive = LookArchive(arguments[0], status);
    if (status) return status;
    const MapPicture picture = ReadMapPicture(archive);
    if (picture.why == Refusal::NotStored) {
        PrintError(QStringLiteral("%1: holds no map preview or minimap").arg(archive));
        return ExitStatus(Refusal::NotStored);
    }
    const QString name = QString::fromLatin1(picture.name);
    if (picture.why != Refusal::None) return ReportNotRead(archive, name, picture.why);
    if (!picture.image.Decoded()) return ReportImageFault(name, picture.image);
    return SavePng(picture.image.image, arguments[1], side);
}
