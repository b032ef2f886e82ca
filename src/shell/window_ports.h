// The main window's side of what the core reports to: the status bar with
// its text panel and the progress bar over its second panel, the event
// queue, and the folder tree as a session fills it.
#pragma once

#include <QElapsedTimer>

#include "listing/reporting.h"
#include "session/archive_session.h"

class FolderTreeWidget;
class QLabel;
class QProgressBar;
class QStatusBar;
class QWidget;

class StatusReport : public StatusPanel, public ProgressBar, public EventQueue {
public:
    // The status bar and the progress bar, children of `client`; the layout
    // places them. Panel 1 is at least `panel1MinWidth` pixels wide, panel 2
    // `panel2Width`.
    StatusReport(QWidget *client, int panel1MinWidth, int panel2Width);

    QStatusBar *Bar() const { return bar_; }
    QProgressBar *Progress() const { return progress_; }

    // The text of panel 1, control characters shown as their marks.
    void SetStatusText(const QString &text) override;
    void SetProgressMax(int max) override;
    void SetProgressValue(int value) override;
    void SetProgressVisible(bool visible) override;
    // A turn of the application's queue: repaints and timers, no input;
    // also while the engine reads in its child, so the window keeps painting.
    void Yield() override;
    void Wait() override { Yield(); }

private:
    QStatusBar *bar_ = nullptr;
    QLabel *panel1_ = nullptr;
    QProgressBar *progress_ = nullptr;
    QElapsedTimer painted_;  // since the panel was last painted at once
};

// The folder tree widget as the session's tree.
class TreePort : public SessionTree {
public:
    explicit TreePort(FolderTreeWidget *tree) : tree_(tree) {}
    void AddRootNode(const QString &key, const QString &text) override;
    void AddFolderNode(const QString &parentKey, const QString &key, const QString &text) override;
    bool NodeExists(const QString &key) const override;
    void ClearNodes() override;

private:
    FolderTreeWidget *tree_;
};
