// The archive list as the user handles it: rows dragged out as files,
// files and folders dropped in, a double click anywhere on it, the name
// edited in place.
#pragma once

#include <QMimeData>
#include <QTreeView>
#include <QUrl>

#include <functional>

// Data of a drag out that is made only when the place the rows are dropped
// on asks for it, and made anew each time it asks. It offers file URLs
// ("text/uri-list") and nothing else.
class DeferredUrlData : public QMimeData {
    Q_OBJECT
public:
    using Supplier = std::function<QList<QUrl>()>;
    explicit DeferredUrlData(Supplier supplier) : supplier_(std::move(supplier)) {}

    QStringList formats() const override;
    bool hasFormat(const QString &mimeType) const override;

protected:
    QVariant retrieveData(const QString &mimeType, QMetaType type) const override;

private:
    Supplier supplier_;
};

class ArchiveListView : public QTreeView {
    Q_OBJECT
public:
    explicit ArchiveListView(QWidget *parent = nullptr);

    // What the window does with drags; unset hooks take no drop and start
    // no drag.
    std::function<Qt::DropAction(const QMimeData *)> onDragOver;
    std::function<void(const QMimeData *)> onDragDrop;
    std::function<QMimeData *()> onStartDrag;

signals:
    // A double click on the list, on a row or beside the rows.
    void DblClick();

protected:
    void startDrag(Qt::DropActions supportedActions) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;

private:
    bool TakesDrop(QDropEvent *event) const;
};
