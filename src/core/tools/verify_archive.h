// Checking whether an archive is sound: every file that its listing names,
// read whole and compared with the checksums the archive keeps of it, and
// the archive's signature.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include "base/refusal.h"
#include "listing/listing_options.h"
#include "base/reporting.h"

// What is wrong with a stored file, as bits: a file may have several faults.
enum FileFault : quint32 {
    FaultNotOpened = 0x01,       // no stored file opens by the name
    FaultNotRead = 0x02,         // it does not read to its full size
    FaultSectorChecksum = 0x04,  // a sector differs from its checksum
    FaultCrc32 = 0x08,           // it differs from the CRC32 "(attributes)" keeps of it
    FaultMd5 = 0x10,             // it differs from the MD5 "(attributes)" keeps of it
    FaultRawMd5 = 0x20,          // its stored bytes differ from their MD5s, or these are missing
    FaultEngine = 0x40,          // reading it took the engine down, or left it busy past every limit
};

// What the archive's signature says of it. An archive without one is not
// faulty for that.
enum class SignatureVerdict { None, WeakValid, StrongValid, Mismatch };

struct FaultyFile {
    QByteArray name;  // the stored name as the listing gives it
    quint32 faults = 0;
    friend bool operator==(const FaultyFile &, const FaultyFile &) = default;
};

struct VerifyReport {
    Refusal archive = Refusal::None;  // Missing, WrongKind, NotAnArchive or Damaged: nothing was checked
    qint64 filesChecked = 0;
    QList<FaultyFile> faulty;         // in the order of the listing
    SignatureVerdict signature = SignatureVerdict::None;
    qint64 filesLeft = 0;             // the user stopped the check with these files, and the signature, left

    // Checked, and nothing found wrong.
    bool Sound() const
    {
        return archive == Refusal::None && faulty.isEmpty() && filesLeft == 0 &&
               signature != SignatureVerdict::Mismatch;
    }
};

// Lists the archive at `path` as the Classic style does (names from the
// lists and from their recovery, as `options` say), reporting to `status`
// and `progress` as a listing does, then checks each listed file with the
// progress bar counting them, a turn of `events` each, and the signature. A
// cancel of `events` stops it between two files. Reads only.
VerifyReport VerifyArchive(const QString &path, const ListingOptions &options, StatusPanel &status,
                           ProgressBar &progress, EventQueue &events);

// The report of a check that took place (`archive` None) as the user reads
// it, a line each, in the catalogue's texts: the files checked, the faulty
// files counted, each faulty file by its stored name ("name [de-DE]" for a
// locale variant) with its faults, the first `shownFiles` of them (all of
// them when negative) and the rest counted in one line after; last the
// signature, or what a stopped check left unchecked.
QStringList VerifyReportLines(const VerifyReport &report, qsizetype shownFiles);
