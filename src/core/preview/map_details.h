// The details of a WarCraft III map, for the preview, the archive properties
// and `arcavera-cli info`: read from the bytes of war3map.w3i, with its
// TRIGSTR_ references resolved through war3map.wts. The bytes are untrusted:
// nothing is read past them and no size they claim is believed.
#pragma once

#include <QByteArray>
#include <QChar>
#include <QHash>
#include <QString>

#include <optional>

struct MapDetails {
    int formatVersion = 0;   // of the w3i: 18 Reign of Chaos, 25 The Frozen Throne, 28 patch 1.31, 31 Reforged, 33
    int saveCount = 0;       // how often the editor saved the map
    int editorVersion = 0;
    QString gameVersion;     // "1.31.1.12164", written from w3i version 27 on; empty before
    QString name, author, description, suggestedPlayers;  // TRIGSTR_ resolved, colour codes kept
    quint32 playableWidth = 0, playableHeight = 0;
    quint32 flags = 0;       // as stored: 0x0004 melee map, ...
    QChar tileset;           // the letter of the main ground type
    QString tilesetName;     // "Lordaeron Summer", ...; the letter itself when unknown, empty when unprintable
    bool luaScript = false;  // the map script is Lua rather than JASS (from version 28 on)
    int playerCount = 0;     // the players the map defines
};

// The trigger strings of a war3map.wts: number -> text, lines joined by "\n".
QHash<int, QString> ParseTriggerStrings(const QByteArray &wts);

// `text` with every TRIGSTR_nnn replaced by its string (leading zeros allowed);
// a number without a string stays as it is, and a replacement is not searched
// again.
QString ResolveTriggerStrings(const QString &text, const QHash<int, QString> &strings);

// The details, or nullopt with *why set to a short English reason ("w3i cut
// short", "unknown w3i version 99"). `wts` may be empty.
std::optional<MapDetails> ParseMapDetails(const QByteArray &w3i, const QByteArray &wts, QString *why = nullptr);

// A text of the game as plain text: colour codes |cAARRGGBB and |r removed,
// |n and CR LF a line break "\n".
QString PlainGameText(const QString &text);
