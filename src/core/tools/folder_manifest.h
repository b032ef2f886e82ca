// The manifest of an unpacked archive: what a folder of its files cannot
// say of the archive they came from, so that packing the folder gives the
// archive back. A small line-based UTF-8 text that diffs well:
//
//   arcavera-manifest 1
//   format 1
//   sector-size 4096
//   hash-table 1024
//   raw-chunk 0
//   front .arcavera-front.bin
//   listfile yes
//   attributes crc32 time md5
//   held <slot> <slot> ...
//   file <slot> <locale> <flags> <compression> <time> <path> <name>
//   nameless <slot> <locale> <flags> <compression> <time> <path> <hashes> <key>
//
// "held" lines name the hash slots that hold none of the files but are not
// free (deleted files, the internal files): a name's search walks on past
// them, and so it must in the archive built back.
// Lines starting with "#" and empty lines are comments. The fields of a
// file line are separated by single tabs, in the archive's order of files:
//   slot         its hash slot, in decimal, or "-" to let the hashes place it
//   locale       "-" for neutral, a tag such as "de-DE", or an LCID as "0x0407"
//   flags        words joined by ",": compress, implode, encrypt, fix-key,
//                single-unit, sector-crc, and any other bit as "0x..."; "-" for none
//   compression  the compression mask of its first compressed sector in hex
//                ("0x02" zlib, "0x08" PKWARE, ...), then "/" and that of the
//                others where it differs (wave files); "-" for none
//   time         its time in "(attributes)" as 16 hex digits, "-" for none
//   path         where its bytes are, below the folder, "/" between levels
//   name         the stored name, byte for byte
//   hashes       a nameless file's two name hashes, "AAAAAAAA:BBBBBBBB"
//   key          a nameless file's key in hex, "-" when it is not encrypted
// Paths and names write a tab, a line break, any control character and
// "%" as "%" and two hex digits, and so do the bytes of a name that is not
// valid UTF-8.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>
#include <vector>

#include "mpq/mpq_shape.h"

// The file of the manifest, of the data in front, and the folder of the
// nameless files, at the top of the folder.
inline constexpr char kManifestFile[] = ".arcavera-manifest";
inline constexpr char kFrontFile[] = ".arcavera-front.bin";
inline constexpr char kNamelessFolder[] = ".arcavera-nameless";

// A slot that says "where the name hashes to".
inline constexpr std::uint32_t kAnySlot = mpq::kAnySlot;

struct ManifestFile {
    QString path;                    // below the folder, "/" between levels
    QByteArray name;                 // the stored name; empty for a nameless file
    std::uint64_t hashes = 0;        // a nameless file's name hashes (A high, B low)
    std::uint32_t key = 0;           // a nameless encrypted file's key
    std::uint32_t slot = kAnySlot;
    std::uint16_t locale = 0;
    std::uint32_t flags = 0;         // MPQ_FILE_* bits
    std::uint8_t compression = 0;
    std::uint8_t nextCompression = 0;
    std::uint64_t time = 0;

    bool nameless() const { return name.isEmpty(); }
};

struct Manifest {
    int format = 1;
    std::uint32_t sectorSize = 4096;
    std::uint32_t hashTableSize = 0;
    std::uint32_t rawChunkSize = 0;
    QString front;                   // the file of the data in front; empty: none
    bool listfile = true;
    std::uint32_t attributes = 0;    // 1 crc32, 2 time, 4 md5, 8 patch-bit
    QList<ManifestFile> files;
    std::vector<std::uint32_t> heldSlots;  // slots that hold no file yet are not free
};

// What is wrong with a manifest or the folder it stands in, and where.
struct FolderProblem {
    enum Kind {
        Fits,           // nothing is wrong
        BadLine,        // `line` does not parse
        UnknownLocale,  // `line` names a locale that does not exist
        Climbs,         // `line` (or the folder's file `path`) has a path that climbs out of the folder
        Missing,        // the manifest names `path`, which the folder lacks
        Unlisted,       // the folder holds `path`, which the manifest does not name
        CaseClash,      // `path` and `other` give one stored name (names are blind to case)
        BadFront,       // the data in front (`path`) is missing, or not a whole number of 512-byte blocks
        Unreadable,     // `path` cannot be read
    };
    Kind kind = Fits;
    int line = 0;
    QString path, other;
};

QByteArray WriteManifest(const Manifest &manifest);
// False, with `problem` saying why, for a text that is no manifest.
bool ReadManifest(const QByteArray &text, Manifest &manifest, FolderProblem &problem);

// A field as the manifest writes it, and back; false for a "%" not followed
// by two hex digits.
QByteArray EscapeField(const QByteArray &bytes);
bool UnescapeField(const QByteArray &field, QByteArray &bytes);

// Where a stored name's bytes go below the folder: its levels ("\") as
// folders. A level that cannot be a file name ("", ".", "..", one holding
// "/" or a zero byte) is escaped as a field is, and so is every level of a
// name that is not valid UTF-8; a top-level name that begins as the
// manifest's own files do has its first byte escaped.
QString PathForName(const QByteArray &name);
// Whether a relative path climbs out of its folder or is absolute.
bool PathClimbs(const QString &path);
