// What a listing or a command reports, and where to: the faces implement
// these over their widgets or over the terminal.
#pragma once

#include <QString>

#include <vector>

#include "listing/list_row.h"

class StatusPanel {
public:
    virtual ~StatusPanel() = default;
    virtual void SetStatusText(const QString &text) = 0;
};

class ProgressBar {
public:
    virtual ~ProgressBar() = default;
    virtual void SetProgressMax(int max) = 0;
    virtual void SetProgressValue(int value) = 0;
    virtual void SetProgressVisible(bool visible) = 0;
};

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

class EventQueue;

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

// A turn of the event queue, between the files of a batch, so the window
// stays alive while files move in or out.
class EventQueue {
public:
    virtual ~EventQueue() = default;
    // The batch ahead takes `turns` turns, a Yield each: a face may show how
    // far it has come.
    virtual void BeginBatch(int turns) { (void)turns; }
    // A turn: one step of the batch done.
    virtual void Yield() = 0;
    // A turn of the queue within a long step, the batch no further.
    virtual void Wait() {}
    // Whether the user asked, during the last turns, for the batch to stop.
    virtual bool Cancelled() { return false; }
};

// An event queue that has nothing to do: for faces without a window.
class NoEvents : public EventQueue {
public:
    void Yield() override {}
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
