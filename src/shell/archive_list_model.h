// The rows of the archive list as a table model, so that lists of a hundred
// thousand rows fill and sort at once.
#pragma once

#include <QAbstractTableModel>

#include <vector>

#include "listing/list_row.h"
#include "listing/reporting.h"

class ArchiveListModel : public QAbstractTableModel, public RowSink {
    Q_OBJECT
public:
    explicit ArchiveListModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // Texts show the control characters of names as marks (MarkControls).
    // The name can be edited in place, marks included. An edit changes
    // nothing by itself: it is announced by LabelEdited, with the marks it
    // left alone turned back into the controls they show, and RenameRow
    // carries it out.
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;

    // RowSink: while Sorted is off, rows wait and show at the switch.
    void SetSorted(bool sorted) override;
    void AddRow(ListRow row) override;
    void ClearRows() override { Clear(); }

    void Clear();
    void SetSortKey(int key);
    void SetSortOrder(int order);
    int SortKey() const { return sortKey_; }
    int SortOrder() const { return sortOrder_; }
    bool Sorted() const { return sorted_; }

    const ListRow &Row(int index) const { return rows_[static_cast<std::size_t>(index)]; }
    // Removes the rows at these places (any order); the others keep theirs.
    void RemoveRows(std::vector<int> rows);
    // The row's name and Tag become the new ones; the other columns stay.
    void RenameRow(int row, const QString &text, const QByteArray &tag);
    // Column headers come from the texts in force.
    void RefreshHeaders();

signals:
    // The in-place edit of a row's name ended with `text`; `tag` is the
    // row's Tag at that moment.
    void LabelEdited(int row, const QByteArray &tag, const QString &text);

private:
    void Resort();

    std::vector<ListRow> rows_;
    std::vector<ListRow> pending_;
    bool sorted_ = true;
    int sortKey_ = 0;
    int sortOrder_ = 0;
};
