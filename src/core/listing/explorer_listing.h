// The Explorer style: the archive's folders as a tree beside the list, and
// the list of one folder.
//
// An archive has no folders: a "\" in a stored name is all that makes one.
// The tree is derived from the names at every load and nothing of it is kept.
#pragma once

#include <QByteArray>
#include <QString>

#include "listing/listing_options.h"
#include "listing/reporting.h"

// `text` upper-cased character by character, keeping its length, so that a
// key's prefix of n characters is the upper-cased name's prefix of n.
QString UpperKey(const QString &text);

// Adds the root node (key: the path upper-cased; text: the path) and one node
// per folder that the stored names make, in slot order, then lists the
// root's files through FillFolderList. It clears neither tree nor list.
// False only when the path is empty or names no file. `totalSize` becomes
// the sum of the sizes of all stored files, whatever folder is listed.
bool LoadArchiveExplorer(const QString &path, const ListingOptions &options, ListingPorts &ports,
                         FolderTree &tree, qint64 &totalSize);

// Lists the files directly in `folder` (empty for the root, else a node key
// with its closing "\"), after emptying the list. Compared without regard to
// case; files of subfolders are not listed. Leaves the list as it was when
// the file holds no archive.
bool FillFolderList(const QString &path, const QString &folder, const ListingOptions &options,
                    ListingPorts &ports);
