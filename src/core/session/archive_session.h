// The archive the main window shows, and what lasts between its commands:
// which archive is open, the recent list, the title, and the one sequence
// that opens, makes, closes and lists an archive again.
#pragma once

#include <QString>
#include <QStringList>

#include "listing/explorer_listing.h"
#include "listing/reporting.h"

struct AppConfig;

// The folder tree of the Explorer style as a session sees it: filled by the
// listing, emptied when the archive closes or is listed anew.
class SessionTree : public FolderTree {
public:
    virtual void ClearNodes() = 0;
};

// Where a session shows its archive.
struct SessionPorts {
    StatusPanel &status;
    ProgressBar &progress;
    RowSink &rows;
    SessionTree &tree;
    EventQueue *events = nullptr;  // a turn now and then while an archive is read

    ListingPorts Listing() const { return ListingPorts{status, progress, rows, events}; }
};

struct ArchiveSession {
    QString FileName;                  // full path of the archive; empty when none is open
    qint64 TotalSize = 0;              // sum of the sizes of the listed files
    QString FindText;                  // last text searched for
    QStringList RecentFiles{4};        // recent paths, newest first; empty when unused
    bool ExplorerStyle = false;        // the folder tree is shown beside the list
    QString TempPath;                  // scratch folder
    FolderIndex Folders;               // Explorer style: the rows of each folder, as last listed

    bool IsOpen() const { return !FileName.isEmpty(); }
    // "Arcavera", and " - " with the path while an archive is open.
    QString Title() const;

    // No archive open: the rows and the tree are emptied.
    void Close(SessionPorts ports);
    // Closes, then lists the archive at `path` in the style in force. When
    // it lists, it is the open archive and goes to the top of the recent
    // list. Otherwise (no path, a folder, no such file) the session stays
    // closed and the recent list stays as it was, a path that is gone
    // included.
    bool Open(const QString &path, const AppConfig &config, SessionPorts ports);
    // A new archive: an empty file at `path`, in place of one that is there,
    // becomes the open archive and tops the recent list; the rows are
    // emptied and the tree holds the archive's root alone. False when the
    // file cannot be made: the session is as it was.
    bool CreateEmpty(const QString &path, SessionPorts ports);
    // Empties the rows and the tree and lists the open archive again; false
    // when there is nothing to list.
    bool Refresh(const AppConfig &config, SessionPorts ports);
    // Lists the open archive in the style in force, emptying nothing.
    bool List(const AppConfig &config, SessionPorts ports);
};

// Puts `path` at the top of the four recent entries: a path already listed
// (case matters) moves up, the oldest falls out.
void AddRecent(QStringList &recentFiles, const QString &path);
