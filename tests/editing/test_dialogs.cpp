// The dialog functions answered by a scripted provider, and the Qt dialogs
// as they are built (never run).
#include <QComboBox>
#include <QDir>
#include <QFileSystemModel>
#include <QPushButton>
#include <QtTest>

#include "editing/helpers/dialogs.h"
#include "dialogs/dialogs_qt.h"

namespace {

// Answers every question with what the test put in, and notes what it was asked.
class ScriptedDialogs final : public DialogProvider {
public:
    QStringList files;  // the answer of the file and folder dialogs
    QString asked;      // which dialog ran last, and with what
    QObject *owner = nullptr;
    QString title, initialName;
    QStringList nameFilters;

    QString ChooseOpenFile(QObject *o, const QString &t, const QStringList &f, const QString &i) override
    {
        return Note("open one", o, t, f, i), files.value(0);
    }
    QStringList ChooseOpenFiles(QObject *o, const QString &t, const QStringList &f,
                                const QString &i) override
    {
        return Note("open many", o, t, f, i), files;
    }
    QString ChooseSaveFile(QObject *o, const QString &t, const QStringList &f) override
    {
        return Note("save", o, t, f, {}), files.value(0);
    }
    QString ChooseFolder(QObject *o, const QString &t) override
    {
        return Note("folder", o, t, {}, {}), files.value(0);
    }
    MessageButton Message(QObject *o, const QString &, const QString &t, MessageButtons, MessageIcon,
                          MessageButton) override
    {
        return Note("message", o, t, {}, {}), MessageButton::Yes;
    }
    InputAnswer Input(QObject *o, const QString &, const QString &t, const QString &) override
    {
        return Note("input", o, t, {}, {}), InputAnswer{true, "typed"};
    }

private:
    void Note(const char *what, QObject *o, const QString &t, const QStringList &f, const QString &i)
    {
        asked = what;
        owner = o;
        title = t;
        nameFilters = f;
        initialName = i;
    }
};

const QChar kNul(0);

QString Nul(std::initializer_list<const char *> parts)
{
    QStringList list;
    for (const char *p : parts) list << QString::fromUtf8(p);
    return list.join(kNul);
}

}  // namespace

class TestDialogs : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void literals();
    void nameFilters_data();
    void nameFilters();

    void openMany_data();
    void openMany();
    void openOne_data();
    void openOne();
    void saveAddsNothing();
    void browseForFolder_data();
    void browseForFolder();
    void withoutProviderEverythingIsCancelled();

    void fileDialogsAsBuilt_data();
    void fileDialogsAsBuilt();
    void filterDescriptionsShownAsWritten();
    void messageBoxAsBuilt_data();
    void messageBoxAsBuilt();
    void untitledInputBoxCarriesTheProgramName();

private:
    ScriptedDialogs m_dialogs;
    DialogProvider *m_previous = nullptr;
};

void TestDialogs::init()
{
    m_dialogs = ScriptedDialogs();
    m_previous = SetDialogProvider(&m_dialogs);
}

void TestDialogs::cleanup() { SetDialogProvider(m_previous); }

void TestDialogs::literals()
{
    // The NUL inside the filter survives (a C string would end there).
    QCOMPARE(kAllFilesFilter, Nul({"Titti i files", "*.*"}));
}

void TestDialogs::nameFilters_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("every file") << kAllFilesFilter << QStringList{"Titti i files (*)"};
    QTest::newRow("two pairs, descriptions kept")
        << Nul({"File di testo (*.txt)", "*.txt", "Titti i files (*.*)", "*.*"})
        << QStringList{"File di testo (*.txt) (*.txt)", "Titti i files (*.*) (*)"};
    QTest::newRow("several patterns")
        << Nul({"Mappe di StarCraft (*.scm;*.scx)", "*.scm;*.scx"})
        << QStringList{"Mappe di StarCraft (*.scm;*.scx) (*.scm *.scx)"};
    QTest::newRow("empty") << "" << QStringList{};
    QTest::newRow("description without pattern dropped")
        << Nul({"Archivi MPQ", "*.mpq", "Orphan"}) << QStringList{"Archivi MPQ (*.mpq)"};
    QTest::newRow("empty description shows the pattern") << Nul({"", "*.w3n"}) << QStringList{"*.w3n (*.w3n)"};
}

void TestDialogs::nameFilters()
{
    QFETCH(QString, filter);
    QFETCH(QStringList, expected);
    QCOMPARE(NameFiltersFromFilter(filter), expected);
}

void TestDialogs::openMany_data()
{
    QTest::addColumn<QStringList>("chosen");
    QTest::addColumn<QString>("result");
    QTest::newRow("cancel") << QStringList{} << "";
    QTest::newRow("one file: its path, no NUL") << QStringList{"/data/maps/a.w3m"} << "/data/maps/a.w3m";
    QTest::newRow("several: folder, NUL, names")
        << QStringList{"/data/maps/a.w3m", "/data/maps/b c.w3x", "/data/maps/z"}
        << Nul({"/data/maps", "a.w3m", "b c.w3x", "z"});
    QTest::newRow("root keeps its slash") << QStringList{"/a", "/b"} << Nul({"/", "a", "b"});
    QTest::newRow("files of different folders") << QStringList{"/data/a", "/other/b"} << "";
    QTest::newRow("files of a folder and its subfolder") << QStringList{"/data/a", "/data/sub/b"} << "";
}

