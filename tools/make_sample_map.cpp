// Makes the sample WarCraft III map beside the sample archive: a map header,
// then an archive of the files a map keeps (its details and strings, a
// script, a preview, a minimap, a texture), all drawn here and stored
// through Arcavera's own engine layer. The preview pane and the thumbnailer
// have something real-shaped to show.
//
// Usage: arcavera-make-sample-map OUTPUT_FOLDER  (writes OUTPUT_FOLDER/sample.w3x)
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <cmath>
#include <cstdio>
#include <functional>

#include "mpq/mpq_library.h"

namespace {

QByteArray Le32(std::uint32_t v)
{
    char b[4];
    qToLittleEndian(v, b);
    return QByteArray(b, 4);
}

QByteArray Float(float v)
{
    std::uint32_t bits;
    std::memcpy(&bits, &v, 4);
    return Le32(bits);
}

QByteArray Text(const char *text) { return QByteArray(text) + '\0'; }

// The island the pictures show: sea, sand, grass and a hill, by distance
// from the middle; 0xAARRGGBB.
std::uint32_t Island(double x, double y)
{
    const double d = std::hypot(x - 0.5, (y - 0.5) * 1.2) + 0.04 * std::sin(x * 23) * std::cos(y * 19);
    if (d > 0.42) return 0xff1d4e89 + (static_cast<std::uint32_t>(40 * (1 - d)) << 8);
    if (d > 0.37) return 0xffd8c58a;
    if (d > 0.12) return 0xff3c8d2f + (static_cast<std::uint32_t>(60 * d) << 16);
    return 0xff7a6a58;
}

// A 32-bit TGA, first row at the bottom as the game writes its previews.
QByteArray Tga(int side, const std::function<std::uint32_t(double, double)> &colour)
{
    QByteArray tga(18, '\0');
    tga[2] = 2;
    tga[12] = char(side & 0xff), tga[13] = char(side >> 8), tga[14] = char(side & 0xff), tga[15] = char(side >> 8);
    tga[16] = 32;
    tga[17] = 8;  // eight alpha bits, bottom-up
    for (int y = side - 1; y >= 0; --y)
        for (int x = 0; x < side; ++x) tga += Le32(colour(double(x) / side, double(y) / side));
    return tga;
}

// A paletted BLP1 of one mipmap: the palette is made from the picture's own
// colours (at most 256), its alpha from the colours' alpha.
QByteArray Blp1(int side, const std::function<std::uint32_t(double, double)> &colour)
{
    QList<std::uint32_t> palette;
    QByteArray indices, alpha;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const std::uint32_t c = colour(double(x) / side, double(y) / side);
            qsizetype index = palette.indexOf(c | 0xff000000);
            if (index < 0 && palette.size() < 256) index = (palette.append(c | 0xff000000), palette.size() - 1);
            indices += char(std::max<qsizetype>(index, 0));
            alpha += char(c >> 24);
        }
    }
    QByteArray blp = "BLP1" + Le32(1) + Le32(8) + Le32(side) + Le32(side) + Le32(4) + Le32(0);
    const std::uint32_t mipAt = 156 + 1024;
    blp += Le32(mipAt) + QByteArray(15 * 4, '\0') + Le32(side * side * 2) + QByteArray(15 * 4, '\0');
    for (int i = 0; i < 256; ++i) blp += Le32(i < palette.size() ? palette[i] & 0xffffff : 0);
    return blp + indices + alpha;
}

// A crate's side: planks with dark seams and a frame; its corners are cut
// away (transparent) as a decal's would be.
std::uint32_t Crate(double x, double y)
{
    if (std::hypot(x - 0.5, y - 0.5) > 0.68) return 0x00000000;
    const bool frame = x < 0.1 || x > 0.9 || y < 0.1 || y > 0.9 || std::abs(x - y) < 0.06;
    const int plank = int(y * 6);
    const std::uint32_t shade = frame ? 0x50 : 0x80 + 0x10 * (plank % 3);
    const bool seam = !frame && std::fmod(y * 6, 1.0) < 0.08;
    const std::uint32_t r = seam ? 0x30 : shade + 0x30, g = seam ? 0x20 : shade, b = seam ? 0x10 : shade / 2;
    return 0xff000000 | r << 16 | g << 8 | b;
}

// war3map.w3i of The Frozen Throne (version 25), its texts in war3map.wts.
QByteArray MapInfo()
{
    QByteArray w3i = Le32(25) + Le32(14) + Le32(6059);
    w3i += Text("TRIGSTR_001") + Text("TRIGSTR_002") + Text("TRIGSTR_003") + Text("TRIGSTR_004");
    for (float bound : {-2816.f, -3328.f, 2816.f, 2304.f, -2816.f, 2304.f, 2816.f, -3328.f}) w3i += Float(bound);
    for (int complement : {6, 6, 4, 8}) w3i += Le32(complement);
    w3i += Le32(84) + Le32(84) + Le32(0x8000 | 0x0004) + 'L';
    w3i += Le32(0xffffffff) + Text("") + Text("TRIGSTR_005") + Text("") + Text("") + Le32(0);
    w3i += Text("") + Text("") + Text("") + Text("");
    w3i += Le32(0) + Float(3000) + Float(5000) + Float(0.5f) + Le32(0xff000000) + Le32(0) + Text("") + 'L' +
           Le32(0xff8080ff);
    w3i += Le32(2);  // two players, each: number, type, race, fixed start, name, start, allies
    for (int player = 0; player < 2; ++player)
        w3i += Le32(player) + Le32(1) + Le32(player + 1) + Le32(0) + Text(player ? "TRIGSTR_007" : "TRIGSTR_006") +
               Float(player ? 1200.f : -1200.f) + Float(0) + Le32(0) + Le32(0);
    return w3i + Le32(0) + Le32(0) + Le32(0) + Le32(0) + Le32(0);  // no forces, upgrades, techs, tables
}

