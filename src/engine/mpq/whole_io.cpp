#include "mpq/whole_io.h"

#include <sys/types.h>
#include <unistd.h>

#include <cerrno>

namespace mpq {

namespace {

// Calls `move(bytes, size, at)` until `size` bytes have moved.
template <typename Bytes, typename Move>
bool MoveAll(Bytes *data, std::size_t size, std::uint64_t at, Move &&move)
{
    for (std::size_t done = 0; done < size;) {
        const ssize_t moved = move(data + done, size - done, static_cast<off_t>(at + done));
        if (moved < 0 && errno == EINTR) continue;
        if (moved <= 0) return false;
        done += static_cast<std::size_t>(moved);
    }
    return true;
}

}  // namespace

bool WriteAll(int fd, const void *data, std::size_t size)
{
    return MoveAll(static_cast<const char *>(data), size, 0,
                   [fd](const char *bytes, std::size_t n, off_t) { return ::write(fd, bytes, n); });
}

bool ReadAll(int fd, void *data, std::size_t size)
{
    return MoveAll(static_cast<char *>(data), size, 0,
                   [fd](char *bytes, std::size_t n, off_t) { return ::read(fd, bytes, n); });
}

bool WriteAllAt(int fd, const void *data, std::size_t size, std::uint64_t at)
{
    return MoveAll(static_cast<const char *>(data), size, at,
                   [fd](const char *bytes, std::size_t n, off_t offset) { return ::pwrite(fd, bytes, n, offset); });
}

bool ReadAllAt(int fd, void *data, std::size_t size, std::uint64_t at)
{
    return MoveAll(static_cast<char *>(data), size, at,
                   [fd](char *bytes, std::size_t n, off_t offset) { return ::pread(fd, bytes, n, offset); });
}

}  // namespace mpq
