// The rows of the archive list as a table model, so that lists of a hundred
// thousand rows fill and sort at once. The model also carries the list's
// drags out (the stored files of the rows) and drops in (disk files).
#pragma once

#include <QAbstractTableModel>
#include <QMimeData>
#include <QPointer>
#include <QUrl>

#include <functional>
#include <vector>

#include "editing/drag_drop.h"
#include "listing/list_row.h"
#include "listing/reporting.h"

// What the list's drags and drops need of the window.
class ListTransferPort {
public:
    virtual ~ListTransferPort() = default;
    // The open archive; empty when none is open, and the list takes no drop.
    virtual QString TransferArchive() const = 0;
    // The scratch folder that a drag out is extracted into.
    virtual QString TransferScratchFolder() const = 0;
    virtual StatusPanel &TransferStatus() = 0;
    virtual EventQueue &TransferEvents() = 0;
    // Adds the files of a drop to the open archive and shows the result.
    virtual void AddDroppedFiles(const DropBatch &batch) = 0;
};

// Data of a drag out that is made only when the place the rows are dropped
// on asks for it, and made anew each time it asks. It offers file URLs
// ("text/uri-list") and nothing else.
class DeferredUrlData : public QMimeData {
    Q_OBJECT
public:
    using Supplier = std::function<QList<QUrl>()>;
    DeferredUrlData(const QObject *origin, Supplier supplier) : origin_(origin), supplier_(std::move(supplier)) {}

    QStringList formats() const override;
    bool hasFormat(const QString &mimeType) const override;
    // The model whose rows are dragged.
    const QObject *Origin() const { return origin_; }

protected:
    QVariant retrieveData(const QString &mimeType, QMetaType type) const override;

private:
    const QObject *origin_;
    Supplier supplier_;
};

class ArchiveListModel : public QAbstractTableModel, public RowSink {
    Q_OBJECT
public:
    explicit ArchiveListModel(QObject *parent = nullptr);

    // Where drags and drops go; without one the list starts no drag and
    // takes no drop.
    void SetTransferPort(ListTransferPort *port) { port_ = port; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    // The texts are made when asked for, in the user's locale (ColumnText).
    // Names show their control characters as marks (MarkControls).
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // The name can be edited in place, marks included. An edit changes
    // nothing by itself: it is announced by LabelEdited, with the marks it
    // left alone turned back into the controls they show, and RenameRow
    // carries it out.
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;

    // By the text of a column (SortRows); the selection and the current row
    // move with their rows. The order stays in force for rows added later.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
    // Whether the Locale column is shown: some row is a locale variant.
    bool ShowsLocales() const { return variants_; }
    int SortKey() const { return sortKey_; }
    int SortOrder() const { return sortOrder_; }  // 1: descending

    // Drags copy the rows' stored files out through the scratch folder; a
    // drop of disk files adds them to the open archive. A drag of the list
    // onto itself is no drop.
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;
    Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }
    Qt::DropActions supportedDropActions() const override { return Qt::CopyAction; }

    // RowSink: while Sorted is off, rows wait and show, sorted, at the
    // switch; a row added while it is on goes straight to its place.
    void SetSorted(bool sorted) override;
    void ReserveRows(std::size_t count) override { pending_.reserve(pending_.size() + count); }
    void AddRow(ListRow row) override;
    void ClearRows() override { Clear(); }

    void Clear();
    const ListRow &Row(int index) const { return rows_[static_cast<std::size_t>(index)]; }
    // Removes the rows at these places (any order); the others keep theirs.
    void RemoveRows(std::vector<int> rows);
    // The row's stored name becomes `tag`.
    void RenameRow(int row, const QByteArray &tag);
    // Column headers come from the texts in force.
    void RefreshHeaders();

signals:
    // The in-place edit of a row's name ended with `text`; `tag` is the
    // row's Tag at that moment.
    void LabelEdited(int row, const QByteArray &tag, const QString &text);

private:
    void Resort();

    std::vector<ListRow> rows_;
    std::vector<ListRow> pending_;
    bool sorted_ = true;
    bool variants_ = false;  // the rows hold a locale variant: the Locale column is there
    bool AnyVariant() const;
    int sortKey_ = 0;
    int sortOrder_ = 0;
    ListTransferPort *port_ = nullptr;
};
