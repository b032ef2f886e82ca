// The properties of a stored file and of the archive, read from the real
// dialogs while the window shows them offscreen.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QMimeDatabase>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QtEndian>

#include <functional>

#include "config/registry.h"
#include "properties/frm_info_file.h"
#include "properties/frm_info_mpq.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "shell/folder_tree_widget.h"
#include "shell/frm_main.h"
#include "support/archive_factory.h"
#include "support/window_fixture.h"
#include "support/scripted_dialogs.h"

using namespace fixtures;

namespace {

QString Grouped(qint64 value)
{
    QLocale locale = QLocale::system();
    locale.setNumberOptions(locale.numberOptions() & ~QLocale::OmitGroupSeparator);
    return locale.toString(value);
}

QString Percent(double value)
{
    QLocale locale = QLocale::system();
    return locale.toString(value, 'f', 2) + locale.percent();
}

// Runs `command`, which shows `dialog` modally; `look` reads it while it is
// on screen, then "Ok" closes it. False when the dialog never showed.
bool WhileShown(frmProperties *dialog, const std::function<void()> &command, const std::function<void()> &look)
{
    bool shown = false;
    QTimer::singleShot(0, dialog, [&] {
        shown = dialog->isVisible();
        look();
        dialog->cmdOK()->click();
    });
    command();
    return shown && !dialog->isVisible();
}

// The bar's saved part stands on its bottom, as high as its share.
void CheckBar(const frmProperties *dialog, double share)
{
    const float expected = share > 0 ? static_cast<float>(share * 2415.0) : 0.0f;
    QCOMPARE(dialog->RatioHeight(), expected);
    const QRect part = dialog->picRatio()->geometry();
    QCOMPARE(part.bottom(), dialog->picSize()->height() - 1);
    QVERIFY(qAbs(part.height() - share * dialog->picSize()->height()) <= 1.0 || (share <= 0 && part.height() == 0));
}

// The entry count in the header at `offset`, read from the bytes.
qint64 HeaderCount(const QString &path, qint64 offset)
{
    const QByteArray bytes = ReadFile(path).mid(offset + 28, 4);
    return qFromLittleEndian<quint32>(bytes.constData());
}

}  // namespace

