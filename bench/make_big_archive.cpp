// Makes an archive of N small files with an internal list for the listing
// benchmarks. Without FOLDERS the files lie in 500 folders of 37 subfolders
// each; with it, directly in that many folders.
// Usage: arcavera-bench-make ARCHIVE N [FOLDERS]
//
// The archive is written here byte by byte, in format 1, as StormLib writes
// one: files of one 4 KiB sector compressed with PKWARE behind their sector
// table, a "(listfile)" compressed with zlib and encrypted with a key fixed
// by its place, the encrypted hash and block tables at the end. An update through the engine would take
// minutes at a million files; this takes seconds.
#include <StormLib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "mpq/mpq_hash.h"

namespace {

constexpr std::uint32_t kSectorSize = 4096;

void Put32(std::vector<char> &out, std::uint32_t value)
{
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>(value >> (8 * i)));
}

// Encrypts the whole words of `bytes` with `key`; the bytes of a last word
// cut short stay as they are.
void Encrypt(char *bytes, std::size_t size, std::uint32_t key)
{
    std::vector<std::uint32_t> words(size / 4);
    std::memcpy(words.data(), bytes, words.size() * 4);  // little-endian, as the format
    mpq::EncryptWords(words, key);
    std::memcpy(bytes, words.data(), words.size() * 4);
}

// `data` as a compressed file stored in sectors: the sector table, then each
// sector compressed with `method`, or as it is when that is no shorter. With
// a nonzero `key`, the table is encrypted with key - 1 and sector i with
// key + i.
std::vector<char> CompressedFile(const std::string &data, unsigned method, std::uint32_t key = 0)
{
    const std::size_t sectors = (data.size() + kSectorSize - 1) / kSectorSize;
    std::vector<char> body;
    std::vector<std::uint32_t> offsets{static_cast<std::uint32_t>((sectors + 1) * 4)};
    std::vector<char> packed(kSectorSize * 2);
    for (std::size_t at = 0; at < data.size(); at += kSectorSize) {
        std::string piece = data.substr(at, kSectorSize);
        int length = static_cast<int>(packed.size());
        const std::size_t from = body.size();
        if (SCompCompress(packed.data(), &length, piece.data(), static_cast<int>(piece.size()), method, 0, -1) &&
            static_cast<std::size_t>(length) < piece.size())
            body.insert(body.end(), packed.data(), packed.data() + length);
        else
            body.insert(body.end(), piece.begin(), piece.end());
        if (key != 0) Encrypt(body.data() + from, body.size() - from, key + static_cast<std::uint32_t>(at / kSectorSize));
        offsets.push_back(offsets.front() + static_cast<std::uint32_t>(body.size()));
    }
    std::vector<char> file;
    for (std::uint32_t offset : offsets) Put32(file, offset);
    if (key != 0) Encrypt(file.data(), file.size(), key - 1);
    file.insert(file.end(), body.begin(), body.end());
    return file;
}

struct Block {
    std::uint32_t offset, stored, size, flags;
};

}  // namespace

