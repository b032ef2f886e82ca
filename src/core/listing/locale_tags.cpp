#include "listing/locale_tags.h"

#include <array>
#include <string_view>

#include "base/text_encoding.h"
#include "mpq/mpq_library.h"

namespace {

struct KnownLocale {
    std::uint16_t lcid;
    const char *tag;
};

// The locales the games and their tools store, and the commonest others.
constexpr std::array<KnownLocale, 43> kKnown = {{
    {0x0401, "ar-SA"}, {0x0402, "bg-BG"}, {0x0403, "ca-ES"}, {0x0404, "zh-TW"}, {0x0405, "cs-CZ"},
    {0x0406, "da-DK"}, {0x0407, "de-DE"}, {0x0408, "el-GR"}, {0x0409, "en-US"}, {0x040a, "es-ES"},
    {0x040b, "fi-FI"}, {0x040c, "fr-FR"}, {0x040d, "he-IL"}, {0x040e, "hu-HU"}, {0x040f, "is-IS"},
    {0x0410, "it-IT"}, {0x0411, "ja-JP"}, {0x0412, "ko-KR"}, {0x0413, "nl-NL"}, {0x0414, "nb-NO"},
    {0x0415, "pl-PL"}, {0x0416, "pt-BR"}, {0x0418, "ro-RO"}, {0x0419, "ru-RU"}, {0x041a, "hr-HR"},
    {0x041b, "sk-SK"}, {0x041d, "sv-SE"}, {0x041e, "th-TH"}, {0x041f, "tr-TR"}, {0x0421, "id-ID"},
    {0x0422, "uk-UA"}, {0x0424, "sl-SI"}, {0x0425, "et-EE"}, {0x0426, "lv-LV"}, {0x0427, "lt-LT"},
    {0x042a, "vi-VN"}, {0x0804, "zh-CN"}, {0x0807, "de-CH"}, {0x0809, "en-GB"}, {0x080a, "es-MX"},
    {0x080c, "fr-BE"}, {0x0816, "pt-PT"}, {0x0c0c, "fr-CA"},
}};

}  // namespace

QString LocaleTag(std::uint16_t locale)
{
    if (locale == 0) return {};
    for (const KnownLocale &known : kKnown)
        if (known.lcid == locale) return QString::fromLatin1(known.tag);
    return QStringLiteral("0x%1").arg(locale, 4, 16, QLatin1Char('0'));
}

bool ParseLocale(const QString &text, std::uint16_t &locale)
{
    const QString given = text.trimmed();
    if (given.compare(QLatin1String("neutral"), Qt::CaseInsensitive) == 0) {
        locale = 0;
        return true;
    }
    for (const KnownLocale &known : kKnown)
        if (given.compare(QLatin1String(known.tag), Qt::CaseInsensitive) == 0) {
            locale = known.lcid;
            return true;
        }
    bool ok = false;
    const bool hex = given.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const uint value = hex ? given.mid(2).toUInt(&ok, 16) : given == QLatin1String("0") ? (ok = true, 0u) : 0u;
    if (!ok || value > 0xffff || (hex && given.size() > 6)) return false;
    locale = static_cast<std::uint16_t>(value);
    return true;
}

QStringList KnownLocaleTags()
{
    QStringList tags;
    for (const KnownLocale &known : kKnown) tags << QString::fromLatin1(known.tag);
    return tags;
}

QByteArray BareName(const QByteArray &storedName)
{
    const qsizetype zero = storedName.indexOf('\0');
    return zero < 0 ? storedName : storedName.left(zero);
}

std::uint16_t NameLocale(const QByteArray &storedName)
{
    std::string_view bare;
    std::uint16_t locale = 0;
    return mpq::SplitLocaleVariant(std::string_view(storedName.constData(), static_cast<std::size_t>(storedName.size())),
                                   bare, locale)
               ? locale
               : 0;
}

QByteArray VariantName(const QByteArray &name, std::uint16_t locale)
{
    const std::string variant = mpq::LocaleVariant(std::string_view(name.constData(), static_cast<std::size_t>(name.size())), locale);
    return QByteArray(variant.data(), static_cast<qsizetype>(variant.size()));
}

QString VariantPath(const QString &path, std::uint16_t locale)
{
    if (locale == 0) return path;
    const qsizetype level = std::max(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\')));
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    const QString tag = QLatin1Char('.') + LocaleTag(locale);
    return dot <= level + 1 ? path + tag : path.left(dot) + tag + path.mid(dot);
}

QString ShownName(const QByteArray &storedName)
{
    const std::uint16_t locale = NameLocale(storedName);
    const QString text = DecodeBytes(BareName(storedName));
    return locale == 0 ? text : QStringLiteral("%1 [%2]").arg(text, LocaleTag(locale));
}
