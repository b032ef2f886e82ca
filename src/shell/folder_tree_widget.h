// The folder tree of the Explorer style: a tree of keyed nodes.
#pragma once

#include <QHash>
#include <QIcon>
#include <QTreeWidget>

#include "listing/reporting.h"

class FolderTreeWidget : public QTreeWidget, public FolderTree {
    Q_OBJECT
public:
    explicit FolderTreeWidget(QWidget *parent = nullptr);

    // FolderTree. The root shows the "mpqfile" picture; a folder the closed
    // folder, and the open one while it is selected.
    void AddRootNode(const QString &key, const QString &text) override;
    void AddFolderNode(const QString &parentKey, const QString &key, const QString &text) override;
    bool NodeExists(const QString &key) const override;

    void ClearNodes();
    QTreeWidgetItem *Node(const QString &key) const { return nodes_.value(key); }
    static QString Key(const QTreeWidgetItem *node);
    // The node the user works on: the selected one, or nullptr.
    QTreeWidgetItem *SelectedNode() const;

signals:
    // A node was clicked, or reached with the keyboard.
    void NodeClick(QTreeWidgetItem *node);
    // A mouse button went up over the tree; `button` 1 left, 2 right, 4 middle.
    void MouseUp(int button, int shift, QPoint position);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QHash<QString, QTreeWidgetItem *> nodes_;
    QTreeWidgetItem *root_ = nullptr;
    QIcon archiveIcon_;
    QIcon folderIcon_;
};
