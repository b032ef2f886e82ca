#include "preview/text_preview.h"

#include <QStringView>

#include <algorithm>

#include "base/text_encoding.h"

namespace {

constexpr qsizetype kTextSample = 64 * 1024;

// The extension of the last component of a stored name ("Scripts\war3map.j"
// gives "j"), empty when there is none.
QStringView TextExtensionOf(const QString &storedName)
{
    const qsizetype slash = std::max(storedName.lastIndexOf(u'\\'), storedName.lastIndexOf(u'/'));
    const qsizetype dot = storedName.lastIndexOf(u'.');
    return dot > slash ? QStringView(storedName).mid(dot + 1) : QStringView();
}

bool TextExtensionIn(QStringView extension, std::initializer_list<const char *> list)
{
    return std::any_of(list.begin(), list.end(), [&](const char *entry) {
        return extension.compare(QLatin1String(entry), Qt::CaseInsensitive) == 0;
    });
}

struct Utf8Census {
    qsizetype sequences = 0;  // well-formed sequences of two to four bytes
    qsizetype invalid = 0;    // stray bytes and broken sequences
};

// Counts the multi-byte sequences of the bytes, well-formed and broken.
Utf8Census CountUtf8(const char *data, qsizetype size)
{
    Utf8Census census;
    qsizetype i = 0;
    while (i < size) {
        const auto lead = static_cast<unsigned char>(data[i]);
        if (lead < 0x80) {
            ++i;
            continue;
        }
        const int length = (lead < 0xC2 || lead > 0xF4) ? 0 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        // The second byte's range shuts out overlong forms, surrogates and
        // code points past U+10FFFF.
        const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        int taken = 1;
        while (taken < length && i + taken < size) {
            const auto b = static_cast<unsigned char>(data[i + taken]);
            if (b < (taken == 1 ? low : 0x80) || b > (taken == 1 ? high : 0xBF)) break;
            ++taken;
        }
        if (length > 0 && taken == length)
            ++census.sequences;
        else
            ++census.invalid;
        i += taken;
    }
    return census;
}

}  // namespace

bool IsTextName(const QString &storedName)
{
    const qsizetype slash = std::max(storedName.lastIndexOf(u'\\'), storedName.lastIndexOf(u'/'));
    if (QStringView(storedName).mid(slash + 1).compare(QLatin1String("(listfile)"), Qt::CaseInsensitive) == 0)
        return true;
    return TextExtensionIn(TextExtensionOf(storedName),
                           {"j", "ai", "lua", "galaxy", "txt", "slk", "fdf", "toc", "wts", "ini", "xml", "json",
                            "csv", "md", "log", "cfg", "mdl", "html", "htm", "conf", "yml", "yaml"});
}

bool LooksLikeText(const QByteArray &bytes)
{
    const qsizetype size = std::min(bytes.size(), kTextSample);
    const char *data = bytes.constData();
    qsizetype controls = 0, high = 0;
    for (qsizetype i = 0; i < size; ++i) {
        const auto b = static_cast<unsigned char>(data[i]);
        if (b == 0) return false;
        if (b >= 0x80)
            ++high;
        else if ((b < 0x20 && (b < '\t' || b > '\r')) || b == 0x7F)
            ++controls;
    }
    if (controls * 100 > size) return false;
    const Utf8Census census = CountUtf8(data, size);
    // A few broken sequences in UTF-8 text are damage, not another encoding;
    // the sample's end may also cut one short.
    return census.invalid * 16 <= census.sequences || high * 2 <= size;
}

QString DecodePreviewText(const QByteArray &bytes)
{
    const QByteArray body = bytes.startsWith("\xEF\xBB\xBF") ? bytes.sliced(3) : bytes;
    const Utf8Census census = CountUtf8(body.constData(), body.size());
    if (census.sequences == 0 && census.invalid > 0) return DecodeBytes(body);
    return QString::fromUtf8(body);
}

CodeLanguage LanguageOfName(const QString &storedName)
{
    const QStringView extension = TextExtensionOf(storedName);
    if (TextExtensionIn(extension, {"j", "ai", "galaxy"})) return CodeLanguage::Jass;
    if (TextExtensionIn(extension, {"lua"})) return CodeLanguage::Lua;
    return CodeLanguage::None;
}

QString HexDump(const QByteArray &bytes, qsizetype limit)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    const qsizetype size = std::clamp<qsizetype>(limit, 0, bytes.size());
    QString dump;
    dump.reserve((size + 15) / 16 * 80);
    for (qsizetype offset = 0; offset < size; offset += 16) {
        if (offset > 0) dump += u'\n';
        int digits = 8;
        while (digits < 16 && (quint64(offset) >> (4 * digits)) != 0) ++digits;
        for (int d = digits - 1; d >= 0; --d) dump += QLatin1Char(kDigits[(quint64(offset) >> (4 * d)) & 0xF]);
        dump += u' ';
        const qsizetype count = std::min<qsizetype>(16, size - offset);
        for (qsizetype j = 0; j < 16; ++j) {
            if (j % 8 == 0) dump += u' ';
            if (j < count) {
                const auto b = static_cast<unsigned char>(bytes[offset + j]);
                dump += QLatin1Char(kDigits[b >> 4]);
                dump += QLatin1Char(kDigits[b & 0xF]);
                dump += u' ';
            } else {
                dump += QLatin1String("   ");
            }
        }
        dump += QLatin1String(" |");
        for (qsizetype j = 0; j < count; ++j) {
            const char c = bytes[offset + j];
            dump += QLatin1Char(c >= 0x20 && c < 0x7F ? c : '.');
        }
        dump += u'|';
    }
    return dump;
}