void TestDialogs::openMany()
{
    QFETCH(QStringList, chosen);
    QFETCH(QString, result);
    m_dialogs.files = chosen;
    QObject owner;
    QCOMPARE(OpenFileDialog(&owner, kOpenFileTitle, kAllFilesFilter, "", true), result);
    QCOMPARE(m_dialogs.asked, "open many");
    QCOMPARE(m_dialogs.owner, &owner);
    QCOMPARE(m_dialogs.title, kOpenFileTitle);
    QCOMPARE(m_dialogs.nameFilters, QStringList{"Titti i files (*)"});
}

void TestDialogs::openOne_data()
{
    QTest::addColumn<QStringList>("chosen");
    QTest::addColumn<QString>("result");
    QTest::newRow("cancel") << QStringList{} << "";
    QTest::newRow("one file") << QStringList{"/data/a.mpq"} << "/data/a.mpq";
    QTest::newRow("blanks belong to the name") << QStringList{"/data/ a.mpq "} << "/data/ a.mpq ";
}

void TestDialogs::openOne()
{
    QFETCH(QStringList, chosen);
    QFETCH(QString, result);
    m_dialogs.files = chosen;
    QCOMPARE(OpenFileDialog(nullptr, kOpenFileTitle, Nul({"Archivi MPQ (*.mpq)", "*.mpq"}), "start.mpq",
                            false),
             result);
    QCOMPARE(m_dialogs.asked, "open one");
    QCOMPARE(m_dialogs.initialName, "start.mpq");
}

void TestDialogs::saveAddsNothing()
{
    m_dialogs.files = QStringList{"/data/new"};
    QCOMPARE(SaveFileDialog(nullptr, kSaveFileTitle, Nul({"Archivi MPQ (*.mpq)", "*.mpq"})), "/data/new");
    QCOMPARE(m_dialogs.asked, "save");
    QCOMPARE(m_dialogs.nameFilters, QStringList{"Archivi MPQ (*.mpq) (*.mpq)"});
    m_dialogs.files.clear();
    QCOMPARE(SaveFileDialog(nullptr, kSaveFileTitle, kAllFilesFilter), "");
}

void TestDialogs::browseForFolder_data()
{
    QTest::addColumn<QString>("chosen");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("displayName");
    QTest::newRow("folder") << "/home/user/maps" << "/home/user/maps" << "maps";
    QTest::newRow("closing slash dropped") << "/home/user/maps/" << "/home/user/maps" << "maps";
    QTest::newRow("root") << "/" << "/" << "/";
    QTest::newRow("cancel") << "" << "" << "";
}

void TestDialogs::browseForFolder()
{
    QFETCH(QString, chosen);
    QFETCH(QString, path);
    QFETCH(QString, displayName);
    m_dialogs.files = QStringList{chosen};
    QCOMPARE(BrowseForFolder(nullptr, "", true), path);
    QCOMPARE(BrowseForFolder(nullptr, "", false), displayName);
    QCOMPARE(m_dialogs.asked, "folder");
}

void TestDialogs::withoutProviderEverythingIsCancelled()
{
    SetDialogProvider(nullptr);
    QCOMPARE(OpenFileDialog(nullptr, kOpenFileTitle, kAllFilesFilter, "", true), "");
    QCOMPARE(OpenFileDialog(nullptr, kOpenFileTitle, kAllFilesFilter, "", false), "");
    QCOMPARE(SaveFileDialog(nullptr, kSaveFileTitle, kAllFilesFilter), "");
    QCOMPARE(BrowseForFolder(nullptr, "", true), "");
    QCOMPARE(ShowInputBox(nullptr, "Trova:", "", "x").accepted, false);
    using B = MessageButton;
    QCOMPARE(ShowMessageBox(nullptr, "?", "", B::Yes | B::No, MessageIcon::Question, B::Yes), B::No);
    QCOMPARE(ShowMessageBox(nullptr, "?", "", B::Yes | B::No | B::Cancel, MessageIcon::None, B::Yes),
             B::Cancel);
    QCOMPARE(ShowMessageBox(nullptr, "!", "", MessageButtons(), MessageIcon::Exclamation, B::OK), B::OK);
    QCOMPARE(m_dialogs.asked, "");  // the scripted one was not asked
}

void TestDialogs::fileDialogsAsBuilt_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("fileMode");
    QTest::addColumn<int>("acceptMode");
    QTest::newRow("open one") << int(FileDialogKind::OpenOne) << int(QFileDialog::ExistingFile)
                              << int(QFileDialog::AcceptOpen);
    QTest::newRow("open many") << int(FileDialogKind::OpenMany) << int(QFileDialog::ExistingFiles)
                               << int(QFileDialog::AcceptOpen);
    QTest::newRow("save") << int(FileDialogKind::Save) << int(QFileDialog::AnyFile)
                          << int(QFileDialog::AcceptSave);
    QTest::newRow("folder") << int(FileDialogKind::Folder) << int(QFileDialog::Directory)
                            << int(QFileDialog::AcceptOpen);
}

