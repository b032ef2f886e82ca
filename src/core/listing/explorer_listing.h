// The Explorer style: the archive's folders as a tree beside the list, and
// the list of one folder.
//
// An archive has no folders: a "\" in a stored name is all that makes one.
// The tree and the folders' lists are derived from the names at every load.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <cstdint>
#include <vector>

#include "listing/listing_options.h"
#include "listing/reporting.h"

// `text` upper-cased character by character, keeping its length, so that a
// key's prefix of n characters is the upper-cased name's prefix of n.
QString UpperKey(const QString &text);

// The rows of every stored file by folder, made by one walk of the archive,
// so that a folder's list is filled without reading the archive again.
// Folder keys are upper-cased paths with their closing "\"; the root's is
// empty.
class FolderIndex {
public:
    void Clear();
    // The key of the folder that holds the file stored as `tag`.
    static QString FolderKeyOf(const QByteArray &tag);
    void Add(const QString &folderKey, ListRow row);
    // Empties `rows` and gives it the files directly in the folder, then
    // sorts them. A folder that holds no file gives an empty list.
    void Fill(const QString &folderKey, RowSink &rows) const;
    // The files stored as these names leave their folders.
    void Remove(const QList<QByteArray> &tags);
    // The file stored as `oldTag` is stored as `newTag` now, in the folder
    // that name gives it.
    void Rename(const QByteArray &oldTag, const QByteArray &newTag);

private:
    // The place in rows_ of the file stored as `tag` in its folder's list, or nullptr.
    std::vector<std::uint32_t>::iterator Find(std::vector<std::uint32_t> &places, const QByteArray &tag);

    std::vector<ListRow> rows_;  // a removed file's row stays, in no folder's list
    QHash<QString, std::vector<std::uint32_t>> folders_;
};

// Adds the root node (key: the path upper-cased; text: the path) and one node
// per folder that the stored names make, in slot order, while `index` gets
// every file's row (what it held goes); then lists the root's files from the
// index. It clears neither tree nor list. False only when the path is empty
// or names no file. `totalSize` becomes the sum of the sizes of all stored
// files, whatever folder is listed.
bool LoadArchiveExplorer(const QString &path, const ListingOptions &options, ListingPorts &ports,
                         FolderTree &tree, FolderIndex &index, qint64 &totalSize);
