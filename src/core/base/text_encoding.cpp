#include "base/text_encoding.h"

#include <QFile>

#include <algorithm>
#include <QStringDecoder>

namespace {

// Windows-1252 differs from Latin-1 in 0x80 to 0x9F; the five holes map to
// the C1 controls, as the platform's own conversion does.
const char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

QString DecodeCp1252(const QByteArray &bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    QChar *out = text.data();
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        out[i] = (b >= 0x80 && b < 0xA0) ? QChar(kCp1252High[b - 0x80]) : QChar(b);
    }
    return text;
}

bool IsAscii(const QByteArray &bytes)
{
    for (char c : bytes)
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    return true;
}

// C0 controls and DEL: what the window shows as marks.
bool IsC0OrDel(char16_t u) { return u < 0x20 || u == 0x7F; }
// Those and the C1 controls: what a terminal takes as commands.
bool IsControl(char16_t u) { return IsC0OrDel(u) || (u >= 0x80 && u < 0xA0); }

// The place of the first character that `test` picks, or the text's length.
template <typename Test>
qsizetype FirstOf(const QString &text, Test test)
{
    const auto found = std::find_if(text.cbegin(), text.cend(), [&](QChar c) { return test(c.unicode()); });
    return found - text.cbegin();
}

}  // namespace

QString EscapeControls(const QString &text)
{
    qsizetype i = FirstOf(text, IsControl);
    if (i == text.size()) return text;
    static const char kHex[] = "0123456789abcdef";
    QString out = text.left(i);
    out.reserve(text.size() + 8);
    for (; i < text.size(); ++i) {
        const char16_t u = text[i].unicode();
        if (IsControl(u)) {
            out += QLatin1String("\\x");
            out += QLatin1Char(kHex[u >> 4]);
            out += QLatin1Char(kHex[u & 0xF]);
        } else {
            out += text[i];
        }
    }
    return out;
}

QString MarkControls(const QString &text)
{
    qsizetype i = FirstOf(text, IsC0OrDel);
    if (i == text.size()) return text;
    QString out = text;
    for (; i < out.size(); ++i) {
        const char16_t u = out[i].unicode();
        if (IsC0OrDel(u)) out[i] = QChar(u == 0x7F ? char16_t(0x2421) : char16_t(0x2400 + u));
    }
    return out;
}

QString UnmarkEdit(const QString &original, const QString &edited)
{
    const QString shown = MarkControls(original);
    const qsizetype limit = std::min(shown.size(), edited.size());
    qsizetype head = 0;
    while (head < limit && shown[head] == edited[head]) ++head;
    qsizetype tail = 0;
    while (tail < limit - head && shown[shown.size() - 1 - tail] == edited[edited.size() - 1 - tail]) ++tail;
    return original.left(head) + edited.mid(head, edited.size() - head - tail) + original.right(tail);
}

QString DecodeBytes(const QByteArray &bytes)
{
    if (IsAscii(bytes)) return QString::fromLatin1(bytes);
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(bytes);
    if (!utf8.hasError()) return text;
    return DecodeCp1252(bytes);
}

QByteArray EncodeText(const QString &text) { return text.toUtf8(); }

QByteArray PathBytes(const QString &path) { return QFile::encodeName(path); }

QString PathFromBytes(const QByteArray &bytes) { return QFile::decodeName(bytes); }
