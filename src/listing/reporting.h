// What a listing or a command reports, and where to: the faces implement
// these over their widgets or over the terminal.
#pragma once

#include <QString>

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
    virtual void AddRow(ListRow row) = 0;
};

// Everything a listing reports to.
struct ListingPorts {
    StatusPanel &status;
    ProgressBar &progress;
    RowSink &rows;
};
