// The MPQ Embedder dialog, offscreen, its questions answered by script: the
// verdicts and the buttons that follow them, the add and the two exports,
// and the cases that must change nothing.
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

#include "config/catalogue.h"
#include "support/archive_factory.h"
#include "support/scripted_dialogs.h"
#include "tools/file_size_limit.h"
#include "tools/frm_mpq_embedder.h"

using namespace fixtures;

namespace {

// What the dialog shows: "file | verdict | add, export MPQ, export EXE" with
// + for an enabled button and - for a disabled one.
QString Shown(const QString &file, const QString &verdict, const char *buttons)
{
    return file + " | " + verdict + " | " + buttons;
}

QString StateOf(const frmMPQEmbedder &form)
{
    QString buttons;
    for (const char *name : {"cmdAddMPQ", "cmdSaveMPQ", "cmdSaveEXE"})
        buttons += form.findChild<QPushButton *>(name)->isEnabled() ? '+' : '-';
    return Shown(form.findChild<QLineEdit *>("txtFile")->text(), form.findChild<QLabel *>("lblMessage")->text(),
                 qPrintable(buttons));
}

QStringList Messages(const ScriptedDialogs &dialogs)
{
    QStringList texts;
    for (const ScriptedDialogs::Question &question : dialogs.asked)
        if (question.kind == "message") texts.append(question.text);
    return texts;
}

}  // namespace

class TestFrmMpqEmbedder : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    ScriptedDialogs *dialogs = nullptr;
    frmMPQEmbedder *form = nullptr;
    QString folder;

    // Answers the next question with `name` in the test's folder; "" cancels.
    void Answer(const QString &name) { dialogs->answers.append(name.isEmpty() ? QStringList() : QStringList{Path(name)}); }
    QString Path(const QString &name) const { return folder + '/' + name; }
    void Click(const char *button) { QTest::mouseClick(form->findChild<QPushButton *>(button), Qt::LeftButton); }

