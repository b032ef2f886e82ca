#include "shell/archive_list_model.h"

#include "config/catalogue.h"
#include "listing/row_order.h"

ArchiveListModel::ArchiveListModel(QObject *parent) : QAbstractTableModel(parent) {}

int ArchiveListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int ArchiveListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ListRow::ColumnCount;
}

QVariant ArchiveListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const ListRow &row = Row(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return row.columns[static_cast<std::size_t>(index.column())];
    case Qt::TextAlignmentRole:
        if (index.column() >= ListRow::Size && index.column() <= ListRow::Ratio)
            return int(Qt::AlignRight | Qt::AlignVCenter);
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::UserRole:
        return row.Tag;
    default:
        return {};
    }
}

QVariant ArchiveListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    const MessageStrings &t = Texts();
    switch (section) {
    case ListRow::Name: return t.ColumnName;
    case ListRow::Ext: return t.ColumnExt;
    case ListRow::Size: return t.ColumnSize;
    case ListRow::Compressed: return t.ColumnCompressed;
    case ListRow::Ratio: return t.ColumnRatio;
    case ListRow::Attribute: return t.ColumnAttribute;
    default: return {};
    }
}

void ArchiveListModel::SetSorted(bool sorted)
{
    sorted_ = sorted;
    if (!sorted_) return;
    beginResetModel();
    for (ListRow &row : pending_) rows_.push_back(std::move(row));
    pending_.clear();
    SortRows(rows_, sortKey_, sortOrder_);
    endResetModel();
}

void ArchiveListModel::AddRow(ListRow row)
{
    if (!sorted_) {
        pending_.push_back(std::move(row));
        return;
    }
    // A row added to a sorted list takes its place in the order at once.
    pending_.push_back(std::move(row));
    SetSorted(true);
}

void ArchiveListModel::Clear()
{
    beginResetModel();
    rows_.clear();
    pending_.clear();
    endResetModel();
}

void ArchiveListModel::Resort()
{
    if (!sorted_) return;
    beginResetModel();
    SortRows(rows_, sortKey_, sortOrder_);
    endResetModel();
}

void ArchiveListModel::SetSortKey(int key)
{
    sortKey_ = key;
    Resort();
}

void ArchiveListModel::SetSortOrder(int order)
{
    sortOrder_ = order;
    Resort();
}

void ArchiveListModel::RefreshHeaders() { emit headerDataChanged(Qt::Horizontal, 0, ListRow::ColumnCount - 1); }
