#include "preview/preview_content.h"

#include "config/catalogue.h"
#include "listing/list_row.h"

namespace {

QString KibText(qint64 bytes) { return QString::number((bytes + 1023) / 1024); }

bool IsMp3(const QByteArray &bytes)
{
    if (bytes.startsWith("ID3")) return true;
    // An MPEG audio frame begins with eleven set bits, then a version and a
    // layer other than the reserved ones.
    if (bytes.size() < 4) return false;
    const auto b1 = static_cast<unsigned char>(bytes[0]), b2 = static_cast<unsigned char>(bytes[1]);
    return b1 == 0xFF && (b2 & 0xE0) == 0xE0 && (b2 & 0x18) != 0x08 && (b2 & 0x06) != 0;
}

PreviewContent ImageFaultPreview(const ImageResult &result, const MessageStrings &t)
{
    const QString &text = result.fault == ImageFault::PastLimit     ? t.PreviewLargeImage
                          : result.fault == ImageFault::Unsupported ? t.PreviewUnsupportedImage
                                                                    : t.PreviewDamagedImage;
    return MessagePreview(ReplaceValue(text, result.detail));
}

}  // namespace

PreviewContent MessagePreview(const QString &message)
{
    PreviewContent content;
    content.text = message;
    return content;
}

QString SoundFormat(const QByteArray &bytes)
{
    if (bytes.startsWith("RIFF") && bytes.mid(8, 4) == "WAVE") return QStringLiteral("WAV");
    if (bytes.startsWith("OggS")) return QStringLiteral("Ogg");
    if (IsMp3(bytes)) return QStringLiteral("MP3");
    return {};
}

PreviewContent MakePreview(const QString &storedName, const StoredBytes &read, const MessageStrings &t,
                           const ImageLimits &limits)
{
    switch (read.why) {
    case Refusal::None:
        break;
    case Refusal::NotStored:
        return MessagePreview(t.PreviewNotStored);
    case Refusal::Damaged:
        return MessagePreview(t.PreviewDamaged);
    default:
        return MessagePreview(t.PreviewNotRead);
    }
    if (read.stopped) return MessagePreview(t.PreviewLeft);
    const QString head = read.cut ? ReplaceValue(t.PreviewHead, KibText(read.bytes.size())) : QString();

    PreviewContent content;
    if (!read.cut) {
        if (const QString sound = SoundFormat(read.bytes); !sound.isEmpty()) {
            content.kind = PreviewKind::Sound;
            content.sound = read.bytes;
            content.note = sound + QStringLiteral(" · ") + FormatSize(static_cast<std::uint32_t>(read.size));
            return content;
        }
        ImageResult image = DecodeImage(read.bytes, storedName, limits);
        if (image.Decoded()) {
            content.kind = PreviewKind::Image;
            content.note = QStringLiteral("%1 × %2 · %3").arg(image.image.width).arg(image.image.height).arg(image.format);
            content.image = std::move(image.image);
            return content;
        }
        if (image.fault != ImageFault::NotAnImage) return ImageFaultPreview(image, t);
    }
    if (IsTextName(storedName) || LooksLikeText(read.bytes)) {
        content.kind = PreviewKind::Text;
        content.text = DecodePreviewText(read.bytes);
        content.language = LanguageOfName(storedName);
        content.note = head;
        return content;
    }
    content.kind = PreviewKind::Hex;
    content.text = HexDump(read.bytes);
    content.note = read.bytes.size() > 64 * 1024 || read.cut ? ReplaceValue(t.PreviewHead, QStringLiteral("64")) : QString();
    return content;
}

PreviewContent MapPreview(const std::optional<MapDetails> &details, const QString &why, const MessageStrings &texts)
{
    if (!details) return MessagePreview(ReplaceValue(texts.PreviewNoMap, why));
    PreviewContent content;
    content.kind = PreviewKind::Map;
    content.map = details;
    return content;
}

QList<std::pair<QString, QString>> MapDetailLines(const MapDetails &d, bool catalogueLabels)
{
    const MessageStrings &t = Texts();
    const auto label = [&](const QString &text, const char *key) {
        return catalogueLabels ? text : QString::fromLatin1(key);
    };
    QList<std::pair<QString, QString>> lines = {
        {label(t.MapName, "map title"), PlainGameText(d.name)},
        {label(t.MapAuthor, "map author"), PlainGameText(d.author)},
        {label(t.MapDescription, "map description"), PlainGameText(d.description)},
        {label(t.MapPlayers, "map players"), PlainGameText(d.suggestedPlayers)},
        {label(t.MapSize, "map size"), QStringLiteral("%1 × %2").arg(d.playableWidth).arg(d.playableHeight)},
        {label(t.MapTileset, "map tileset"), d.tilesetName},
    };
    if (!catalogueLabels) lines[4].second = QStringLiteral("%1x%2").arg(d.playableWidth).arg(d.playableHeight);
    return lines;
}
