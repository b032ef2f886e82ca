// Guards against faults of StormLib 9.22: each check looks at an archive, or
// at a stored file StormLib has opened, before StormLib meets the fault, and
// says whether the engine may go on. The reason for each check is written
// beside it in mpq_guards.cpp.
#pragma once

#include <string>

namespace mpq::guards {

// Whether StormLib may open the archive at `path`. Reads the archive's own
// header (found as the engine finds it: at a multiple of 512 bytes, or where
// an "MPQ\x1B" user-data header points) and its tables, and refuses:
// - an MPK header (an archive kind of another game),
// - a hash or block table larger than the whole file,
// - a "(signature)" entry that points at a file-table entry which is no file.
// A file that holds no header at all passes: StormLib refuses it itself.
bool OpenIsSafe(const std::string &path);

// Whether a stored file that StormLib has opened (`stormFile`, the engine's
// handle) may be read. `archiveFd` reads the archive's bytes; it is opened by
// the caller. Refuses files whose reading makes StormLib write past a buffer
// or abort; a file it refuses counts as unreadable.
bool ReadIsSafe(int archiveFd, void *stormFile);

// Whether StormLib may open the archive at `path` for an update: what
// OpenIsSafe asks, and whether the internal files that such an open reads by
// itself ("(listfile)" and "(attributes)") may be read.
bool UpdateOpenIsSafe(const std::string &path);

}  // namespace mpq::guards
