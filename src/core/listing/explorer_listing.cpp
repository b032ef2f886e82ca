#include "listing/explorer_listing.h"

#include <string>
#include <vector>

#include "listing/classic_listing.h"
#include "listing/name_sources.h"
#include "listing/names.h"
#include "listing/slot_progress.h"
#include "listing/text_encoding.h"

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

bool LoadArchiveExplorer(const QString &path, const ListingOptions &options, ListingPorts &ports, FolderTree &tree,
                         qint64 &totalSize)
{
    if (path.isEmpty() || !IsFile(path)) return false;
    totalSize = 0;
    const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(path).toStdString());
    // Every file that gets this far has its root, archive or not.
    tree.AddRootNode(UpperKey(path), path);
    const std::int64_t n = mpq::SFileGetFileInfo(archive.get(), mpq::SFILE_INFO_HASH_TABLE_SIZE);
    if (n > 1) {
        std::vector<mpq::FileListEntry> records(static_cast<std::size_t>(n) + 1);
        BuildFileLists(archive.get(), path, records, options, ports.status);
        SlotProgress progress(ports, options, n);
        progress.Start();
        QString key;
        for (std::int64_t i = 0; i <= n; ++i) {
            const mpq::FileListEntry &record = records[static_cast<std::size_t>(i)];
            if (record.FileExists != 0) {
                // "\" is one byte in UTF-8 and in Windows-1252 alike and no
                // part of any other character: a name without that byte
                // makes no folder and needs no decoding.
                if (record.StoredName.find('\\') != std::string::npos)
                    AddFolderNodes(DecodeBytes(QByteArray::fromRawData(record.StoredName.data(),
                                                                     qsizetype(record.StoredName.size()))),
                                   tree, key);
                totalSize += record.FullSize;
            }
            progress.Step(i);
        }
        progress.Finish();
        // A second, independent read handle lists the root.
        FillFolderList(path, QString(), options, ports);
    }
    return true;
}

bool FillFolderList(const QString &path, const QString &folder, const ListingOptions &options, ListingPorts &ports)
{
    if (path.isEmpty() || !IsFile(path)) return false;
    const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(path).toStdString());
    ListArchiveRecords(archive.get(), path, options, ports, RecordFilter(folder), true, nullptr);
    return true;
}