private slots:
    // A fresh dialog and a folder of files for each case.
    void init()
    {
        folder = dir.filePath(QString(QTest::currentTestFunction()) + '/' + DataTagFileName());
        WriteFile(folder + "/game.exe", ExeBytes(1000));
        WriteFile(folder + "/embedded.exe", ExeBytes(1536) + ArchiveBytes(600));
        WriteFile(folder + "/plain.mpq", ArchiveBytes(300));
        WriteFile(folder + "/big.mpq", ArchiveBytes(2 << 20));
        WriteFile(folder + "/big.exe", ExeBytes(2 << 20) + ArchiveBytes(2 << 20));
        WriteFile(folder + "/text.txt", "no executable");
        dialogs = new ScriptedDialogs;
        form = new frmMPQEmbedder;
    }

    void cleanup()
    {
        delete form;
        delete dialogs;
    }

    // Files picked one after another: the last verdict and its buttons.
    void browseShowsTheVerdict_data()
    {
        QTest::addColumn<QStringList>("picks");  // "" cancels
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("verdict");
        QTest::addColumn<QString>("buttons");
        const MessageStrings &t = Texts();
        QTest::newRow("cancel") << QStringList{""} << "" << t.EmbedderNoFile << "---";
        QTest::newRow("not an executable") << QStringList{"text.txt"} << "text.txt" << t.EmbedderNoEXE << "---";
        QTest::newRow("a plain archive") << QStringList{"plain.mpq"} << "plain.mpq" << t.EmbedderNoEXE << "---";
        QTest::newRow("a missing file") << QStringList{"gone.exe"} << "gone.exe" << t.EmbedderNoEXE << "---";
        QTest::newRow("executable without archive") << QStringList{"game.exe"} << "game.exe" << t.EmbedderNoMPQ << "+--";
        QTest::newRow("executable with archive") << QStringList{"embedded.exe"} << "embedded.exe" << t.EmbedderOkMPQ
                                                 << "-++";
        QTest::newRow("cancel keeps the last file") << QStringList{"embedded.exe", ""} << "embedded.exe"
                                                    << t.EmbedderOkMPQ << "-++";
        QTest::newRow("no executable after one with archive")
            << QStringList{"embedded.exe", "text.txt"} << "text.txt" << t.EmbedderNoEXE << "---";
        QTest::newRow("no executable after one without")
            << QStringList{"game.exe", "text.txt"} << "text.txt" << t.EmbedderNoEXE << "---";
    }

    void browseShowsTheVerdict()
    {
        QFETCH(QStringList, picks);
        QFETCH(QString, file);
        QFETCH(QString, verdict);
        QFETCH(QString, buttons);
        for (const QString &pick : picks) {
            Answer(pick);
            Click("cmdBrowse");
        }
        const QString path = file.isEmpty() ? file : Path(file);
        QCOMPARE(StateOf(*form), Shown(path, verdict, qPrintable(buttons)));
        QCOMPARE(form->ExePath, path);
        QCOMPARE(dialogs->asked.size(), picks.size());
        for (const ScriptedDialogs::Question &question : dialogs->asked) {
            QCOMPARE(question.kind + ' ' + question.title, QString("open Apri File"));
            QCOMPARE(question.nameFilters, NameFiltersFromFilter(Texts().FilterEXE));
        }
    }

    void addEmbedsThePlainArchive()
    {
        Answer("game.exe");
        Click("cmdBrowse");
        Answer("plain.mpq");
        Click("cmdAddMPQ");
        QCOMPARE(ReadFile(Path("game.exe")), ExeBytes(1000) + QByteArray(24, '\0') + ArchiveBytes(300));
        QCOMPARE(StateOf(*form), Shown(Path("game.exe"), Texts().EmbedderOkMPQ, "-++"));
        QCOMPARE(form->MPQPath, Path("plain.mpq"));
        QCOMPARE(dialogs->asked.last().title, QString("Apri File"));
        QCOMPARE(dialogs->asked.last().nameFilters, NameFiltersFromFilter(Texts().FilterMPQ));
    }

    // The files keep their bytes and the dialog its verdict; a failure says
    // so in a message box, a file that is no plain archive says nothing.
    void commandsThatChangeNothing_data()
    {
        QTest::addColumn<QString>("exe");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("pick");
        QTest::addColumn<bool>("fullDisk");
        QTest::addColumn<QString>("message");
        const auto add = [](const char *tag, const char *pick, const char *message, bool fullDisk = false) {
            QTest::newRow(tag) << "game.exe" << "cmdAddMPQ" << pick << fullDisk << QString(message);
        };
        add("add cancelled", "", "");
        add("add a file with no header", "text.txt", "");
        add("add an executable with an archive", "embedded.exe", "");
        add("add the executable itself", "game.exe", "");
        add("add a missing archive", "gone.mpq", "Impossibile aprire il file \"%1/gone.mpq\".");
        add("add onto a full disk", "big.mpq", "Impossibile scrivere il file \"%1/game.exe\".", true);
        const auto save = [](const char *tag, const char *button, const char *pick, const char *message,
                             bool fullDisk = false) {
            QTest::newRow(tag) << "big.exe" << button << pick << fullDisk << QString(message);
        };
        save("export cancelled", "cmdSaveMPQ", "", "");
        save("export onto its source", "cmdSaveEXE", "big.exe",
             "Il file \"%1/big.exe\" è il file di partenza: scegline un altro.");
        save("export below a file", "cmdSaveMPQ", "text.txt/out.mpq",
             "Impossibile aprire il file \"%1/text.txt/out.mpq\".");
        save("export onto a full disk", "cmdSaveMPQ", "plain.mpq", "Impossibile scrivere il file \"%1/plain.mpq\".",
             true);
    }

    void commandsThatChangeNothing()
    {
        QFETCH(QString, exe);
        QFETCH(QString, button);
        QFETCH(QString, pick);
        QFETCH(bool, fullDisk);
        QFETCH(QString, message);
        Answer(exe);
        Click("cmdBrowse");
        const QString before = StateOf(*form);
        const QMap<QString, QByteArray> files = Tree(folder);
        Answer(pick);
        {
            std::optional<FileSizeLimit> limit;
            if (fullDisk) limit.emplace(1 << 20);
            Click(qPrintable(button));
        }
        QCOMPARE(Tree(folder), files);
        QCOMPARE(StateOf(*form), before);
        QCOMPARE(Messages(*dialogs), message.isEmpty() ? QStringList() : QStringList{message.arg(folder)});
    }

    void exportsWriteBothParts()
    {
        Answer("embedded.exe");
        Click("cmdBrowse");
        const QString shown = StateOf(*form);
        Answer("out.exe");
        Click("cmdSaveEXE");
        Answer("out.mpq");
        Click("cmdSaveMPQ");
        QCOMPARE(ReadFile(Path("out.exe")), ExeBytes(1536));
        QCOMPARE(ReadFile(Path("out.mpq")), ArchiveBytes(600));
        QCOMPARE(form->MPQPath, Path("out.mpq"));
        QCOMPARE(StateOf(*form), shown);
        QCOMPARE(dialogs->asked.size(), 3);
        QCOMPARE(dialogs->asked[1].kind + ' ' + dialogs->asked[1].title, QString("save Salva File"));
        QCOMPARE(dialogs->asked[1].nameFilters, NameFiltersFromFilter(Texts().FilterEXE));
        QCOMPARE(dialogs->asked[2].kind + ' ' + dialogs->asked[2].title, QString("save Salva File"));
        QCOMPARE(dialogs->asked[2].nameFilters, NameFiltersFromFilter(Texts().FilterMPQ));
    }

    // Close only hides: the next showing finds the file, the verdict and the
    // buttons. What is typed into the file's box has no effect.
    void closeKeepsTheStateForTheNextShowing()
    {
        form->show();
        Answer("embedded.exe");
        Click("cmdBrowse");
        QTest::keyClicks(form->findChild<QLineEdit *>("txtFile"), "typed");
        const QString shown = StateOf(*form);
        QCOMPARE(shown, Shown(Path("embedded.exe"), Texts().EmbedderOkMPQ, "-++"));
        Click("cmdClose");
        QVERIFY(!form->isVisible());
        form->show();
        QCOMPARE(StateOf(*form), shown);
        QCOMPARE(form->ExePath, Path("embedded.exe"));
    }
};

QTEST_MAIN(TestFrmMpqEmbedder)
#include "test_frm_mpq_embedder.moc"
