#include "mpq/mpq_hash.h"

namespace mpq {

namespace {

inline std::uint32_t HashCharacter(char c)
{
    auto b = static_cast<std::uint8_t>(c);
    if (b >= 'a' && b <= 'z') return static_cast<std::uint32_t>(b - 'a' + 'A');
    return b;
}

}  // namespace

const std::array<std::uint32_t, 0x500> &CryptTable()
{
    static const std::array<std::uint32_t, 0x500> table = [] {
        std::array<std::uint32_t, 0x500> t{};
        std::uint32_t seed = 0x00100001;
        for (std::uint32_t index1 = 0; index1 < 0x100; ++index1) {
            for (std::uint32_t index2 = index1, i = 0; i < 5; ++i, index2 += 0x100) {
                seed = (seed * 125 + 3) % 0x2AAAAB;
                const std::uint32_t high = (seed & 0xFFFF) << 0x10;
                seed = (seed * 125 + 3) % 0x2AAAAB;
                t[index2] = high | (seed & 0xFFFF);
            }
        }
        return t;
    }();
    return table;
}

std::uint32_t HashString(const char *name, std::size_t length, HashType type)
{
    const auto &table = CryptTable();
    const std::uint32_t offset = static_cast<std::uint32_t>(type) << 8;
    std::uint32_t seed1 = 0x7FED7FED, seed2 = 0xEEEEEEEE;
    for (std::size_t i = 0; i < length; ++i) {
        const std::uint32_t ch = HashCharacter(name[i]);
        seed1 = table[offset + ch] ^ (seed1 + seed2);
        seed2 = ch + seed1 + seed2 + (seed2 << 5) + 3;
    }
    return seed1;
}

std::uint64_t NameKey(const char *name, std::size_t length)
{
    // Both hashes in one pass over the name.
    const auto &table = CryptTable();
    std::uint32_t a1 = 0x7FED7FED, a2 = 0xEEEEEEEE, b1 = 0x7FED7FED, b2 = 0xEEEEEEEE;
    for (std::size_t i = 0; i < length; ++i) {
        const std::uint32_t ch = HashCharacter(name[i]);
        a1 = table[0x100 + ch] ^ (a1 + a2);
        a2 = ch + a1 + a2 + (a2 << 5) + 3;
        b1 = table[0x200 + ch] ^ (b1 + b2);
        b2 = ch + b1 + b2 + (b2 << 5) + 3;
    }
    return (std::uint64_t{a1} << 32) | b1;
}

void EncryptWords(std::span<std::uint32_t> words, std::uint32_t key)
{
    const auto &table = CryptTable();
    std::uint32_t seed = 0xEEEEEEEE;
    for (std::uint32_t &word : words) {
        seed += table[0x400 + (key & 0xFF)];
        const std::uint32_t plain = word;
        word ^= key + seed;
        key = ((~key << 0x15) + 0x11111111) | (key >> 0x0B);
        seed = plain + seed + (seed << 5) + 3;
    }
}

void DecryptWords(std::span<std::uint32_t> words, std::uint32_t key)
{
    const auto &table = CryptTable();
    std::uint32_t seed = 0xEEEEEEEE;
    for (std::uint32_t &word : words) {
        seed += table[0x400 + (key & 0xFF)];
        word ^= key + seed;
        key = ((~key << 0x15) + 0x11111111) | (key >> 0x0B);
        seed = word + seed + (seed << 5) + 3;
    }
}

}  // namespace mpq
