// The scratch folder of one window: a folder of its own below the user's
// scratch folder, locked for as long as the window lives, so that no other
// window ever empties it. A folder whose window is gone (it crashed or was
// killed) holds no lock any more and goes when the next window starts.
#pragma once

#include <QString>

class WindowScratch {
public:
    // Claims a new folder below `userFolder`, which is made (for this user
    // only) when missing; the folders of windows that are gone are removed
    // first. Path() is empty when no folder could be claimed.
    explicit WindowScratch(const QString &userFolder);
    // Release().
    ~WindowScratch();
    WindowScratch(const WindowScratch &) = delete;
    WindowScratch &operator=(const WindowScratch &) = delete;

    QString Path() const { return path_; }
    // Where rows dragged out of the list are staged: emptied at each drag.
    QString DragFolder() const;
    // Where stored files opened in the desktop's programs are copied: kept
    // while the window lives, so that a save there can go back.
    QString OpenFolder() const;

    // Removes the window's folder and all below it, then the user's folder
    // when no other window uses it. Later calls do nothing.
    void Release();

private:
    QString userFolder_;
    QString path_;
    int lock_ = -1;
};
