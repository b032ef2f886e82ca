// arcavera-cli unpack and pack: an archive as a folder of its files with a
// manifest, and a folder back into an archive.
#pragma once

#include <QStringList>

struct AppConfig;
struct ListingOptions;

// The exit status of a folder that does not make an archive: a manifest
// that does not parse or does not match its folder.
inline constexpr int kFolderStatus = 8;

// unpack ARCHIVE FOLDER: every stored file below FOLDER (new or empty) and
// the manifest beside them. Returns the exit status.
int UnpackCommand(const QStringList &arguments, const ListingOptions &listing, bool verbose);

// pack FOLDER ARCHIVE: the archive built from FOLDER, by its manifest when
// it holds one, by the rules of `config` otherwise.
int PackCommand(const QStringList &arguments, const AppConfig &config, bool verbose);
