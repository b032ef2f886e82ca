// The archive list's model: texts made when shown, the sort, and drags and
// drops through the window's port.
#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "shell/archive_list_model.h"
#include "support/archive_factory.h"

using namespace fixtures;

namespace {

ListRow Row(const QByteArray &tag, quint32 full = 0, quint32 compressed = 0, quint32 flags = 0)
{
    return ListRow{tag, full, compressed, flags};
}

struct Port : ListTransferPort {
    QString archive, scratch;
    BatchTrace trace;
    QList<DropBatch> drops;
    QString TransferArchive() const override { return archive; }
    QString TransferScratchFolder() const override { return scratch; }
    StatusPanel &TransferStatus() override { return trace; }
    EventQueue &TransferEvents() override { return trace; }
    void AddDroppedFiles(const DropBatch &batch) override { drops.append(batch); }
};

QStringList Column(const ArchiveListModel &model, int column)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row) texts.append(model.index(row, column).data().toString());
    return texts;
}

}  // namespace

class TestListModel : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

private slots:
    void textsAreMadeWhenShown()
    {
        ArchiveListModel model;
        QAbstractItemModelTester tester(&model);
        model.AddRow(Row("a\x1b.txt", 40000, 30000, 0x10200));
        const QStringList shown = {QStringLiteral("a\u241b.txt"), "txt", "40,000", "30,000", "25.00%", "CE-"};
        for (int column = 0; column < ListRow::ColumnCount; ++column)
            QCOMPARE(model.index(0, column).data().toString(), shown[column]);
        QCOMPARE(model.index(0, 3).data(Qt::TextAlignmentRole).toInt(), int(Qt::AlignRight | Qt::AlignVCenter));
        QCOMPARE(model.index(0, 5).data(Qt::UserRole).toByteArray(), QByteArray("a\x1b.txt"));
        // An edit that left the mark alone stands for the control it shows.
        QSignalSpy edited(&model, &ArchiveListModel::LabelEdited);
        QVERIFY(!model.setData(model.index(0, 0), QStringLiteral("b\u241b.txt"), Qt::EditRole));
        QCOMPARE(edited.first().at(2).toString(), QStringLiteral("b\x1b.txt"));
        model.RenameRow(0, "b.wav");
        QCOMPARE(Column(model, 1), QStringList{"wav"});
    }

    void sortKeepsTheSelectionAndTakesLateRows()
    {
        ArchiveListModel model;
        QAbstractItemModelTester tester(&model);
        model.SetSorted(false);
        for (const char *name : {"b.txt", "C.txt", "a.txt"}) model.AddRow(Row(name, quint32(qstrlen(name))));
        QCOMPARE(model.rowCount(), 0);  // the rows wait for the switch
        model.SetSorted(true);
        QCOMPARE(Column(model, 0), (QStringList{"a.txt", "b.txt", "C.txt"}));
        const QPersistentModelIndex current = model.index(2, 0);
        model.sort(0, Qt::DescendingOrder);
        QCOMPARE(Column(model, 0), (QStringList{"C.txt", "b.txt", "a.txt"}));
        QCOMPARE(current.row(), 0);
        QCOMPARE(model.SortOrder(), 1);
        // A row added to a sorted list goes to its place, the others stay.
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        model.AddRow(Row("B2.txt"));
        QCOMPARE(Column(model, 0), (QStringList{"C.txt", "B2.txt", "b.txt", "a.txt"}));
        QCOMPARE(reset.count(), 0);
        model.RemoveRows({3, 0});
        QCOMPARE(Column(model, 0), (QStringList{"B2.txt", "b.txt"}));
    }

    // A drag hands out the rows' files, extracted only when asked for; a drop
    // of disk files hands their batch to the window, a drop of the list onto
    // itself or with no archive open is no drop.
    void dragAndDrop()
    {
        const QString archive = ArchiveIn(dir.path(), "dnd.mpq", {{"a.txt", "A"}, {"units\\b.mdx", "B"}, {"..\\evil.txt", "E"}});
        Port port;
        port.archive = archive;
        port.scratch = dir.filePath("scratch");
        ArchiveListModel model;
        model.SetTransferPort(&port);
        for (const QByteArray &tag : {QByteArray("a.txt"), QByteArray("units\\b.mdx"), QByteArray("..\\evil.txt")})
            model.AddRow(Row(tag));
        QCOMPARE(model.mimeTypes(), QStringList{"text/uri-list"});
        QCOMPARE(model.supportedDragActions() | model.supportedDropActions(), Qt::CopyAction);

        std::unique_ptr<QMimeData> drag(model.mimeData({model.index(0, 0), model.index(0, 3), model.index(1, 0),
                                                        model.index(2, 0)}));
        QVERIFY(drag->hasUrls());
        QVERIFY(!QFileInfo::exists(port.scratch));
        QCOMPARE(drag->urls(), (QList<QUrl>{QUrl::fromLocalFile(port.scratch + "/a.txt"),
                                            QUrl::fromLocalFile(port.scratch + "/units")}));
        QCOMPARE(Tree(dir.path() + "/scratch"), (QMap<QString, QByteArray>{{"a.txt", "A"}, {"units/", "<dir>"},
                                                                            {"units/b.mdx", "B"}}));
        QVERIFY(!QFileInfo::exists(dir.filePath("evil.txt")));
        QVERIFY(!model.canDropMimeData(drag.get(), Qt::CopyAction, -1, -1, {}));

        WriteFile(dir.filePath("in/new.txt"), "new");
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(dir.filePath("in/new.txt"))});
        QMimeData text;
        text.setText("some text");
        QVERIFY(!model.dropMimeData(&text, Qt::CopyAction, -1, -1, {}));
        QVERIFY(model.dropMimeData(&files, Qt::CopyAction, 0, 0, {}));
        QCOMPARE(port.drops.size(), 1);
        QCOMPARE(port.drops.first().baseFolder, dir.filePath("in") + "/");
        QCOMPARE(port.drops.first().names, QStringList{"new.txt"});
        port.archive.clear();
        QVERIFY(!model.canDropMimeData(&files, Qt::CopyAction, -1, -1, {}));

        // Another user's link where the scratch folder goes is neither
        // emptied nor written through.
        port.archive = archive;
        WriteFile(dir.filePath("someone-elses/precious.txt"), "keep me");
        QVERIFY(QFile::link(dir.filePath("someone-elses"), dir.filePath("linked-scratch")));
        port.scratch = dir.filePath("linked-scratch");
        std::unique_ptr<QMimeData> linked(model.mimeData({model.index(0, 0)}));
        QVERIFY(linked->urls().isEmpty());
        QCOMPARE(Tree(dir.filePath("someone-elses")), (QMap<QString, QByteArray>{{"precious.txt", "keep me"}}));
    }
};

QTEST_GUILESS_MAIN(TestListModel)
#include "test_list_model.moc"
