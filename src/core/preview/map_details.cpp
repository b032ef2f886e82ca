// war3map.w3i and war3map.wts. The w3i is little-endian; only its head is
// read, up to the count of players, whose layout differs by version:
//   version, saves, editor version, [4 x game version from 27],
//   name, author, description, suggested players (zero-terminated),
//   8 floats camera bounds, 4 ints their complements, playable width and
//   height, flags, tileset letter,
//   18:  campaign background, loading text, title, subtitle, loading screen
//        number, prologue text, title, subtitle;
//   25+: loading background, loading model, text, title, subtitle, game data
//        set, prologue model, text, title, subtitle, fog style, start, end,
//        density and colour, weather, sound environment, light tileset, water
//        colour, [script language from 28], [modes and game data from 31],
//   player count.
#include "preview/map_details.h"

#include <QStringDecoder>
#include <QStringTokenizer>
#include <QtEndian>

#include <algorithm>
#include <iterator>

namespace {

// 26 and 27 are rare versions between The Frozen Throne and patch 1.31, read
// with the layout of 25 (and the game version from 27); 32 and 33 only added
// flags.
constexpr int kW3iKnownVersions[] = {18, 25, 26, 27, 28, 31, 32, 33};
// The game knows 24 players, 28 slots with the neutral ones.
constexpr qint32 kW3iMaxPlayers = 28;

struct W3Tileset {
    char letter;
    const char *name;
};

constexpr W3Tileset kW3Tilesets[] = {
    {'A', "Ashenvale"},      {'B', "Barrens"},          {'C', "Felwood"},       {'D', "Dungeon"},
    {'F', "Lordaeron Fall"}, {'G', "Underground"},      {'I', "Icecrown"},      {'J', "Dalaran Ruins"},
    {'K', "Black Citadel"},  {'L', "Lordaeron Summer"}, {'N', "Northrend"},     {'O', "Outland"},
    {'Q', "Village Fall"},   {'V', "Village"},          {'W', "Lordaeron Winter"}, {'X', "Dalaran"},
    {'Y', "Cityscape"},      {'Z', "Sunken Ruins"},
};

// Texts are UTF-8; maps of old editors may hold other bytes, shown as Latin-1
// rather than as replacement marks.
QString W3DecodeText(QByteArrayView bytes)
{
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : text;
}

bool W3IsDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// A cursor over the w3i that fails, and stays failed, rather than read past
// the end; the caller checks Ok() once after a run of reads.
class W3iCursor {
public:
    explicit W3iCursor(const QByteArray &data) : data_(data) {}

    bool Ok() const { return ok_; }

    bool Skip(qsizetype count)
    {
        ok_ = ok_ && data_.size() - pos_ >= count;
        if (ok_) pos_ += count;
        return ok_;
    }

    quint32 U32()
    {
        const qsizetype at = pos_;
        return Skip(4) ? qFromLittleEndian<quint32>(data_.constData() + at) : 0;
    }

    qint32 I32() { return qint32(U32()); }

    char Byte()
    {
        const qsizetype at = pos_;
        return Skip(1) ? data_.at(at) : '\0';
    }

    // The bytes of a zero-terminated text, passed.
    QByteArrayView RawText()
    {
        const qsizetype end = ok_ ? data_.indexOf('\0', pos_) : -1;
        ok_ = end >= 0;
        if (!ok_) return {};
        const QByteArrayView raw = QByteArrayView(data_).sliced(pos_, end - pos_);
        pos_ = end + 1;
        return raw;
    }

    QString Text() { return W3DecodeText(RawText()); }

    void SkipTexts(int count)
    {
        for (int i = 0; i < count; ++i) RawText();
    }

private:
    const QByteArray &data_;
    qsizetype pos_ = 0;
    bool ok_ = true;
};

// The fields between the tileset and the player count, read only to pass them.
void SkipW3iScreens(W3iCursor &in, int version)
{
    if (version == 18) {
        in.Skip(4);       // campaign background
        in.SkipTexts(3);  // loading screen text, title, subtitle
        in.Skip(4);       // loading screen number
        in.SkipTexts(3);  // prologue text, title, subtitle
        return;
    }
    in.Skip(4);           // loading screen background
    in.SkipTexts(4);      // loading screen model, text, title, subtitle
    in.Skip(4);           // game data set
    in.SkipTexts(4);      // prologue model, text, title, subtitle
    in.Skip(4 + 3 * 4 + 4 + 4);  // fog style, start, end, density, colour; weather
    in.SkipTexts(1);      // sound environment
    in.Skip(1 + 4);       // light environment tileset, water colour
}

std::optional<MapDetails> W3iRefused(QString *why, const QString &reason)
{
    if (why) *why = reason;
    return std::nullopt;
}

}  // namespace

