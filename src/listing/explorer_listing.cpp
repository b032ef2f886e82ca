#include "listing/explorer_listing.h"

#include <vector>

#include "config/app_config.h"
#include "config/catalogue.h"
#include "editing/helpers/paths.h"
#include "listing/classic_listing.h"
#include "listing/name_sources.h"
#include "listing/slot_progress.h"
#include "listing/text_encoding.h"

namespace {

// The folder nodes of one stored name, left to right.
void AddFolderNodes(const QString &name, FolderTree &tree)
{
    for (qsizetype p = name.indexOf(QLatin1Char('\\')); p >= 0; p = name.indexOf(QLatin1Char('\\'), p + 1)) {
        const QString path = name.left(p + 1);
        const QString key = UpperKey(path);
        if (tree.NodeExists(key)) continue;
        const QString bare = path.left(path.size() - 1);
        const QString parent = GetFolder(bare);
        tree.AddFolderNode(parent.isEmpty() ? QString() : UpperKey(parent), key, GetFileName(bare));
    }
}

}  // namespace

QString UpperKey(const QString &text)
{
    QString upper(text.size(), Qt::Uninitialized);
    for (qsizetype i = 0; i < text.size(); ++i) upper[i] = text[i].toUpper();
    return upper;
}

bool LoadArchiveExplorer(const QString &path, const AppConfig &config, ListingPorts &ports, FolderTree &tree,
                         qint64 &totalSize)
{
    if (path.isEmpty() || !IsFile(path)) return false;
    totalSize = 0;
    mpq::MpqHandle archive = nullptr;
    mpq::SFileOpenArchive(PathBytes(path).toStdString(), 0, 0, &archive);
    // Every file that gets this far has its root, archive or not.
    tree.AddRootNode(UpperKey(path), path);
    const std::int64_t n = mpq::SFileGetFileInfo(archive, mpq::SFILE_INFO_HASH_TABLE_SIZE);
    if (n > 1) {
        std::vector<mpq::FileListEntry> records(static_cast<std::size_t>(n) + 1);
        BuildFileLists(archive, path, records, config, ports.status);
        SlotProgress progress(ports, n);
        progress.Start();
        for (std::int64_t i = 0; i <= n; ++i) {
            const mpq::FileListEntry &record = records[static_cast<std::size_t>(i)];
            if (record.FileExists != 0) {
                const QByteArray bytes = QByteArray::fromStdString(record.StoredName);
                if (bytes.contains('\\')) AddFolderNodes(DecodeBytes(bytes), tree);
                totalSize += record.FullSize;
            }
            progress.Step(i);
        }
        progress.Finish();
        FillFolderList(path, QString(), config, ports);
    }
    mpq::SFileCloseArchive(archive);
    return true;
}

bool FillFolderList(const QString &path, const QString &folder, const AppConfig &config, ListingPorts &ports)
{
    if (path.isEmpty() || !IsFile(path)) return false;
    mpq::MpqHandle archive = nullptr;
    mpq::SFileOpenArchive(PathBytes(path).toStdString(), 0, 0, &archive);
    const std::int64_t n = mpq::SFileGetFileInfo(archive, mpq::SFILE_INFO_HASH_TABLE_SIZE);
    if (n > 1) {
        std::vector<mpq::FileListEntry> records(static_cast<std::size_t>(n) + 1);
        BuildFileLists(archive, path, records, config, ports.status);
        SlotProgress progress(ports, n);
        progress.Start();
        ports.rows.ClearRows();
        ports.rows.SetSorted(false);
        const QString folderKey = UpperKey(folder);
        const qsizetype length = folder.size();
        for (std::int64_t i = 0; i <= n; ++i) {
            const mpq::FileListEntry &record = records[static_cast<std::size_t>(i)];
            if (record.FileExists != 0) {
                const QByteArray bytes = QByteArray::fromStdString(record.StoredName);
                const QString name = DecodeBytes(bytes);
                // Files directly in the folder: those of its subfolders have
                // another "\" behind the folder's length.
                const bool inFolder = (length == 0 || UpperKey(name.left(length)) == folderKey) &&
                                      name.indexOf(QLatin1Char('\\'), length) < 0;
                if (inFolder) {
                    const QByteArray shown = ProbeUnknownEntry(archive, bytes, config.AutoDetectFile != 0);
                    ports.rows.AddRow(MakeListRow(record, shown));
                }
            }
            progress.Step(i);
        }
        ports.rows.SetSorted(true);
        progress.Finish();
    }
    mpq::SFileCloseArchive(archive);
    return true;
}