int main(int argc, char *argv[])
{
    if (argc != 3 && argc != 4) {
        std::fputs("usage: arcavera-bench-make ARCHIVE N [FOLDERS]\n", stderr);
        return 1;
    }
    const long count = std::strtol(argv[2], nullptr, 10);
    const long folders = argc == 4 ? std::max(1L, std::strtol(argv[3], nullptr, 10)) : 0;
    if (count < 0 || count > 20'000'000) return 1;

    // Sixteen contents, each compressed once.
    std::string contents[16];
    std::vector<char> packed[16];
    for (int i = 0; i < 16; ++i) {
        for (int r = 0; r < 4 + i * 3; ++r) contents[i] += "benchmark content ";
        packed[i] = CompressedFile(contents[i], MPQ_COMPRESSION_PKWARE);
    }

    std::vector<char> archive(32, 0);  // the header, written last
    std::vector<std::string> names;
    std::vector<Block> blocks;
    names.reserve(static_cast<std::size_t>(count) + 1);
    blocks.reserve(static_cast<std::size_t>(count) + 1);
    char name[64];
    for (long i = 0; i < count; ++i) {
        if (folders > 0)
            std::snprintf(name, sizeof name, "folder%04ld\\file%07ld.txt", i % folders, i);
        else
            std::snprintf(name, sizeof name, "folder%03ld\\sub%02ld\\file%06ld.txt", i % 500, i % 37, i);
        names.emplace_back(name);
        const std::vector<char> &file = packed[i % 16];
        blocks.push_back({static_cast<std::uint32_t>(archive.size()), static_cast<std::uint32_t>(file.size()),
                          static_cast<std::uint32_t>(contents[i % 16].size()), MPQ_FILE_EXISTS | MPQ_FILE_COMPRESS});
        archive.insert(archive.end(), file.begin(), file.end());
    }

    // The list names every other file, sorted.
    std::vector<const std::string *> sorted;
    sorted.reserve(names.size());
    for (const std::string &n : names) sorted.push_back(&n);
    std::sort(sorted.begin(), sorted.end(), [](const std::string *a, const std::string *b) { return *a < *b; });
    std::string listText;
    for (const std::string *n : sorted) listText += *n + "\r\n";
    const auto listAt = static_cast<std::uint32_t>(archive.size());
    const auto listSize = static_cast<std::uint32_t>(listText.size());
    const std::uint32_t listKey =
        (mpq::HashString(LISTFILE_NAME, std::strlen(LISTFILE_NAME), mpq::HashType::FileKey) + listAt) ^ listSize;
    const std::vector<char> list = CompressedFile(listText, MPQ_COMPRESSION_ZLIB, listKey);
    names.emplace_back(LISTFILE_NAME);
    blocks.push_back({listAt, static_cast<std::uint32_t>(list.size()), listSize,
                      MPQ_FILE_EXISTS | MPQ_FILE_COMPRESS | MPQ_FILE_ENCRYPTED | MPQ_FILE_FIX_KEY});
    archive.insert(archive.end(), list.begin(), list.end());

    // The hash table: a power of two with room for 16 more, each name in the
    // first free slot from its own.
    std::uint32_t slots = 16;
    while (slots < names.size() + 16) slots *= 2;
    std::vector<std::uint32_t> hashes(std::size_t{slots} * 4, HASH_ENTRY_FREE);
    for (std::size_t b = 0; b < names.size(); ++b) {
        const std::string &n = names[b];
        std::uint32_t slot = mpq::HashString(n.data(), n.size(), mpq::HashType::TableOffset) & (slots - 1);
        while (hashes[std::size_t{slot} * 4 + 3] != HASH_ENTRY_FREE) slot = (slot + 1) & (slots - 1);
        std::uint32_t *entry = &hashes[std::size_t{slot} * 4];
        entry[0] = mpq::HashString(n.data(), n.size(), mpq::HashType::NameA);
        entry[1] = mpq::HashString(n.data(), n.size(), mpq::HashType::NameB);
        entry[2] = 0;  // neutral locale, platform 0
        entry[3] = static_cast<std::uint32_t>(b);
    }
    std::vector<std::uint32_t> blockWords;
    blockWords.reserve(blocks.size() * 4);
    for (const Block &block : blocks) blockWords.insert(blockWords.end(), {block.offset, block.stored, block.size, block.flags});
    mpq::EncryptWords(hashes, MPQ_KEY_HASH_TABLE);
    mpq::EncryptWords(blockWords, MPQ_KEY_BLOCK_TABLE);

    const std::uint64_t hashAt = archive.size(), blockAt = hashAt + hashes.size() * 4,
                        end = blockAt + blockWords.size() * 4;
    if (end > 0xFFFFFFFFu) {
        std::fputs("too large for format 1\n", stderr);
        return 1;
    }
    for (std::uint32_t word : hashes) Put32(archive, word);
    for (std::uint32_t word : blockWords) Put32(archive, word);

    std::vector<char> header;
    for (std::uint32_t word : {std::uint32_t{ID_MPQ}, std::uint32_t{32}, static_cast<std::uint32_t>(end)})
        Put32(header, word);
    header.push_back(0), header.push_back(0);  // format 1
    header.push_back(3), header.push_back(0);  // sectors of 512 << 3 bytes
    for (std::uint32_t word : {static_cast<std::uint32_t>(hashAt), static_cast<std::uint32_t>(blockAt), slots,
                               static_cast<std::uint32_t>(blocks.size())})
        Put32(header, word);
    std::memcpy(archive.data(), header.data(), header.size());

    std::FILE *out = std::fopen(argv[1], "wb");
    if (out == nullptr) return 1;
    const bool written = std::fwrite(archive.data(), 1, archive.size(), out) == archive.size();
    return std::fclose(out) == 0 && written ? 0 : 1;
}
