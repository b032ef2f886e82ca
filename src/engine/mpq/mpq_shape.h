// The shape of an archive: all that makes it what it is besides the bytes
// of its files. Its format, sectors and tables, what stands in front of it,
// and of each file its name, hash slot, locale, flags, compression, time and
// key. An archive unpacked to a folder keeps its shape beside the files, and
// packing the folder builds the archive anew from the two: every file is
// found where and as it was, and the same shape and files always give the
// same bytes.
//
// Both calls work in the calling process, as the listing they go with does:
// the caller runs them in a child of its own (the core's child_work.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mpq {

class FileList;

// The slot of a file that has none of its own: StormLib places it where its
// name hashes. Files of a folder that kept no shape are all placed so.
inline constexpr std::uint32_t kAnySlot = 0xFFFFFFFF;

struct FileShape {
    // Its stored name as the listing gave it (in the variant form for a
    // locale variant), or its "~unknowns" name when no list names it.
    std::string name;
    bool named = true;            // false: no list named it
    std::uint64_t nameKey = 0;    // its two name hashes, as NameKey gives them; a nameless file is
                                  // built back under these, a named one under its name's
    std::uint32_t slot = 0;       // its hash slot; its file-table index in an archive with only the
                                  // newer tables; kAnySlot: wherever its name hashes
    std::uint16_t locale = 0;
    std::uint8_t platform = 0;
    std::uint32_t flags = 0;      // its MPQ_FILE_* flags as stored, MPQ_FILE_EXISTS included
    // The compression mask byte of its first compressed sector (0x02 zlib,
    // 0x08 PKWARE, 0x10 bzip2, 0x12 LZMA, 0x41, 0x81, 0x48 or 0x88 a wave);
    // 0 when it is imploded, stored plain, or no sector of it is compressed.
    std::uint8_t compression = 0;
    // The mask of its later sectors where they differ from the first (a wave:
    // the first sector PKWARE, the rest ADPCM); 0 when none differs.
    std::uint8_t nextCompression = 0;
    std::uint64_t fileTime = 0;   // its time in "(attributes)"; 0 without one
    std::uint32_t fullSize = 0;
    // The key of an encrypted file that no list names, as found to read it,
    // before any adjustment by its place (MPQ_FILE_FIX_KEY); 0 otherwise, and
    // 0 when it could not be found.
    std::uint32_t key = 0;
    std::uint64_t offset = 0;     // where its stored bytes begin, from the header: the archive's order

    friend bool operator==(const FileShape &, const FileShape &) = default;
};

struct ArchiveShape {
    int format = 1;                    // 1 to 4
    std::uint32_t sectorSize = 4096;
    // Slots of the hash table; 0 without one (only the newer tables), and in
    // a shape to build: the smallest power of two that holds the files.
    std::uint32_t hashTableSize = 0;
    std::uint64_t headerAt = 0;        // where the header stands: the bytes before it stand in front
    std::uint32_t rawChunkSize = 0;    // format 4: stored bytes per MD5 behind each file; 0: none
    std::uint32_t attributes = 0;      // the MPQ_ATTRIBUTE_* flags "(attributes)" holds; 0 without it
    bool listfile = false;             // it holds "(listfile)"
    // Every stored file but "(listfile)", "(attributes)" and "(signature)",
    // in the order of their offsets.
    std::vector<FileShape> files;
    // The slots that are not free yet hold none of `files`: deleted entries,
    // and those of the internal files. A table built back marks them deleted,
    // so that every search for a name walks on past them as it did.
    std::vector<std::uint32_t> heldSlots;

    friend bool operator==(const ArchiveShape &, const ArchiveShape &) = default;
};

// Reads the shape of the archive at `path`; `names` is its listing
// (SFileListFiles), whose records give the files their names in slot order.
// Each file is opened as a read opens it, the guards first: one that they
// refuse keeps its compression and key at 0. False when no archive opens, or
// `names` is not a listing of it.
bool ReadArchiveShape(const std::string &path, const FileList &names, ArchiveShape &shape);

// Makes a new archive at `path`, written over whatever is there: the bytes of
// the file `front` (none when empty; its length a multiple of 512, where the
// header then stands), then an archive of `shape` whose files are
// shape.files in order, file i holding the bytes of the disk file
// `sources[i]`, which must hold fullSize bytes. StormLib writes it in the
// file `path` + ".building", with the files' times from the shape, and
// "(listfile)" and "(attributes)" as the shape says. Then, in formats 1 and
// 2, when the files have slots, its hash table is written anew: each file
// stands in its slot under its hashes, locale and platform, the held slots
// are deleted entries, the internal files take the first free or deleted
// slot from where their names hash, and every other slot is free. A
// nameless file is written under a stand-in name that the archive then
// forgets (its "(listfile)" leaves it out), and an encrypted one is
// encrypted anew with its own key. Last, the bytes in front and the archive
// are joined at `path`. False, with `why` said, when anything fails; what was
// made at `path` is then the caller's to remove.
//
// Refused, with nothing made: sources that do not hold their file's bytes; a
// front whose length is not a multiple of 512; sectors of less than 1024
// bytes (StormLib cannot read back what it makes with 512) or more than 16
// MiB; a hash table that is not a power of two from 4 to 2^20 slots, or too
// small for the files and the internal files; files with slots beside files
// without; a slot taken twice, or past the table; files without a name or a
// slot, or a name and locale taken twice without slots; an encrypted file
// without a name whose key is not known; and in formats 3 and 4, whose newer
// tables StormLib writes by name and without locales: files without a name,
// names taken twice, and locale variants. There slots are not kept.
//
// A file keeps the flags StormLib takes at its creation (imploded or
// compressed, encrypted, its key fixed by its place, stored in one unit,
// sector checksums); StormLib sets the rest by itself. Sectors compressed
// with a lossy method (a wave's ADPCM) are compressed anew from the bytes
// they unpacked to, and so lose once more.
bool BuildArchive(const std::string &path, const ArchiveShape &shape, const std::vector<std::string> &sources,
                  const std::string &front, std::string &why);

}  // namespace mpq
