// Putting an MPQ archive behind an executable, and cutting such a file back
// into its two parts.
//
// The embedded layout: the executable as it was, zero bytes up to the next
// multiple of 512 (none when its length is one already), then the archive
// byte for byte, header first. Nothing in either part is patched; the header
// is found again by FindMPQHeader alone.
//
// Every operation either does all of its work or changes nothing: the
// executable that an embed could not finish is cut back to its old length,
// and an export writes a temporary file beside its target that replaces the
// target only once the whole copy is on disk.
#pragma once

#include <QString>

class QFileDevice;

// The bytes one pass of the copy loop moves at most, through one buffer.
inline constexpr qint64 kCopyChunkSize = qint64(1) << 20;

enum class EmbedStatus {
    Done,
    NotPlainArchive,    // the archive to embed has no header at offset 0
    SameFile,           // the second file is the first one itself (another spelling or a link too)
    NoEmbeddedArchive,  // the file to cut holds no header behind some bytes of its own
    OpenFailed,         // `path` could not be opened
    ReadFailed,         // `path` could not be read to its end
    WriteFailed,        // `path` could not be written
};

struct EmbedResult {
    EmbedStatus status = EmbedStatus::Done;
    QString path;              // the file concerned by a failure or refusal
    qint64 passes = 0;         // passes of the copy loop
    qint64 lastPassBytes = 0;  // bytes the last pass moved

    bool ok() const { return status == EmbedStatus::Done; }
};

// True when both paths name one file on disk, whatever their spelling: the
// same device and inode, or for paths that do not exist the same cleaned
// absolute path.
bool IsSameFile(const QString &first, const QString &second);

// Appends the archive at `mpqPath` to the executable at `exePath`, which
// changes in place: padding, then the archive. Refused, with nothing
// changed, when the archive's header is not at its offset 0 or the archive
// is the executable itself.
EmbedResult EmbedArchive(const QString &exePath, const QString &mpqPath);

// Writes the bytes of `exePath` before its archive header, the padding
// included, to `targetPath`. Refused when the file holds no header at an
// offset above 0, or the target is the file itself.
EmbedResult ExportExecutablePart(const QString &exePath, const QString &targetPath);

// Writes the bytes of `exePath` from its archive header to the end to
// `targetPath`, so that the header stands at offset 0 there. Refused as
// ExportExecutablePart is.
EmbedResult ExportArchivePart(const QString &exePath, const QString &targetPath);
