// Makes the seed corpus of the archive fuzz target: small archives made
// through Arcavera's engine layer (plain, compressed, encrypted, waves, with
// and without internal list, behind a 512-byte map header or user data), and
// a few written byte by byte for layouts the layer never writes (format
// version 2, a "(signature)" entry), and archives of formats 3 and 4 (HET and
// BET tables, MD5s of raw chunks) made by StormLib's own create call, with
// sectors in bzip2, LZMA and sparse compression.
//
//   arcavera-fuzz-seeds FOLDER
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <StormLib.h>

#include "mpq/mpq_hash.h"
#include "mpq/mpq_library.h"

namespace {

using Bytes = std::string;

struct Stored {
    const char *name;
    Bytes data;
    std::uint32_t flags;
    std::uint32_t type;
    bool wave = false;
};

Bytes Text(std::size_t size, char seed)
{
    Bytes out;
    while (out.size() < size) out += std::string("line of text ") + seed + "\r\n";
    out.resize(size);
    return out;
}

void Put32(Bytes &out, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i) out += static_cast<char>((v >> (8 * i)) & 0xFF);
}

Bytes Wave(int samples)
{
    Bytes pcm;
    for (int i = 0; i < samples; ++i) {
        const auto s = static_cast<std::int16_t>(8000.0 * std::sin(i * 0.05));
        pcm += static_cast<char>(s & 0xFF);
        pcm += static_cast<char>((s >> 8) & 0xFF);
    }
    Bytes wave = "RIFF";
    Put32(wave, static_cast<std::uint32_t>(36 + pcm.size()));
    wave += "WAVEfmt ";
    Put32(wave, 16);
    wave += Bytes("\x01\x00\x01\x00", 4);
    Put32(wave, 22050);
    Put32(wave, 44100);
    wave += Bytes("\x02\x00\x10\x00", 4);
    wave += "data";
    Put32(wave, static_cast<std::uint32_t>(pcm.size()));
    return wave + pcm;
}

