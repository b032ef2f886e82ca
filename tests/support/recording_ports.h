// Ports that remember what a listing reported, for tests.
#pragma once

#include <QList>
#include <QSet>
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

// A folder tree that remembers its nodes in the order they were added.
struct RecordingTree : FolderTree {
    struct Node {
        QString parentKey;  // "<root>" for the root node, empty for a folder under the root
        QString key;
        QString text;
        friend bool operator==(const Node &, const Node &) = default;
    };
    QList<Node> nodes;
    QSet<QString> keys;

    void AddRootNode(const QString &key, const QString &text) override
    {
        nodes.append({QStringLiteral("<root>"), key, text});
        keys.insert(key);
    }
    void AddFolderNode(const QString &parentKey, const QString &key, const QString &text) override
    {
        nodes.append({parentKey, key, text});
        keys.insert(key);
    }
    bool NodeExists(const QString &key) const override { return keys.contains(key); }
};
