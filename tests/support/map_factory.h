// The files of WarCraft III maps that tests make for themselves.
#pragma once

#include <QByteArray>
#include <QtEndian>

#include <cstring>
#include <initializer_list>

#include "support/archive_factory.h"

namespace fixtures {

struct W3iRow {
    int version = 25;
    QByteArray author = "Blizzard";
    char tileset = 'L';
    bool lua = false;
    qint32 players = 2;
};

// A w3i up to its player count, as the editor of `row.version` writes it.
inline QByteArray W3i(const W3iRow &row)
{
    QByteArray out;
    const auto ints = [&out](std::initializer_list<qint32> values) {
        for (const qint32 value : values) {
            out += QByteArray(4, '\0');
            qToLittleEndian(value, out.data() + out.size() - 4);
        }
    };
    const auto texts = [&out](std::initializer_list<const char *> list) {
        for (const char *text : list) out.append(text, qsizetype(strlen(text)) + 1);
    };
    ints({row.version, 7, 6072});
    if (row.version >= 27) ints({1, 31, 1, 12164});
    texts({"TRIGSTR_001", row.author.constData(), "A |cffff0000red|r map", "1v1"});
    ints({-1, -1, -1, -1, -1, -1, -1, -1, 1, 2, 3, 4});  // camera bounds and complements
    ints({116, 84, 0x4});
    out += row.tileset;
    if (row.version == 18) {
        ints({-1});
        texts({"loading", "title", "subtitle"});
        ints({-1});
        texts({"prologue", "title", "subtitle"});
    } else {
        ints({-1});
        texts({"model.mdx", "loading", "title", "subtitle"});
        ints({0});
        texts({"model.mdx", "prologue", "title", "subtitle"});
        ints({1, -1, -1, -1, -1, -1});  // fog and weather
        texts({"Lake"});
        out += 'L';
        ints({-1});
        if (row.version >= 28) ints({row.lua ? 1 : 0});
        if (row.version >= 31) ints({3, 1});
    }
    ints({row.players});
    return out;
}


// Two by two pixels, uncompressed, first row at the top: red, green, blue,
// and a clear one.
inline QByteArray SmallTga()
{
    QByteArray tga(18, '\0');
    tga[2] = 2, tga[12] = 2, tga[14] = 2, tga[16] = 32, tga[17] = 0x28;
    return tga + QByteArray::fromHex("0000ffff00ff00ffff0000ff00000000");
}

// A WarCraft III map of what a look shows, its header first: details and
// strings (named "Look Map"), a script, a preview picture, an image that does
// not decode, a sound; `more` join them.
inline QByteArray LookMap(const QList<HandFile> &more = {})
{
    const QByteArray header = QByteArray("HM3W\0\0\0\0Look\0\0\0\0\0\x02\0\0\0", 21).leftJustified(512, '\0');
    return HandMadeArchive(16,
                           QList<HandFile>{{"war3map.w3i", W3i({})},
                                           {"war3map.wts", "STRING 1\r\n{\r\nLook |cffff0000Map|r\r\n}\r\n"},
                                           {"war3map.j", "function main takes nothing returns nothing\r\nendfunction\r\n"},
                                           {"war3mapPreview.tga", SmallTga()},
                                           {"broken.blp", "BLP2" + QByteArray(40, '\x7f')},
                                           {"c.wav", WaveData(3000)}} +
                               more,
                           header);
}

}  // namespace fixtures
