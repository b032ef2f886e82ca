// An archive as a folder of its files and back: unpacking writes every
// stored file below a folder with a manifest of what the files cannot say
// (tools/folder_manifest.h); packing builds the archive back from the
// folder. The same folder and manifest always give the same bytes.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include "base/refusal.h"
#include "listing/listing_options.h"
#include "base/reporting.h"
#include "tools/folder_manifest.h"

struct AppConfig;

struct FolderReport {
    // Unpack: NotAnArchive, Damaged (the archive); NameInUse (the folder is
    // not empty); NotCreatable (no folder can be made). Pack: NotCreatable
    // (the archive cannot be written there), ArchiveNotWritten (the build
    // failed: `engineWhy` says why), Missing (no such folder). Nothing is
    // written but for None.
    Refusal archive = Refusal::None;
    FolderProblem problem;  // pack: what is wrong with the folder or its manifest
    QString engineWhy;      // pack: why the engine refused the build, in English
    int files = 0;          // the files unpacked or packed
    // Unpack: the stored files that could not be written (NotRead, Damaged,
    // Linked, DiskFailure with `failedPath`). Pack: the files a rule of an
    // unknown compression type left out (UnknownCompression).
    QList<Refused<QByteArray>> refused;
    QString failedPath;
    bool cancelled = false;
    bool mapHeader = false;  // pack without a manifest: a map header was made from war3map.w3i
};

// Writes every stored file of the archive at `archivePath` below `folder`,
// which must be absent or empty, named as a listing with `options` names
// them, and the manifest beside them. Status and progress as files go.
FolderReport UnpackArchive(const QString &archivePath, const QString &folder, const ListingOptions &options,
                           StatusPanel &status, ProgressBar &progress, EventQueue &events);

// Builds the archive at `archivePath` from `folder`: by its manifest when it
// holds one, every file under its path otherwise (format 1, the compression
// rules of `config`, with "(listfile)" and "(attributes)", a map header when
// it holds war3map.w3i). The archive is written whole beside its place and
// then renamed into it; an archive already there is replaced only then.
FolderReport PackFolder(const QString &folder, const QString &archivePath, const AppConfig &config,
                        StatusPanel &status, EventQueue &events);

// What is wrong with a folder, in the words of the texts in force.
QString FolderProblemText(const FolderProblem &problem);

// The 512-byte header WarCraft III expects in front of a map: "HM3W", four
// zero bytes, the map's name closed by a zero, its flags and its number of
// players, zeros to the end.
QByteArray MakeMapHeader(const QString &name, quint32 flags, quint32 players);