bool WriteFile(const std::string &path, const Bytes &bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

Bytes ReadFile(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// An archive through the engine layer; its bytes.
Bytes Made(const std::string &folder, const std::vector<Stored> &files, bool keepList)
{
    const std::string path = folder + "/made.tmp";
    std::remove(path.c_str());
    const std::uint32_t flags = mpq::MOAU_CREATE_NEW | (keepList ? mpq::MOAU_MAINTAIN_LISTFILE : 0);
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(path, flags, 16);
    if (!update) return {};
    const std::string source = folder + "/source.tmp";
    for (const Stored &file : files) {
        WriteFile(source, file.data);
        if (file.wave)
            mpq::MpqAddWaveToArchive(update.get(), source, file.name, file.flags, file.type);
        else
            mpq::MpqAddFileToArchiveEx(update.get(), source, file.name, file.flags, file.type, -1);
    }
    update.Close();
    std::remove(source.c_str());
    Bytes bytes = ReadFile(path);
    std::remove(path.c_str());
    return bytes;
}

// An archive of format `version` (3 or 4) made by StormLib, its files
// compressed by `compression` in sectors of 4096 bytes; its bytes.
Bytes MadeByEngine(const std::string &folder, DWORD version, const std::vector<std::pair<const char *, Bytes>> &files,
                   DWORD compression)
{
    const std::string path = folder + "/made-engine.tmp";
    std::remove(path.c_str());
    SFILE_CREATE_MPQ create{};
    create.cbSize = sizeof create;
    create.dwMpqVersion = version - 1;
    create.dwFileFlags1 = create.dwFileFlags2 = MPQ_FILE_DEFAULT_INTERNAL;
    create.dwAttrFlags = MPQ_ATTRIBUTE_CRC32 | MPQ_ATTRIBUTE_MD5;
    create.dwSectorSize = 4096;
    create.dwRawChunkSize = version == 4 ? 1024 : 0;
    create.dwMaxFileCount = 16;
    HANDLE archive = nullptr;
    if (!SFileCreateArchive2(path.c_str(), &create, &archive)) return {};
    for (const auto &[name, data] : files) {
        HANDLE file = nullptr;
        const auto size = static_cast<DWORD>(data.size());
        if (SFileCreateFile(archive, name, 0, size, 0, MPQ_FILE_COMPRESS | MPQ_FILE_SECTOR_CRC, &file)) {
            SFileWriteFile(file, data.data(), size, compression);
            SFileFinishFile(file);
        }
    }
    SFileCloseArchive(archive);
    Bytes bytes = ReadFile(path);
    std::remove(path.c_str());
    return bytes;
}

std::uint32_t Hash(const char *name, mpq::HashType type) { return mpq::HashString(name, std::strlen(name), type); }

// An archive of files stored plain, written byte by byte, of format version
// 1 (header of 32 bytes) or 2 (44 bytes); every file's block flags as given.
Bytes HandMade(int version, const std::vector<std::pair<const char *, std::uint32_t>> &files)
{
    const std::uint32_t headerSize = version == 2 ? 44 : 32, slots = 8;
    Bytes body;
    std::vector<std::uint32_t> blocks, hashes(slots * 4, 0xFFFFFFFF);
    for (std::size_t i = 0; i < files.size(); ++i) {
        const Bytes data = Text(100 + 37 * i, static_cast<char>('a' + i));
        blocks.insert(blocks.end(), {static_cast<std::uint32_t>(headerSize + body.size()),
                                     static_cast<std::uint32_t>(data.size()), static_cast<std::uint32_t>(data.size()),
                                     files[i].second});
        body += data;
        std::uint32_t slot = Hash(files[i].first, mpq::HashType::TableOffset) % slots;
        while (hashes[slot * 4 + 3] != 0xFFFFFFFF) slot = (slot + 1) % slots;
        hashes[slot * 4] = Hash(files[i].first, mpq::HashType::NameA);
        hashes[slot * 4 + 1] = Hash(files[i].first, mpq::HashType::NameB);
        hashes[slot * 4 + 2] = 0;
        hashes[slot * 4 + 3] = static_cast<std::uint32_t>(i);
    }
    mpq::EncryptWords(hashes, 0xC3AF3770);
    mpq::EncryptWords(blocks, 0xEC83B3A3);
    const auto hashAt = static_cast<std::uint32_t>(headerSize + body.size());
    const std::uint32_t blockAt = hashAt + slots * 16;
    Bytes out = "MPQ\x1A";
    Put32(out, headerSize);
    Put32(out, blockAt + static_cast<std::uint32_t>(files.size()) * 16);
    Put32(out, static_cast<std::uint32_t>(version == 2 ? 1 : 0) | 3u << 16);  // format, sectors of 4096 bytes
    for (std::uint32_t v : {hashAt, blockAt, slots, static_cast<std::uint32_t>(files.size())}) Put32(out, v);
    if (version == 2) out += Bytes(12, '\0');  // no high block table, high words zero
    out += body;
    for (std::uint32_t v : hashes) Put32(out, v);
    for (std::uint32_t v : blocks) Put32(out, v);
    return out;
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 1;
    }
    const std::string folder = argv[1];
    const std::uint32_t compress = mpq::MAFA_COMPRESS, encrypt = mpq::MAFA_COMPRESS | mpq::MAFA_ENCRYPT;
    const std::vector<Stored> mixed = {
        {"war3map.j", Text(9000, 'j'), compress, mpq::MAFA_COMPRESS_STANDARD},
        {"units\\a.mdx", Text(5000, 'u'), compress, mpq::MAFA_COMPRESS_DEFLATE},
        {"secret.txt", Text(7000, 's'), encrypt, mpq::MAFA_COMPRESS_STANDARD},
        {"plain.bin", Text(300, 'p'), 0, mpq::MAFA_COMPRESS_NONE},
        {"sound.wav", Wave(3000), compress, mpq::MAWA_QUALITY_MEDIUM, true},
    };
    const Bytes plain = Made(folder, {{"a.txt", Text(200, 'a'), 0, mpq::MAFA_COMPRESS_NONE},
                                      {"b.txt", Text(5000, 'b'), 0, mpq::MAFA_COMPRESS_NONE}}, true);
    const Bytes withList = Made(folder, mixed, true);
    const Bytes nameless = Made(folder, mixed, false);
    const Bytes encrypted = Made(folder, {{"hidden.txt", Text(9000, 'h'), encrypt, mpq::MAFA_COMPRESS_DEFLATE},
                                          {"small.txt", Text(20, 'z'), encrypt, mpq::MAFA_COMPRESS_STANDARD}}, false);
    Bytes sparse = Text(1500, 'q') + Bytes(3000, '\0') + Text(700, 'r');
    const std::vector<std::pair<const char *, Bytes>> modern = {
        {"Base.SC2Data\\GameData\\a.xml", Text(6000, 'x')}, {"Minimap.tga", sparse}, {"small.txt", Text(40, 's')}};
    Bytes mapHeader = "HM3W" + Bytes(4, '\0') + "seed map";
    mapHeader.resize(512, '\0');
    Bytes userData = "MPQ\x1B";
    for (std::uint32_t v : {16u, 512u, 16u}) Put32(userData, v);
    userData.resize(512, '\0');
    const struct {
        const char *name;
        Bytes bytes;
    } seeds[] = {
        {"plain.mpq", plain},
        {"with-list.mpq", withList},
        {"nameless.mpq", nameless},
        {"encrypted.mpq", encrypted},
        {"map-header.w3m", mapHeader + withList},
        {"user-data.mpq", userData + nameless},
        {"hand-v1.mpq", HandMade(1, {{"(listfile)", 0x80000000u}, {"a.txt", 0x80000000u}})},
        {"hand-v2.mpq", HandMade(2, {{"a.txt", 0x80000000u}, {"b.txt", 0x80000000u}})},
        {"hand-signature.mpq", HandMade(1, {{"(signature)", 0x80000000u}, {"a.txt", 0x80000000u}})},
        {"v3-bzip2.mpq", MadeByEngine(folder, 3, modern, MPQ_COMPRESSION_BZIP2)},
        {"v4-lzma.mpq", MadeByEngine(folder, 4, modern, MPQ_COMPRESSION_LZMA)},
        {"v4-sparse.mpq", MadeByEngine(folder, 4, modern, MPQ_COMPRESSION_SPARSE | MPQ_COMPRESSION_ZLIB)},
        {"v3-bzip2-user-data.SC2Replay", userData + MadeByEngine(folder, 3, modern, MPQ_COMPRESSION_BZIP2)},
    };
    int failed = 0;
    for (const auto &seed : seeds) {
        if (seed.bytes.empty() || !WriteFile(folder + "/" + seed.name, seed.bytes)) {
            std::fprintf(stderr, "seed %s not made\n", seed.name);
            ++failed;
        }
    }
    return failed == 0 ? 0 : 1;
}