QHash<int, QString> ParseTriggerStrings(const QByteArray &wts)
{
    QByteArrayView bytes(wts);
    if (bytes.startsWith("\xEF\xBB\xBF")) bytes = bytes.sliced(3);
    const QString text = W3DecodeText(bytes);

    QHash<int, QString> strings;
    int number = -1;  // of the last STRING line; -1 when it had no usable number
    bool inBlock = false;
    QString body;
    bool bodyEmpty = true;
    for (QStringView line : QStringTokenizer(text, u'\n')) {
        if (line.endsWith(u'\r')) line.chop(1);
        if (inBlock) {
            if (line.trimmed() == u"}") {
                if (number >= 0) strings.insert(number, body);
                inBlock = false;
                number = -1;
            } else {
                if (!bodyEmpty) body += u'\n';
                body += line;
                bodyEmpty = false;
            }
            continue;
        }
        const QStringView trimmed = line.trimmed();
        if (trimmed.startsWith(u"STRING") && trimmed.size() > 6 && trimmed[6].isSpace()) {
            // "STRING 12", perhaps followed by a comment.
            const QStringView rest = trimmed.sliced(7).trimmed();
            qsizetype end = 0;
            while (end < rest.size() && W3IsDigit(rest[end])) ++end;
            bool ok = end > 0 && (end == rest.size() || rest[end].isSpace());
            const int parsed = ok ? rest.first(end).toInt(&ok) : 0;
            number = ok ? parsed : -1;
        } else if (trimmed.startsWith(u'{')) {
            // A block without a usable number is still passed whole.
            inBlock = true;
            body.clear();
            bodyEmpty = true;
        }
    }
    // A block left open at the end is damaged and dropped.
    return strings;
}

QString ResolveTriggerStrings(const QString &text, const QHash<int, QString> &strings)
{
    constexpr QStringView kMark = u"TRIGSTR_";
    QString resolved;
    qsizetype copiedTo = 0;
    for (qsizetype at = text.indexOf(kMark); at >= 0; at = text.indexOf(kMark, at)) {
        const qsizetype digitsAt = at + kMark.size();
        qsizetype end = digitsAt;
        while (end < text.size() && W3IsDigit(text[end])) ++end;
        bool ok = false;
        const int number = QStringView(text).sliced(digitsAt, end - digitsAt).toInt(&ok);
        const auto found = ok ? strings.constFind(number) : strings.constEnd();
        if (found != strings.constEnd()) {
            resolved += QStringView(text).sliced(copiedTo, at - copiedTo);
            resolved += *found;
            copiedTo = end;
        }
        at = end;
    }
    resolved += QStringView(text).sliced(copiedTo);
    return resolved;
}

std::optional<MapDetails> ParseMapDetails(const QByteArray &w3i, const QByteArray &wts, QString *why)
{
    const QString cutShort = QStringLiteral("w3i cut short");
    W3iCursor in(w3i);
    MapDetails details;
    details.formatVersion = in.I32();
    if (!in.Ok()) return W3iRefused(why, cutShort);
    const int version = details.formatVersion;
    if (std::find(std::begin(kW3iKnownVersions), std::end(kW3iKnownVersions), version) == std::end(kW3iKnownVersions))
        return W3iRefused(why, QStringLiteral("unknown w3i version %1").arg(version));

    details.saveCount = in.I32();
    details.editorVersion = in.I32();
    if (version >= 27) {
        QStringList parts;
        for (int i = 0; i < 4; ++i) parts.append(QString::number(in.U32()));
        details.gameVersion = parts.join(u'.');
    }
    details.name = in.Text();
    details.author = in.Text();
    details.description = in.Text();
    details.suggestedPlayers = in.Text();
    in.Skip(8 * 4 + 4 * 4);  // camera bounds and their complements
    details.playableWidth = in.U32();
    details.playableHeight = in.U32();
    details.flags = in.U32();
    const char letter = in.Byte();
    SkipW3iScreens(in, version);
    if (version >= 28) details.luaScript = in.U32() == 1;
    if (version >= 31) in.Skip(4 + 4);  // supported graphics modes, game data version
    const qint32 players = in.I32();
    if (!in.Ok()) return W3iRefused(why, cutShort);
    if (players < 0 || players > kW3iMaxPlayers)
        return W3iRefused(why, QStringLiteral("w3i claims %1 players").arg(players));
    details.playerCount = players;

    details.tileset = QChar::fromLatin1(letter);
    details.tilesetName = details.tileset.isPrint() ? QString(details.tileset) : QString();
    for (const W3Tileset &tileset : kW3Tilesets)
        if (tileset.letter == letter) details.tilesetName = QString::fromLatin1(tileset.name);

    if (!wts.isEmpty()) {
        const QHash<int, QString> strings = ParseTriggerStrings(wts);
        for (QString *text : {&details.name, &details.author, &details.description, &details.suggestedPlayers})
            *text = ResolveTriggerStrings(*text, strings);
    }
    return details;
}

QString PlainGameText(const QString &text)
{
    const auto isHex = [](QChar c) { return W3IsDigit(c) || (c.toLower() >= u'a' && c.toLower() <= u'f'); };
    QString plain;
    plain.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        const QChar next = i + 1 < text.size() ? text[i + 1].toLower() : QChar();
        if (c == u'\r' && next == u'\n') continue;
        if (c == u'|' && next == u'r') {
            ++i;
            continue;
        }
        if (c == u'|' && next == u'n') {
            plain += u'\n';
            ++i;
            continue;
        }
        // |c and eight hex digits: the colour AARRGGBB of what follows.
        if (c == u'|' && next == u'c' && text.size() - i >= 10 &&
            std::all_of(text.begin() + i + 2, text.begin() + i + 10, isHex)) {
            i += 9;
            continue;
        }
        plain += c;
    }
    return plain;
}
