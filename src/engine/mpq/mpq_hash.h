// The MPQ name hashes and the table behind them and behind table encryption.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace mpq {

enum class HashType : std::uint32_t { TableOffset = 0, NameA = 1, NameB = 2, FileKey = 3 };

// The 0x500 values that hashing and encryption of MPQ tables share.
const std::array<std::uint32_t, 0x500> &CryptTable();

// Hash of a name, blind to case. "/" and "\" are different characters here,
// as they are to the engine.
std::uint32_t HashString(const char *name, std::size_t length, HashType type);

// The two name hashes of a hash slot, as one key (name A high, name B low).
std::uint64_t NameKey(const char *name, std::size_t length);

// Encrypts whole 32-bit words in place, as MPQ tables are encrypted with
// `key` (the hash table's and the block table's keys are fixed), and as
// file data is: a sector with the file's key plus its number, the sector
// table with the file's key less one. DecryptWords undoes it.
void EncryptWords(std::span<std::uint32_t> words, std::uint32_t key);
void DecryptWords(std::span<std::uint32_t> words, std::uint32_t key);

}  // namespace mpq
