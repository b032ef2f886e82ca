#include "shell/archive_list_model.h"

#include <algorithm>

#include "config/catalogue.h"
#include "listing/row_order.h"
#include "base/text_encoding.h"

namespace {

const QString kUriList = QStringLiteral("text/uri-list");

}  // namespace

QStringList DeferredUrlData::formats() const { return {kUriList}; }

bool DeferredUrlData::hasFormat(const QString &mimeType) const { return mimeType == kUriList; }

QVariant DeferredUrlData::retrieveData(const QString &mimeType, QMetaType /*type*/) const
{
    if (mimeType != kUriList || !supplier_) return {};
    QVariantList urls;
    for (const QUrl &url : supplier_()) urls.append(url);
    return urls;
}

ArchiveListModel::ArchiveListModel(QObject *parent) : QAbstractTableModel(parent) {}

int ArchiveListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int ArchiveListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ListRow::ColumnCount + (variants_ ? 1 : 0);
}

bool ArchiveListModel::AnyVariant() const
{
    auto variant = [](const ListRow &row) { return row.Tag.contains('\0'); };
    return std::any_of(rows_.begin(), rows_.end(), variant) || std::any_of(pending_.begin(), pending_.end(), variant);
}

QVariant ArchiveListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const ListRow &row = Row(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
    case Qt::ToolTipRole:
        // Control characters of a name show as their marks; the row keeps
        // the name itself.
        if (index.column() <= ListRow::Ext) return MarkControls(ColumnText(row, index.column()));
        return ColumnText(row, index.column());
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
    case ListRow::Locale: return t.ColumnLocale;
    default: return {};
    }
}

Qt::ItemFlags ArchiveListModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (index.isValid()) flags |= Qt::ItemIsDragEnabled;
    else flags |= Qt::ItemIsDropEnabled;  // drops land on the list as a whole
    if (index.isValid() && index.column() == ListRow::Name) flags |= Qt::ItemIsEditable;
    return flags;
}

bool ArchiveListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || !index.isValid() || index.row() >= rowCount()) return false;
    // The marks the edit left alone stand for the controls of the name.
    const ListRow &row = Row(index.row());
    emit LabelEdited(index.row(), row.Tag, UnmarkEdit(row.text(), value.toString()));
    return false;
}

void ArchiveListModel::RemoveRows(std::vector<int> rows)
{
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    rows.erase(std::remove_if(rows.begin(), rows.end(), [this](int r) { return r < 0 || r >= rowCount(); }),
               rows.end());
    if (rows.empty()) return;
    // Runs of neighbouring rows, from the bottom up, so that the places above
    // stay valid. Many scattered runs are cheaper as one new fill.
    std::vector<std::pair<int, int>> runs;  // first, last
    for (int r : rows) {
        if (!runs.empty() && runs.back().second + 1 == r) runs.back().second = r;
        else runs.emplace_back(r, r);
    }
    constexpr std::size_t kMostRuns = 256;
    if (runs.size() <= kMostRuns) {
        for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
            beginRemoveRows({}, run->first, run->second);
            rows_.erase(rows_.begin() + run->first, rows_.begin() + run->second + 1);
            endRemoveRows();
        }
        return;
    }
    beginResetModel();
    std::vector<char> gone(rows_.size(), 0);
    for (int r : rows) gone[static_cast<std::size_t>(r)] = 1;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < rows_.size(); ++i)
        if (!gone[i]) rows_[kept++] = std::move(rows_[i]);
    rows_.resize(kept);
    endResetModel();
}

void ArchiveListModel::RenameRow(int row, const QByteArray &tag)
{
    if (row < 0 || row >= rowCount()) return;
    ListRow &r = rows_[static_cast<std::size_t>(row)];
    r.Tag = tag;
    emit dataChanged(index(row, ListRow::Name), index(row, ListRow::Ext));
}