class TestPropertyDialogs : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString archive;
    int windows = 0;

    std::unique_ptr<frmMain> Start(const QString &path, bool explorer = false)
    {
        auto window = StartWindow(WindowPaths(dir.filePath(QStringLiteral("w%1").arg(++windows))), path);
        if (window && explorer) window->mnuExplorerStyle_Click();
        return window;
    }

    static void MakeCurrent(frmMain &window, const QString &name)
    {
        for (int row = 0; row < window.Model()->rowCount(); ++row)
            if (window.Model()->Row(row).text() == name) {
                window.List()->setCurrentIndex(window.Model()->index(row, 0));
                return;
            }
        QFAIL(qPrintable("no row " + name));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        // Sizes as the block table gives them: stored plain, the stored
        // size chosen per file.
        const QByteArray names = "data\\x.wav\r\nempty.txt\r\ngrown.bin\r\nplain.txt\r\nquarter\r\n";
        archive = WriteFile(dir.filePath("rows.mpq"),
                            HandMadeArchive(16, {
                                                    {"data\\x.wav", QByteArray(1000, 'w'), 0xFFFFFFFF, 0x80000200, 500},
                                                    {"empty.txt", QByteArray(), 0xFFFFFFFF, 0x80000000, 0},
                                                    {"grown.bin", QByteArray(100, 'g'), 0xFFFFFFFF, 0x80000000, 150},
                                                    {"plain.txt", QByteArray(400, 'p')},
                                                    {"quarter", QByteArray(400, 'q'), 0xFFFFFFFF, 0x80000200, 300},
                                                    {"(listfile)", names},
                                                }));
    }

    void fileProperties_data()
    {
        QTest::addColumn<QString>("row");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("ratio");
        QTest::addColumn<QString>("attributes");
        QTest::addColumn<double>("share");
        const QString text = QMimeDatabase().mimeTypeForName("text/plain").comment();
        QTest::newRow("half, in a folder") << "data\\x.wav" << "x.wav" << "data\\"
                                          << QMimeDatabase().mimeTypeForFile("x.wav", QMimeDatabase::MatchExtension).comment()
                                          << Percent(50) << "C--" << 0.5;
        QTest::newRow("empty file") << "empty.txt" << "empty.txt" << "" << text << Percent(0) << "---" << 0.0;
        QTest::newRow("stored larger") << "grown.bin" << "grown.bin" << "" << QString() << Percent(-50) << "---"
                                       << -0.5;
        QTest::newRow("stored plain") << "plain.txt" << "plain.txt" << "" << text << Percent(0) << "---" << 0.0;
        QTest::newRow("no point") << "quarter" << "quarter" << "" << "File " << Percent(25) << "C--" << 0.25;
    }

    void fileProperties()
    {
        QFETCH(QString, row);
        auto window = Start(archive);
        QVERIFY(window);
        MakeCurrent(*window, row);
        frmInfoFile *dialog = window->InfoFileDialog();
        QStringList values;
        QVERIFY(WhileShown(dialog, [&] { window->mnuPopupInfoFile_Click(); }, [&] {
            for (QLabel *label : {dialog->lblName, dialog->lblPath, dialog->lblType, dialog->lblRatio2,
                                  dialog->lblAttibutes, dialog->lblRatio()})
                values << label->text();
        }));
        QFETCH(QString, name);
        QFETCH(QString, path);
        QFETCH(QString, type);
        QFETCH(QString, ratio);
        QFETCH(QString, attributes);
        QFETCH(double, share);
        // A type that the desktop does not know gives "File " and the extension.
        if (type.isNull()) type = QStringLiteral("File bin");
        QCOMPARE(values, (QStringList{name, path, type, ratio, attributes, ratio}));
        const ListRow &listed = window->Model()->Row(window->List()->currentIndex().row());
        QCOMPARE(dialog->lblSize->text(), listed.columns[ListRow::Size]);
        QCOMPARE(dialog->lblCompress->text(), listed.columns[ListRow::Compressed]);
        CheckBar(dialog, share);
    }

    // The toolbar button and the popup entry lead to the same dialog, which
    // is loaded once; a second showing leaves nothing of the first.
    void fileDialogIsKeptAndRefilled()
    {
        auto window = Start(archive);
        QVERIFY(window);
        frmInfoFile *dialog = window->InfoFileDialog();
        MakeCurrent(*window, "data\\x.wav");
        QVERIFY(WhileShown(dialog, [&] { window->ToolButton("infofile")->trigger(); }, [] {}));
        MakeCurrent(*window, "plain.txt");
        QString name, path;
        QVERIFY(WhileShown(dialog, [&] { window->MenuEntry("mnuPopupInfoFile")->trigger(); }, [&] {
            name = dialog->lblName->text();
            path = dialog->lblPath->text();
        }));
        QCOMPARE(name, QStringLiteral("plain.txt"));
        QCOMPARE(path, QString());
        CheckBar(dialog, 0);
        QCOMPARE(window->InfoFileDialog(), dialog);

        // With no current row nothing shows.
        window->List()->setCurrentIndex(QModelIndex());
        window->mnuPopupInfoFile_Click();
        QVERIFY(!dialog->isVisible());
    }

    // A registered class names the type, also one that the program wrote.
    void registeredTypeIsDescribed()
    {
        auto window = Start(archive);
        QVERIFY(window);
        QVERIFY(WriteRegistry("HKEY_CLASSES_ROOT\\.bin\\", "Game.Data"));
        QVERIFY(WriteRegistry("HKEY_CLASSES_ROOT\\Game.Data\\", "Dati di gioco"));
        MakeCurrent(*window, "grown.bin");
        QString type;
        QVERIFY(WhileShown(window->InfoFileDialog(), [&] { window->mnuPopupInfoFile_Click(); },
                           [&] { type = window->InfoFileDialog()->lblType->text(); }));
        QCOMPARE(type, QStringLiteral("Dati di gioco"));
    }

    void archiveValues_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<qint64>("unpacked");
        QTest::addColumn<bool>("onDisk");
        QTest::addColumn<QString>("ratio");
        QTest::addColumn<double>("share");
        QTest::newRow("a quarter of its unpacked size") << qint64(1000) << qint64(4000) << true << Percent(75) << 0.75;
        QTest::newRow("larger on disk") << qint64(5000) << qint64(4000) << true << Percent(-25) << 0.0;
        QTest::newRow("nothing listed") << qint64(0) << qint64(0) << true << QStringLiteral("0%") << 0.0;
        QTest::newRow("file gone") << qint64(0) << qint64(4000) << false << QString() << 0.0;
        QTest::newRow("over 4 GiB") << qint64(3) * 1024 * 1024 * 1024 << qint64(6) * 1024 * 1024 * 1024 << true
                                    << Percent(50) << 0.5;
    }

    void archiveValues()
    {
        QFETCH(qint64, size);
        QFETCH(qint64, unpacked);
        QFETCH(bool, onDisk);
        QFETCH(QString, ratio);
        QFETCH(double, share);
        ArchiveProperties p;
        p.size = size;
        p.unpacked = unpacked;
        p.onDisk = onDisk;
        p.lastChange = QDateTime::currentDateTime();
        frmInfoMPQ dialog;
        dialog.ShowArchive(p);
        QCOMPARE(dialog.lblSize->text(), onDisk ? Grouped(size) : QString());
        QCOMPARE(dialog.lblDecompress->text(), Grouped(unpacked));
        QCOMPARE(dialog.lblLast->text().isEmpty(), !onDisk);
        QCOMPARE(dialog.lblRatio()->text(), ratio);
        CheckBar(&dialog, share);
    }

    // The archive as the window has it: the file's length, date and header
    // count now, the unpacked size and the rows of the listing. In Explorer
    // style the rows are those of the folder on screen; an archive behind an
    // executable counts the executable in its length.
    void archiveInTheWindow_data()
    {
        QTest::addColumn<bool>("explorer");
        QTest::addColumn<int>("prefix");
        QTest::addColumn<int>("rowsShown");
        QTest::newRow("classic") << false << 0 << 6;
        QTest::newRow("explorer, a folder of two files") << true << 0 << 2;
        QTest::newRow("behind an executable") << false << 1024 << 6;
    }

    void archiveInTheWindow()
    {
        QFETCH(bool, explorer);
        QFETCH(int, prefix);
        QFETCH(int, rowsShown);
        const QString folder = dir.filePath(DataTagFileName());
        QString path = ArchiveIn(folder, "whole map.w3x",
                                 {{"units\\a.mdx", TextData(4000)}, {"units\\b.mdx", TextData(3000)},
                                  {"war3map.j", TextData(9000)}, {"x.txt", TextData(10)}, {"y.txt", TextData(10)}});
        if (prefix > 0) {
            QByteArray executable = "MZ" + QByteArray(prefix - 2, '\0');
            path = WriteFile(folder + "/game.exe", executable + ReadFile(path));
        }
        auto window = Start(path, explorer);
        QVERIFY(window);
        if (explorer) window->tvMPQ_NodeClick(window->Tree()->Node("UNITS\\"));
        QCOMPARE(window->Model()->rowCount(), rowsShown);

        frmInfoMPQ *dialog = window->InfoMPQDialog();
        QStringList values;
        QVERIFY(WhileShown(dialog, [&] { window->ToolButton("infompq")->trigger(); }, [&] {
            for (QLabel *label : {dialog->lblPath, dialog->lblName, dialog->lblSize, dialog->lblDecompress,
                                  dialog->lblNFiles, dialog->lblFilesView, dialog->lblLast})
                values << label->text();
        }));
        const QFileInfo file(path);
        const qint64 unpacked = window->Session().TotalSize;
        QCOMPARE(values, (QStringList{file.absolutePath() + "/", file.fileName(), Grouped(file.size()),
                                      Grouped(unpacked), QString::number(HeaderCount(path, prefix)),
                                      QString::number(rowsShown), values.last()}));
        QVERIFY(HeaderCount(path, prefix) >= 6);
        QVERIFY(!values.last().isEmpty());
        CheckBar(dialog, 1.0 - double(file.size()) / double(unpacked));
    }

    // The values are read when the button is pressed: a file that has gone
    // shows no length and no date, and the rest as listed.
    void vanishedArchive()
    {
        const QString path = ArchiveIn(dir.filePath("gone"), "gone.mpq", {{"a.txt", TextData(5000)}});
        auto window = Start(path);
        QVERIFY(window);
        QVERIFY(QFile::remove(path));
        frmInfoMPQ *dialog = window->InfoMPQDialog();
        QStringList values;
        QVERIFY(WhileShown(dialog, [&] { window->ShowArchiveProperties(); }, [&] {
            values << dialog->lblName->text() << dialog->lblSize->text() << dialog->lblLast->text()
                   << dialog->lblNFiles->text() << dialog->lblDecompress->text() << dialog->lblRatio()->text();
        }));
        QCOMPARE(values, (QStringList{"gone.mpq", "", "", "0", Grouped(window->Session().TotalSize), ""}));
        CheckBar(dialog, 0);
    }

    // A new archive is an empty file until the first add.
    void newEmptyArchive()
    {
        ScriptedDialogs dialogs;
        const QString path = dir.filePath("new/empty.mpq");
        QDir().mkpath(dir.filePath("new"));
        dialogs.answers << QStringList{path};
        auto window = Start(QString());
        QVERIFY(window);
        window->mnuNew_Click();
        QCOMPARE(window->Session().FileName, path);
        frmInfoMPQ *dialog = window->InfoMPQDialog();
        QStringList values;
        QVERIFY(WhileShown(dialog, [&] { window->ShowArchiveProperties(); }, [&] {
            values << dialog->lblSize->text() << dialog->lblDecompress->text() << dialog->lblNFiles->text()
                   << dialog->lblFilesView->text() << dialog->lblRatio()->text();
        }));
        QCOMPARE(values, (QStringList{"0", "0", "0", "0", "0%"}));
        CheckBar(dialog, 0);
    }
};

QTEST_MAIN(TestPropertyDialogs)
#include "test_property_dialogs.moc"
