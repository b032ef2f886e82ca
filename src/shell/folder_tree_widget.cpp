#include "shell/folder_tree_widget.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyle>

#include "base/text_encoding.h"
#include "shell/frm_main_icons.h"

namespace {

constexpr int kKeyRole = Qt::UserRole;

}  // namespace

FolderTreeWidget::FolderTreeWidget(QWidget *parent) : QTreeWidget(parent)
{
    setColumnCount(1);
    header()->hide();
    setIconSize(QSize(16, 16));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setUniformRowHeights(true);
    archiveIcon_ = TreeIcon(QStringLiteral("mpqfile"));
    // "close" normally, "open" while selected.
    folderIcon_ = TreeIcon(QStringLiteral("close"));
    for (const QSize &size : TreeIcon(QStringLiteral("open")).availableSizes())
        folderIcon_.addPixmap(TreeIcon(QStringLiteral("open")).pixmap(size), QIcon::Selected);
    connect(this, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem *item, int) {
        if (item) emit NodeClick(item);
    });
}

void FolderTreeWidget::AddRootNode(const QString &key, const QString &text)
{
    auto *item = new QTreeWidgetItem(QStringList{MarkControls(text)});
    item->setData(0, kKeyRole, key);
    item->setIcon(0, archiveIcon_);
    addTopLevelItem(item);
    item->setExpanded(true);
    nodes_.insert(key, item);
    root_ = item;
}

void FolderTreeWidget::AddFolderNode(const QString &parentKey, const QString &key, const QString &text)
{
    QTreeWidgetItem *parent = parentKey.isEmpty() ? root_ : nodes_.value(parentKey);
    if (!parent || nodes_.contains(key)) return;
    auto *item = new QTreeWidgetItem(parent, QStringList{MarkControls(text)});
    item->setData(0, kKeyRole, key);
    item->setIcon(0, folderIcon_);
    nodes_.insert(key, item);
}

bool FolderTreeWidget::NodeExists(const QString &key) const { return nodes_.contains(key); }

void FolderTreeWidget::ClearNodes()
{
    clear();
    nodes_.clear();
    root_ = nullptr;
}

QString FolderTreeWidget::Key(const QTreeWidgetItem *node)
{
    return node ? node->data(0, kKeyRole).toString() : QString();
}

QTreeWidgetItem *FolderTreeWidget::SelectedNode() const
{
    const QList<QTreeWidgetItem *> selected = selectedItems();
    return selected.isEmpty() ? nullptr : selected.first();
}

void FolderTreeWidget::mousePressEvent(QMouseEvent *event)
{
    // A right click asks for the popup of the selected node; it does not
    // select the node under the pointer.
    if (event->button() == Qt::RightButton) {
        event->accept();
        return;
    }
    QTreeWidget::mousePressEvent(event);
}

void FolderTreeWidget::mouseReleaseEvent(QMouseEvent *event)
{
    QTreeWidget::mouseReleaseEvent(event);
    const int button = event->button() == Qt::LeftButton    ? 1
                       : event->button() == Qt::RightButton ? 2
                       : event->button() == Qt::MiddleButton ? 4
                                                             : 0;
    int shift = 0;
    if (event->modifiers() & Qt::ShiftModifier) shift |= 1;
    if (event->modifiers() & Qt::ControlModifier) shift |= 2;
    if (event->modifiers() & Qt::AltModifier) shift |= 4;
    emit MouseUp(button, shift, event->position().toPoint());
}

void FolderTreeWidget::keyPressEvent(QKeyEvent *event)
{
    QTreeWidgetItem *before = currentItem();
    QTreeWidget::keyPressEvent(event);
    QTreeWidgetItem *after = currentItem();
    if (after && after != before) emit NodeClick(after);
}
