// The archive list as the user handles it: rows dragged out as files and
// files and folders dropped in (both carried by the model), a double click
// anywhere on it, the name edited in place.
#pragma once

#include <QTreeView>

class ArchiveListView : public QTreeView {
    Q_OBJECT
public:
    explicit ArchiveListView(QWidget *parent = nullptr);

signals:
    // A double click on the list, on a row or beside the rows.
    void DblClick();

protected:
    // A drop on the list copies, whatever the source proposes: a file
    // manager that saw a move could remove the user's file. A drag that the
    // model does not take goes on to the window.
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
};
