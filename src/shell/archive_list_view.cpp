#include "shell/archive_list_view.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QMouseEvent>

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

ArchiveListView::ArchiveListView(QWidget *parent) : QTreeView(parent)
{
    setDragEnabled(true);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDropIndicatorShown(false);
}

void ArchiveListView::startDrag(Qt::DropActions /*supportedActions*/)
{
    if (!onStartDrag) return;
    QMimeData *offered = onStartDrag();
    if (offered == nullptr) return;
    auto *drag = new QDrag(this);
    drag->setMimeData(offered);
    drag->exec(Qt::CopyAction, Qt::CopyAction);
}

// A drop from the list onto itself would extract the rows only to add them
// back: the list takes drops from elsewhere only.
bool ArchiveListView::TakesDrop(QDropEvent *event) const
{
    return event->source() != this && onDragOver && onDragOver(event->mimeData()) != Qt::IgnoreAction;
}

// An enter is a move as well: both ask whether the list takes the drop.
void ArchiveListView::dragEnterEvent(QDragEnterEvent *event) { dragMoveEvent(event); }

void ArchiveListView::dragMoveEvent(QDragMoveEvent *event)
{
    if (!TakesDrop(event)) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void ArchiveListView::dragLeaveEvent(QDragLeaveEvent *event) { event->accept(); }

void ArchiveListView::dropEvent(QDropEvent *event)
{
    if (!TakesDrop(event)) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (onDragDrop) onDragDrop(event->mimeData());
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
