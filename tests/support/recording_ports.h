// Ports that remember what a listing reported, for tests.
#pragma once

#include <QStringList>

#include <vector>

#include "listing/reporting.h"

struct RecordingPorts : StatusPanel, ProgressBar, RowSink {
    QStringList statusTexts;
    int progressMax = -1;
    std::vector<int> progressValues;
    std::vector<bool> progressVisible;
    std::vector<bool> sortedSwitches;
    std::vector<ListRow> rows;
    std::vector<bool> rowAddedWhileSorted;
    bool sorted = true;

    void SetStatusText(const QString &text) override { statusTexts.append(text); }
    void SetProgressMax(int max) override { progressMax = max; }
    void SetProgressValue(int value) override { progressValues.push_back(value); }
    void SetProgressVisible(bool visible) override { progressVisible.push_back(visible); }
    void SetSorted(bool on) override { sorted = on; sortedSwitches.push_back(on); }
    void AddRow(ListRow row) override
    {
        rowAddedWhileSorted.push_back(sorted);
        rows.push_back(std::move(row));
    }
    int clears = 0;
    void ClearRows() override
    {
        ++clears;
        rows.clear();
        rowAddedWhileSorted.clear();
    }
    ListingPorts ports() { return ListingPorts{*this, *this, *this}; }
    const ListRow *row(const QString &name) const
    {
        for (const ListRow &r : rows)
            if (r.text() == name) return &r;
        return nullptr;
    }
};
