#include "shell/archive_list_view.h"

#include <QDragEnterEvent>
#include <QHeaderView>
#include <QMouseEvent>

#include <algorithm>

namespace {

// How many rows, from the first, a column's width is taken from.
constexpr int kFittedRows = 200;

}  // namespace

ArchiveListView::ArchiveListView(QWidget *parent) : QTreeView(parent)
{
    setDragEnabled(true);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::CopyAction);
    setDropIndicatorShown(false);
    connect(header(), &QHeaderView::sectionResized, this, [this](int column, int, int) {
        if (!placing_ && column < static_cast<int>(dragged_.size())) dragged_[static_cast<std::size_t>(column)] = true;
    });
}

void ArchiveListView::setModel(QAbstractItemModel *model)
{
    QTreeView::setModel(model);
    if (model == nullptr) return;
    connect(model, &QAbstractItemModel::modelReset, this, &ArchiveListView::FitColumns);
    connect(model, &QAbstractItemModel::headerDataChanged, this, &ArchiveListView::FitColumns);
    connect(model, &QAbstractItemModel::columnsInserted, this, &ArchiveListView::FitColumns);
}

void ArchiveListView::SetLeastWidths(std::vector<int> widths)
{
    least_ = std::move(widths);
    fitted_.assign(least_.size(), 0);
    dragged_.assign(least_.size(), false);
    FitColumns();
}

void ArchiveListView::SetWidth(int column, int width)
{
    if (columnWidth(column) == width) return;
    placing_ = true;
    setColumnWidth(column, width);
    placing_ = false;
}

int ArchiveListView::ContentWidth(int column) const
{
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    const int rows = std::min(model()->rowCount(rootIndex()), kFittedRows);
    int width = 0;
    for (int row = 0; row < rows; ++row) {
        const QModelIndex index = model()->index(row, column, rootIndex());
        width = std::max(width, itemDelegateForIndex(index)->sizeHint(option, index).width());
    }
    return width;
}

void ArchiveListView::FitColumns()
{
    if (model() == nullptr) return;
    const int columns = model()->columnCount(rootIndex());
    // A column the model shows only at times (the locale of variants) fits
    // its texts, from no least width.
    fitted_.resize(std::max<std::size_t>(fitted_.size(), static_cast<std::size_t>(columns)), 0);
    dragged_.resize(fitted_.size(), false);
    for (int column = 0; column < columns; ++column) {
        const auto c = static_cast<std::size_t>(column);
        const int least = c < least_.size() ? least_[c] : 0;
        fitted_[c] = std::max({least, header()->sectionSizeHint(column), ContentWidth(column)});
        if (!dragged_[c]) SetWidth(column, fitted_[c]);
    }
    StretchFirstColumn();
}

void ArchiveListView::StretchFirstColumn()
{
    if (fitted_.empty() || dragged_[0]) return;
    int others = 0;
    const int columns = model() != nullptr ? model()->columnCount(rootIndex()) : 0;
    for (int column = 1; column < columns; ++column) others += columnWidth(column);
    SetWidth(0, std::max(fitted_[0], viewport()->width() - others));
}

bool ArchiveListView::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::Resize) StretchFirstColumn();
    return QTreeView::viewportEvent(event);
}

void ArchiveListView::dragEnterEvent(QDragEnterEvent *event)
{
    if (model() == nullptr || !model()->canDropMimeData(event->mimeData(), Qt::CopyAction, -1, -1, rootIndex())) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    QTreeView::dragEnterEvent(event);
    event->setDropAction(Qt::CopyAction);
}

void ArchiveListView::dragMoveEvent(QDragMoveEvent *event)
{
    event->setDropAction(Qt::CopyAction);
    QTreeView::dragMoveEvent(event);
    event->setDropAction(Qt::CopyAction);
}

void ArchiveListView::dropEvent(QDropEvent *event)
{
    event->setDropAction(Qt::CopyAction);
    QTreeView::dropEvent(event);
    event->setDropAction(Qt::CopyAction);
}

void ArchiveListView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        event->accept();
        emit DblClick();
        return;
    }
    QTreeView::mouseDoubleClickEvent(event);
}
