// Guards against faults of StormLib 9.22: each check looks at an archive, or
// at a stored file StormLib has opened, before StormLib meets the fault, and
// says whether the engine may go on. The reason for each check is written
// beside it in mpq_guards.cpp.
#pragma once

#include <string>

namespace mpq::guards {

// What the checks before an open say of an archive.
enum class OpenVerdict {
    Safe,      // StormLib may open it
    Unsafe,    // it must not reach StormLib
    Screened,  // StormLib may open the copy that ScreenedCopy makes
};

// Looks at the archive at `path` before StormLib does: its own header (found
// as the engine finds it: at a multiple of 512 bytes, or where an "MPQ\x1B"
// user-data header points) and its tables. Unsafe are an MPK header (an
// archive kind of another game), a hash or block table larger than the whole
// file, and a version 2 header whose tables are out of order; a
// "(signature)" entry that points at no file is screened out. A file that
// holds no header at all is safe: StormLib refuses it itself.
OpenVerdict CheckOpen(const std::string &path);
inline bool OpenIsSafe(const std::string &path) { return CheckOpen(path) == OpenVerdict::Safe; }

// A descriptor of a copy in memory of the archive at `path` (up to 256 MiB)
// whose "(signature)" entries that point at no file are deleted entries, so
// that every other file lists and reads; -1 when there is none. The caller
// closes it; StormLib opens it as "/proc/self/fd/N".
int ScreenedCopy(const std::string &path);

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
