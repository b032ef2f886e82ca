#include "session/archive_session.h"

#include <QFile>

#include "config/listing_setup.h"
#include "base/paths.h"
#include "listing/classic_listing.h"
#include "listing/explorer_listing.h"

namespace {

constexpr const char *kTitle = "Arcavera";

}  // namespace

QString ArchiveSession::Title() const
{
    if (!IsOpen()) return QString::fromLatin1(kTitle);
    return QString::fromLatin1(kTitle) + QStringLiteral(" - ") + FileName;
}

void ArchiveSession::Close(SessionPorts ports)
{
    FileName.clear();
    Folders.Clear();
    ports.tree.ClearNodes();
    ports.rows.ClearRows();
}

bool ArchiveSession::Open(const QString &path, const AppConfig &config, SessionPorts ports)
{
    Close(ports);
    FileName = path;
    if (!List(config, ports)) {
        FileName.clear();
        return false;
    }
    AddRecent(RecentFiles, FileName);
    return true;
}

bool ArchiveSession::CreateEmpty(const QString &path, SessionPorts ports)
{
    if (IsFile(path)) QFile::remove(path);
    QFile empty(path);
    if (!empty.open(QIODevice::WriteOnly | QIODevice::NewOnly)) return false;
    empty.close();

    FileName = path;
    AddRecent(RecentFiles, FileName);
    Folders.Clear();
    ports.rows.ClearRows();
    ports.tree.ClearNodes();
    TotalSize = 0;
    ports.tree.AddRootNode(UpperKey(FileName), FileName);
    return true;
}

bool ArchiveSession::Refresh(const AppConfig &config, SessionPorts ports)
{
    ports.rows.ClearRows();
    ports.tree.ClearNodes();
    return List(config, ports);
}

bool ArchiveSession::List(const AppConfig &config, SessionPorts ports)
{
    ListingPorts listing = ports.Listing();
    Folders.Clear();
    if (ExplorerStyle)
        return LoadArchiveExplorer(FileName, ListingOptionsOf(config), listing, ports.tree, Folders, TotalSize);
    return LoadArchiveClassic(FileName, ListingOptionsOf(config), listing, TotalSize);
}

void AddRecent(QStringList &recentFiles, const QString &path)
{
    while (recentFiles.size() < 4) recentFiles.append(QString());
    for (int i = 0; i < 4; ++i) {
        if (recentFiles[i] == path) {
            for (int j = i; j < 3; ++j) recentFiles[j] = recentFiles[j + 1];  // entry 4 keeps its text
        }
    }
    for (int i = 3; i > 0; --i) recentFiles[i] = recentFiles[i - 1];
    recentFiles[0] = path;
}