void TestDialogs::fileDialogsAsBuilt()
{
    QFETCH(int, kind);
    QFETCH(int, fileMode);
    QFETCH(int, acceptMode);
    const QStringList filters = NameFiltersFromFilter(Nul({"Archivi MPQ (*.mpq)", "*.mpq", "Tutti", "*.*"}));
    const auto dialog = MakeFileDialog(nullptr, FileDialogKind(kind), kOpenFileTitle, filters, "");
    QCOMPARE(int(dialog->fileMode()), fileMode);
    QCOMPARE(int(dialog->acceptMode()), acceptMode);
    QCOMPARE(dialog->windowTitle(), kOpenFileTitle);
    QCOMPARE(QDir(dialog->directory()).canonicalPath(), QDir::current().canonicalPath());
    QVERIFY(dialog->defaultSuffix().isEmpty());
    QVERIFY(!dialog->testOption(QFileDialog::DontConfirmOverwrite));
    if (FileDialogKind(kind) == FileDialogKind::Folder) {
        QVERIFY(dialog->testOption(QFileDialog::ShowDirsOnly));
    } else {
        QCOMPARE(dialog->nameFilters(), filters);
        // The dialog opens on the first pair, and filters by its pattern.
        const auto *model = dialog->findChild<QFileSystemModel *>();
        QVERIFY(model);
        QCOMPARE(model->nameFilters(), QStringList{"*.mpq"});
    }
}

void TestDialogs::filterDescriptionsShownAsWritten()
{
    const QString filter = Nul({"Mappe di StarCraft (*.scm;*.scx)", "*.scm;*.scx", "Titti i files", "*.*"});
    const auto dialog = MakeFileDialog(nullptr, FileDialogKind::OpenOne, kOpenFileTitle,
                                       NameFiltersFromFilter(filter), "");
    const auto *combo = dialog->findChild<QComboBox *>("fileTypeCombo");
    QVERIFY(combo);
    QCOMPARE(combo->count(), 2);
    QCOMPARE(combo->itemText(0), "Mappe di StarCraft (*.scm;*.scx)");
    QCOMPARE(combo->itemText(1), "Titti i files");
    // The patterns behind the descriptions still filter: "*.*" takes every name.
    const auto *model = dialog->findChild<QFileSystemModel *>();
    QVERIFY(model);
    QCOMPARE(model->nameFilters(), (QStringList{"*.scm", "*.scx"}));
    dialog->selectNameFilter(dialog->nameFilters().at(1));
    QCOMPARE(model->nameFilters(), QStringList{"*"});
}

void TestDialogs::messageBoxAsBuilt_data()
{
    using B = MessageButton;
    QTest::addColumn<QString>("title");
    QTest::addColumn<MessageButtons>("buttons");
    QTest::addColumn<MessageButton>("defaultButton");
    QTest::addColumn<QString>("shownTitle");
    QTest::addColumn<MessageButton>("escape");
    QTest::addColumn<qsizetype>("buttonCount");
    QTest::newRow("delete question") << "" << (B::Yes | B::No) << B::No << "Arcavera" << B::No << qsizetype(2);
    QTest::newRow("rename question") << "" << (B::Yes | B::No) << B::Yes << "Arcavera" << B::No
                                     << qsizetype(2);
    QTest::newRow("own title, OK alone") << "Avviso" << MessageButtons(B::OK) << B::OK << "Avviso"
                                         << B::OK << qsizetype(1);
    QTest::newRow("with cancel") << "" << (B::Yes | B::No | B::Cancel) << B::Yes << "Arcavera"
                                 << B::Cancel << qsizetype(3);
}

void TestDialogs::messageBoxAsBuilt()
{
    QFETCH(QString, title);
    QFETCH(MessageButtons, buttons);
    QFETCH(MessageButton, defaultButton);
    QFETCH(QString, shownTitle);
    QFETCH(MessageButton, escape);
    QFETCH(qsizetype, buttonCount);
    const auto box = MakeMessageBox(nullptr, "Sei sicuro?", title, buttons, MessageIcon::Question, defaultButton);
    QCOMPARE(box->windowTitle(), shownTitle);
    QCOMPARE(box->buttons().size(), buttonCount);
    QCOMPARE(PressedButton(*box), escape);  // closed without a button
    QVERIFY(box->defaultButton());
    box->defaultButton()->click();
    QCOMPARE(PressedButton(*box), defaultButton);
}

void TestDialogs::untitledInputBoxCarriesTheProgramName()
{
    QCOMPARE(MakeInputDialog(nullptr, "Trova:", "", "")->windowTitle(), "Arcavera");
    QCOMPARE(MakeInputDialog(nullptr, "Trova:", "Cerca", "")->windowTitle(), "Cerca");
}

QTEST_MAIN(TestDialogs)
#include "test_dialogs.moc"
