// What a command reports, and where to: the faces implement these over their
// widgets or over the terminal.
#pragma once

#include <QString>

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
