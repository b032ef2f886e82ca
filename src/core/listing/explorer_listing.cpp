#include "listing/explorer_listing.h"

#include <algorithm>
#include <string>
#include <vector>

#include "listing/classic_listing.h"
#include "listing/name_sources.h"
#include "base/paths.h"
#include "listing/slot_progress.h"
#include "base/text_encoding.h"

namespace {

// One UTF-16 unit upper-cased; ASCII without the look-up in Unicode's tables.
inline QChar UpperUnit(QChar c)
{
    const char16_t u = c.unicode();
    if (u < 0x80) return QChar(u >= u'a' && u <= u'z' ? char16_t(u - (u'a' - u'A')) : u);
    return c.toUpper();
}

// The folder nodes that one stored name makes, its backslashes taken left to
// right. A folder's node is added only after those of its parents, so when
// the name's deepest folder has its node, every folder of the name has one:
// a name of a known folder costs one look-up. `key` is a buffer reused from
// name to name.
void AddFolderNodes(const QString &name, FolderTree &tree, QString &key)
{
    const qsizetype last = name.lastIndexOf(QLatin1Char('\\'));
    key.resize(last + 1);
    QChar *out = key.data();
    for (qsizetype i = 0; i <= last; ++i) out[i] = UpperUnit(name[i]);
    if (tree.NodeExists(key)) return;
    for (qsizetype p = name.indexOf(QLatin1Char('\\')); p >= 0; p = name.indexOf(QLatin1Char('\\'), p + 1)) {
        const QString path = key.left(p + 1);
        if (p < last && tree.NodeExists(path)) continue;
        const QString bare = name.left(p);  // the folder's path without its closing "\"
        const QString parent = GetFolder(bare);
        tree.AddFolderNode(parent.isEmpty() ? QString() : key.left(parent.size()), path, GetFileName(bare));
    }
}

}  // namespace

QString UpperKey(const QString &text)
{
    QString upper(text.size(), Qt::Uninitialized);
    QChar *out = upper.data();
    for (QChar c : text) *out++ = UpperUnit(c);
    return upper;
}

void FolderIndex::Clear()
{
    rows_ = {};
    folders_ = {};
}

QString FolderIndex::FolderKeyOf(const QByteArray &tag)
{
    if (!tag.contains('\\')) return {};
    return UpperKey(GetFolder(DecodeBytes(tag)));
}

void FolderIndex::Add(const QString &folderKey, ListRow row)
{
    folders_[folderKey].push_back(static_cast<std::uint32_t>(rows_.size()));
    rows_.push_back(std::move(row));
}

void FolderIndex::Fill(const QString &folderKey, RowSink &rows) const
{
    rows.ClearRows();
    rows.SetSorted(false);
    const auto folder = folders_.constFind(folderKey);
    if (folder != folders_.cend()) {
        rows.ReserveRows(folder->size());
        for (std::uint32_t place : *folder) rows.AddRow(rows_[place]);
    }
    rows.SetSorted(true);
}

std::vector<std::uint32_t>::iterator FolderIndex::Find(std::vector<std::uint32_t> &places, const QByteArray &tag)
{
    return std::find_if(places.begin(), places.end(), [&](std::uint32_t place) { return rows_[place].Tag == tag; });
}

void FolderIndex::Remove(const QList<QByteArray> &tags)
{
    for (const QByteArray &tag : tags) {
        const auto folder = folders_.find(FolderKeyOf(tag));
        if (folder == folders_.end()) continue;
        const auto found = Find(*folder, tag);
        if (found != folder->end()) folder->erase(found);
    }
}

void FolderIndex::Rename(const QByteArray &oldTag, const QByteArray &newTag)
{
    const auto folder = folders_.find(FolderKeyOf(oldTag));
    if (folder == folders_.end()) return;
    const auto found = Find(*folder, oldTag);
    if (found == folder->end()) return;
    const std::uint32_t place = *found;
    folder->erase(found);
    rows_[place].Tag = newTag;
    folders_[FolderKeyOf(newTag)].push_back(place);
}

namespace {

// The rows of a walk go to the index, and the folders of their names to the tree.
class IndexedRows : public RowSink {
public:
    IndexedRows(FolderIndex &index, FolderTree &tree) : index_(index), tree_(tree) {}
    void SetSorted(bool) override {}
    void ClearRows() override {}
    void AddRow(ListRow row) override
    {
        // "\" is one byte in UTF-8 and in Windows-1252 alike and no part of
        // any other character: a name without that byte makes no folder and
        // needs no decoding.
        if (!row.Tag.contains('\\')) {
            index_.Add(QString(), std::move(row));
            return;
        }
        AddFolderNodes(row.text(), tree_, key_);
        index_.Add(key_, std::move(row));
    }

private:
    FolderIndex &index_;
    FolderTree &tree_;
    QString key_;  // the folder key of the last name with a folder
};

}  // namespace

bool LoadArchiveExplorer(const QString &path, const ListingOptions &options, ListingPorts &ports, FolderTree &tree,
                         FolderIndex &index, qint64 &totalSize)
{
    if (path.isEmpty() || !IsFile(path)) {
        ListArchiveRows(path, options, ports.status, ports.progress, ports.rows, nullptr);  // says why
        return false;
    }
    totalSize = 0;
    index.Clear();
    // Every file that gets this far has its root, archive or not.
    tree.AddRootNode(UpperKey(path), path);
    IndexedRows indexed(index, tree);
    const RecordsRead read =
        ListArchiveRows(path, options, ports.status, ports.progress, indexed, &totalSize, ports.events);
    if (read == RecordsRead::Listed || read == RecordsRead::Malformed) index.Fill(QString(), ports.rows);
    return true;
}