void ArchiveListModel::SetSorted(bool sorted)
{
    sorted_ = sorted;
    if (!sorted_) return;
    beginResetModel();
    if (rows_.empty()) {
        rows_.swap(pending_);
    } else {
        rows_.reserve(rows_.size() + pending_.size());
        for (ListRow &row : pending_) rows_.push_back(std::move(row));
    }
    pending_ = {};
    SortRows(rows_, sortKey_, sortOrder_);
    variants_ = AnyVariant();
    endResetModel();
}

void ArchiveListModel::AddRow(ListRow row)
{
    if (!sorted_) {
        pending_.push_back(std::move(row));
        return;
    }
    // A row added to a sorted list takes its place in the order at once.
    if (!variants_ && row.Tag.contains('\0')) {
        beginInsertColumns({}, ListRow::Locale, ListRow::Locale);
        variants_ = true;
        endInsertColumns();
    }
    const int place = static_cast<int>(SortedPlace(rows_, row, sortKey_, sortOrder_));
    beginInsertRows({}, place, place);
    rows_.insert(rows_.begin() + place, std::move(row));
    endInsertRows();
}

void ArchiveListModel::Clear()
{
    beginResetModel();
    rows_ = {};
    pending_ = {};
    variants_ = false;
    endResetModel();
}

// The rows move, and the selection and the current row move with them.
void ArchiveListModel::Resort()
{
    if (!sorted_ || rows_.empty()) return;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const std::vector<std::size_t> from = SortRows(rows_, sortKey_, sortOrder_);
    std::vector<int> to(from.size());
    for (std::size_t i = 0; i < from.size(); ++i) to[from[i]] = static_cast<int>(i);
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex &index : before)
        after.append(index.isValid() && index.row() < rowCount()
                         ? this->index(to[static_cast<std::size_t>(index.row())], index.column())
                         : QModelIndex());
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void ArchiveListModel::sort(int column, Qt::SortOrder order)
{
    sortKey_ = column;
    sortOrder_ = order == Qt::DescendingOrder ? 1 : 0;
    Resort();
}

void ArchiveListModel::RefreshHeaders() { emit headerDataChanged(Qt::Horizontal, 0, ListRow::ColumnCount - 1); }

// ---------------------------------------------------------------------------
// Drag and drop

QStringList ArchiveListModel::mimeTypes() const { return {kUriList}; }

QMimeData *ArchiveListModel::mimeData(const QModelIndexList &indexes) const
{
    if (port_ == nullptr) return nullptr;
    // The rows once each, in the order the list shows them.
    std::vector<int> rows;
    for (const QModelIndex &index : indexes)
        if (index.isValid() && index.row() < rowCount()) rows.push_back(index.row());
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    QList<QByteArray> tags;
    for (int row : rows) tags.append(Row(row).Tag);
    ListTransferPort *port = port_;
    return new DeferredUrlData(this, [port, tags] {
        QList<QUrl> urls;
        for (const QString &path : StageDragOut(port->TransferArchive(), tags, port->TransferScratchFolder(),
                                                port->TransferStatus(), port->TransferEvents()))
            urls.append(QUrl::fromLocalFile(path));
        return urls;
    });
}

bool ArchiveListModel::canDropMimeData(const QMimeData *data, Qt::DropAction /*action*/, int /*row*/,
                                       int /*column*/, const QModelIndex & /*parent*/) const
{
    // A drop of the list onto itself would extract the rows only to add
    // them back. Only the format is looked at: the data of a drag out is
    // made when it is read.
    const auto *own = qobject_cast<const DeferredUrlData *>(data);
    return port_ != nullptr && data != nullptr && data->hasUrls() && !(own && own->Origin() == this) &&
           !port_->TransferArchive().isEmpty();
}

bool ArchiveListModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                    const QModelIndex &parent)
{
    if (!canDropMimeData(data, action, row, column, parent)) return false;
    QStringList paths;
    for (const QUrl &url : data->urls())
        if (url.isLocalFile()) paths.append(url.toLocalFile());
    if (!paths.isEmpty()) port_->AddDroppedFiles(BuildDropBatch(paths));
    return true;
}