QByteArray Strings()
{
    const char *texts[] = {
        "|cff80c0ffArcavera|r Sample Isle",
        "The Arcavera build",
        "A small island to look at in the preview pane.|nTwo players start on its beaches.",
        "1v1",
        "Loading the island...",
        "West",
        "East",
    };
    QByteArray wts = "\xEF\xBB\xBF";
    for (int i = 0; i < 7; ++i)
        wts += "STRING " + QByteArray::number(i + 1) + "\r\n{\r\n" + texts[i] + "\r\n}\r\n\r\n";
    return wts;
}

const char kScript[] = R"(//===========================================================================
// Arcavera Sample Isle: the map script
//===========================================================================
globals
    constant integer MAX_WAVES = 12
    real gg_waveDelay = 45.00
    unit array gg_heroes
    string gg_title = "Sample Isle"
endglobals

function SpawnWave takes integer wave returns nothing
    local integer i = 0
    local location spawn = GetRectCenter(GetPlayableMapRect())
    loop
        exitwhen i >= wave * 2
        call CreateUnitAtLoc(Player(PLAYER_NEUTRAL_AGGRESSIVE), 'nftr', spawn, 270.0)
        set i = i + 1
    endloop
    call RemoveLocation(spawn)
    set spawn = null
endfunction

function InitCustomPlayerSlots takes nothing returns nothing
    call SetPlayerStartLocation(Player(0), 0)
    call SetPlayerColor(Player(0), ConvertPlayerColor(0))
    call SetPlayerRacePreference(Player(0), RACE_PREF_HUMAN)
    call SetPlayerStartLocation(Player(1), 1)
    call SetPlayerRacePreference(Player(1), RACE_PREF_ORC)
endfunction

function main takes nothing returns nothing
    call SetCameraBounds(-2816.0, -3328.0, 2816.0, 2304.0, -2816.0, 2304.0, 2816.0, -3328.0)
    call NewSoundEnvironment("Default")
    call InitCustomPlayerSlots()
    if MAX_WAVES > 0 and not IsMapFlagSet(MAP_CHEATS) then
        call TimerStart(CreateTimer(), gg_waveDelay, true, null) // the waves begin
    endif
endfunction
)";

bool Write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

}  // namespace

int main(int argc, char *argv[])
{
    if (argc != 2) {
        std::fputs("usage: arcavera-make-sample-map OUTPUT_FOLDER\n", stderr);
        return 1;
    }
    const QString out = QFile::decodeName(argv[1]);
    QTemporaryDir work;
    QDir().mkpath(out);
    struct Entry {
        const char *stored;
        QByteArray bytes;
    };
    const Entry entries[] = {
        {"war3map.w3i", MapInfo()},
        {"war3map.wts", Strings()},
        {"war3map.j", QByteArray(kScript)},
        {"war3mapPreview.tga", Tga(128, Island)},
        {"war3mapMap.blp", Blp1(128, Island)},
        {"Textures\\Crate.blp", Blp1(64, Crate)},
    };
    const QString archive = work.filePath(QStringLiteral("map.mpq"));
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(
        QFile::encodeName(archive).toStdString(), mpq::MOAU_CREATE_NEW | mpq::MOAU_MAINTAIN_LISTFILE, 32);
    bool ok = work.isValid() && update;
    for (const Entry &e : entries) {
        const QString disk = work.filePath(QString::fromLatin1(e.stored).replace('\\', '_'));
        ok = ok && Write(disk, e.bytes) &&
             mpq::MpqAddFileToArchiveEx(update.get(), QFile::encodeName(disk).toStdString(), e.stored,
                                        mpq::MAFA_COMPRESS, mpq::MAFA_COMPRESS_STANDARD, -1);
    }
    ok = update && update.Close() && ok;
    QFile mpqFile(archive);
    ok = ok && mpqFile.open(QIODevice::ReadOnly);
    // The map's own header: its name, flags and player count, 512 bytes in
    // all; the archive follows it.
    QByteArray header = "HM3W" + Le32(0) + Text("Arcavera Sample Isle") + Le32(0x8004) + Le32(2);
    header.resize(512, '\0');
    ok = ok && Write(out + QStringLiteral("/sample.w3x"), header + mpqFile.readAll());
    if (!ok) {
        std::fprintf(stderr, "cannot make %s/sample.w3x\n", qPrintable(out));
        return 1;
    }
    return 0;
}
