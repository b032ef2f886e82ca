#include "shell/archive_list_view.h"

#include <QDragEnterEvent>
#include <QMouseEvent>

ArchiveListView::ArchiveListView(QWidget *parent) : QTreeView(parent)
{
    setDragEnabled(true);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::CopyAction);
    setDropIndicatorShown(false);
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
