// The archive list as the user handles it: rows dragged out as files and
// files and folders dropped in (both carried by the model), a double click
// anywhere on it, the name edited in place. Its columns open wide enough for
// what they show, and the first one takes the room the list gains.
#pragma once

#include <QTreeView>

#include <vector>

class ArchiveListView : public QTreeView {
    Q_OBJECT
public:
    explicit ArchiveListView(QWidget *parent = nullptr);

    void setModel(QAbstractItemModel *model) override;

    // The least width of each column, in pixels; the columns are fitted anew.
    void SetLeastWidths(std::vector<int> widths);
    // Each column the user has not dragged becomes as wide as the widest of
    // its least width, its header and its values in the first rows; then the
    // first column takes what is left of the list's width. Runs whenever the
    // model is filled anew or its headers change.
    void FitColumns();

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
    bool viewportEvent(QEvent *event) override;

private:
    // The width of `column` its values in the first rows need.
    int ContentWidth(int column) const;
    // The first column, unless dragged, widened to the list's right edge, and
    // never below its fitted width.
    void StretchFirstColumn();
    void SetWidth(int column, int width);

    std::vector<int> least_, fitted_;
    std::vector<bool> dragged_;  // widths the user chose, kept from then on
    bool placing_ = false;       // a width set here, not by the user
};
