// Whole reads and writes through a file descriptor: each goes on through
// short transfers and interrupted calls until every byte has moved. For the
// engine's own files (journals, screened copies, listings in shared memory)
// and for the files an extraction writes. No Qt and no StormLib here.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mpq {

// False when the descriptor fails, or a read meets the end first.
bool WriteAll(int fd, const void *data, std::size_t size);
bool ReadAll(int fd, void *data, std::size_t size);
// The same at an offset of the file, the descriptor's position left alone.
bool WriteAllAt(int fd, const void *data, std::size_t size, std::uint64_t at);
bool ReadAllAt(int fd, void *data, std::size_t size, std::uint64_t at);

}  // namespace mpq
