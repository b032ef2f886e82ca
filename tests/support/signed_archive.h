// Archives written by StormLib itself, with the engine's own files as a map
// maker's tool leaves them.
#pragma once

#include <QList>
#include <QString>

#include <cstdint>

#include "support/archive_factory.h"

namespace fixtures {

// What "(attributes)" holds of each file, as the format writes it.
inline constexpr std::uint32_t kAttributeCrc32 = 0x1;
inline constexpr std::uint32_t kAttributeMd5 = 0x4;

// A format 1 archive of `files` with a "(listfile)", an "(attributes)" that
// holds the checksums named by `attributes` (0: none), and, when `sign` is set, a weak signature. False when it could
// not be made.
bool MakeStormArchive(const QString &path, const QList<StoredFile> &files, std::uint32_t attributes, bool sign);

}  // namespace fixtures
