// arcavera-cli cat, convert and thumbnail: a look at stored files without
// extracting them.
#include "cli_commands.h"

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

// Why the stored file `name` gave nothing to look at, said; its exit status.
int ReportNotRead(const QString &archive, const QString &name, Refusal why)
{
    switch (why) {
    case Refusal::NotAnArchive:
    case Refusal::Missing: return Refuse(why, About::Archive, archive);
    case Refusal::None:
    case Refusal::NotStored:
    case Refusal::Damaged:
    case Refusal::DiskFailure: return Refuse(why, About::Item, name);
    default: return Refuse(Refusal::NotRead, About::Item, name);
    }
}

// Why an image does not decode, in the words of its fault; its exit status.
int ReportImageFault(const QString &name, const ImageResult &result)
{
    constexpr std::pair<ImageFault, Say> kFaults[] = {{ImageFault::NotAnImage, Say::NotAnImage},
                                                      {ImageFault::Unsupported, Say::ImageUnsupported},
                                                      {ImageFault::PastLimit, Say::ImageTooLarge},
                                                      {ImageFault::Damaged, Say::ImageDamaged}};
    for (const auto &[fault, said] : kFaults)
        if (result.fault == fault) {
            Tell(said, name, result.detail);
            return ExitStatus(Refusal::NotRead);
        }
    return 0;
}

int SavePng(const DecodedImage &image, const QString &out, int fitSide)
{
    if (SaveImagePng(image, QFileInfo(out).absoluteFilePath(), fitSide)) return 0;
    return Refuse(Refusal::NotCreatable, About::Item, out);
}

}  // namespace

int CatCommand(CommandRun &run)
{
    const QStringList &arguments = run.arguments;
    const QString &archive = run.archive;
    std::fflush(stdout);
    return ReportNotRead(archive, arguments[1], WriteStoredFile(archive, arguments[1].toUtf8(), STDOUT_FILENO));
}

int ConvertCommand(CommandRun &run)
{
    const QStringList &arguments = run.arguments;
    const QString &archive = run.archive;
    const ImageLimits limits;
    LookLimits look;
    look.maxBytes = look.headBytes = limits.maxBytes;
    CollectingPorts quiet;
    NoEvents events;
    const StoredBytes read = ReadStoredFiles(archive, {arguments[1].toUtf8()}, look, quiet, nullptr, events).front();
    if (read.why != Refusal::None) return ReportNotRead(archive, arguments[1], read.why);
    if (read.cut)
        return ReportImageFault(arguments[1], {ImageFault::PastLimit, {}, QStringLiteral("more than %1 MiB stored").arg(limits.maxBytes >> 20), {}});
    const ImageResult image = DecodeImage(read.bytes, arguments[1], limits);
    if (!image.Decoded()) return ReportImageFault(arguments[1], image);
    return SavePng(image.image, arguments[2], 0);
}

int ThumbnailCommand(CommandRun &run)
{
    const QStringList &arguments = run.arguments;
    int side = kThumbnailSide;
    if (const std::optional<QString> size = run.Value("--size")) {
        bool ok = false;
        side = size->toInt(&ok);
        if (!ok || side < 1 || side > 4096) return UsageError(Say::Takes, QStringLiteral("--size"), QStringLiteral("1 to 4096"));
    }
    const QString &archive = run.archive;
    const MapPicture picture = ReadMapPicture(archive);
    if (picture.why == Refusal::NotStored) {
        Tell(Say::NoMapPicture, archive);
        return ExitStatus(Refusal::NotStored);
    }
    const QString name = QString::fromLatin1(picture.name);
    if (picture.why != Refusal::None) return ReportNotRead(archive, name, picture.why);
    if (!picture.image.Decoded()) return ReportImageFault(name, picture.image);
    return SavePng(picture.image.image, arguments[1], side);
}
