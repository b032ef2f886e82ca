// What a listing reports to, beside the status, progress and event queue
// every command reports to (base/reporting.h).
#pragma once

#include <QString>

#include <vector>

#include "base/reporting.h"
#include "listing/list_row.h"

// The rows of the list. While Sorted is off, rows are taken in the order
// they come; switching it on orders them by the sort column in force.
class RowSink {
public:
    virtual ~RowSink() = default;
    virtual void SetSorted(bool sorted) = 0;
    // Room for `count` more rows, before they come.
    virtual void ReserveRows(std::size_t count) { (void)count; }
    virtual void AddRow(ListRow row) = 0;
    virtual void ClearRows() = 0;
};

// Everything a listing reports to; `events`, when given, has a turn now and
// then while the engine reads (Wait), so that a window keeps painting.
struct ListingPorts {
    StatusPanel &status;
    ProgressBar &progress;
    RowSink &rows;
    EventQueue *events = nullptr;
};

// The folder tree of the Explorer style. Keys are upper-cased: the root's is
// the archive's path, a folder's its path inside the archive with the
// closing "\".
class FolderTree {
public:
    virtual ~FolderTree() = default;
    // The one root node, shown expanded.
    virtual void AddRootNode(const QString &key, const QString &text) = 0;
    // A folder node below `parentKey`; an empty parent key is the root.
    virtual void AddFolderNode(const QString &parentKey, const QString &key, const QString &text) = 0;
    virtual bool NodeExists(const QString &key) const = 0;
};

// A listing that reports nothing, for callers to whom only the rows matter
// (a script, the fuzzing target).
struct CollectingPorts : StatusPanel, ProgressBar, RowSink {
    std::vector<ListRow> rows;
    void SetStatusText(const QString &) override {}
    void SetProgressMax(int) override {}
    void SetProgressValue(int) override {}
    void SetProgressVisible(bool) override {}
    void SetSorted(bool) override {}
    void ReserveRows(std::size_t count) override { rows.reserve(rows.size() + count); }
    void AddRow(ListRow row) override { rows.push_back(std::move(row)); }
    void ClearRows() override { rows.clear(); }
};
