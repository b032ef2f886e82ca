// The engine's own compaction of archives in format 1 or 2, whose files a
// classic hash table and block table find (what maps are). StormLib's
// compaction needs a name for every file and reads each one through its
// sector table; this one needs names only where a file's key follows its
// place, and copies the stored bytes of files as they are, in long runs.
//
// The new archive holds what lay in front of the header (a map's header,
// an executable) byte for byte, the header at the same offset, then the
// stored bytes of every file that exists, in the order of their old
// offsets and packed one after another, then the hash table, the block
// table and, where there is one, the high block table. The hash table is
// written as it was, slot for slot, so that every file, named or not, is
// found under the hashes, locale and platform it had; the block table
// keeps its size and indices, so that "(attributes)", whose entries follow
// them, stays right: only the offsets change, and the entries of deleted
// files are zeroed. What lay behind the tables (a strong signature) is left
// out. Internal files are copied as they are: "(listfile)" keeps its
// names, and a weak signature no longer matches.
//
// Files encrypted with a key adjusted by their offset (MPQ_FILE_FIX_KEY)
// are encrypted anew for their new offset. Their key comes from their name
// (its last part), or, for a file no name covers, from its first bytes, as
// StormLib finds the key of such a file to read it: from its sector table,
// whose first entry is the table's own length, or from the known start of
// a wave, an executable or an XML text when it is stored uncompressed.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace mpq {

enum class RepackResult {
    Done,
    NotClassic,  // not such an archive, or one holding an encrypted patch file: nothing was written
    Nameless,    // files whose key follows their place and cannot be found: nothing was written
    Failed,      // a table or a file lies outside the archive, a sector table makes no sense, or a
                 // read or a write failed
};

// Called as stored bytes are copied: bytes done, bytes in all.
using RepackProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

// Writes the archive that `in` reads, its header at `headerAt` and its
// sectors `sectorSize` bytes long (as the opening took them), compacted
// into the empty file `out`, which is not synced. `names` are stored names
// (a locale variant's form counts as its bare name); they give the keys of
// the files that need them. On Nameless, `nameless` holds the hash slots
// of the files whose key was not found.
RepackResult Repack(int in, std::uint64_t headerAt, std::uint32_t sectorSize, int out,
                    const std::vector<std::string> &names, const RepackProgress &progress,
                    std::vector<std::uint32_t> &nameless);

}  // namespace mpq
