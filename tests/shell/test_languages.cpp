// The program in another language, and the configuration dialog at work in
// the real window: the first start, a preview taken back, the settings of
// the next add, and the About box.
#include <QAbstractButton>
#include <QAction>
#include <QCheckBox>
#include <QLineEdit>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSet>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include "about/frm_credits.h"
#include "about/scrolling_credits_widget.h"
#include "config/catalogue.h"
#include "config/frm_config.h"
#include "config/ini_file.h"
#include "config/registry.h"
#include "shell/archive_list_model.h"
#include "shell/frm_main.h"
#include "support/archive_factory.h"
#include "support/scripted_dialogs.h"
#include "support/window_fixture.h"

using namespace fixtures;

namespace {

// Every caption the window and its dialogs show: titles, menu entries and
// tool tips, labels, buttons, frames, tabs and the list's headers.
QStringList Captions(frmMain &window)
{
    QStringList texts;
    QList<QWidget *> widgets = window.findChildren<QWidget *>();
    widgets.prepend(&window);
    for (QWidget *widget : std::as_const(widgets)) {
        if (widget->isWindow()) texts << widget->objectName() + " title: " + widget->windowTitle();
        // A status text on screen keeps its language until the next one is set.
        if (widget->objectName() == "StatusBar1Panel1") continue;
        if (auto *label = qobject_cast<QLabel *>(widget)) texts << label->objectName() + ": " + label->text();
        if (auto *button = qobject_cast<QAbstractButton *>(widget)) texts << button->objectName() + ": " + button->text();
        if (auto *frame = qobject_cast<QGroupBox *>(widget)) texts << frame->objectName() + ": " + frame->title();
        if (auto *tabs = qobject_cast<QTabBar *>(widget))
            for (int i = 0; i < tabs->count(); ++i) texts << tabs->objectName() + ": " + tabs->tabText(i);
    }
    for (QAction *action : window.findChildren<QAction *>())
        texts << action->objectName() + ": " + action->text() << action->objectName() + " tip: " + action->toolTip();
    for (int column = 0; column < ListRow::ColumnCount; ++column)
        texts << "column: " + window.Model()->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    return texts;
}

// The captions that are an Italian text of the catalogue. "&File", "&MPQ
// Embedder..." and "Ok" read the same in English.
QStringList ItalianLeft(const QStringList &captions)
{
    QSet<QString> italian;
    for (const CatalogueEntry &entry : Catalogue()) italian.insert(QString::fromUtf8(entry.italian));
    for (const char *alike : {"", "&File", "&MPQ Embedder...", "Ok"}) italian.remove(QString::fromUtf8(alike));
    QStringList left;
    for (const QString &caption : captions)
        if (italian.contains(caption.section(": ", 1))) left << caption;
    return left;
}

QListWidgetItem *LanguageNamed(frmConfig *dialog, const QString &text)
{
    return dialog->findChild<QListWidget *>("lvLanguages")->findItems(text, Qt::MatchExactly).value(0);
}

void Click(frmConfig *dialog, const char *button) { dialog->findChild<QPushButton *>(button)->click(); }

}  // namespace

class TestLanguages : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    int windows = 0;
    QString archive;

    // A window's folders, with English and a file that names its language
    // and translates nothing.
    StartupPaths Paths(bool settings = true)
    {
        const QString folder = dir.filePath(QStringLiteral("w%1").arg(++windows));
        StartupPaths paths = WindowPaths(folder);
        if (!settings) QFile::remove(paths.iniPath);
        QDir().mkpath(paths.programFolder + "/Languages");
        QFile::copy(ARCAVERA_LANGUAGES_SOURCE "/English.lng", paths.programFolder + "/Languages/English.lng");
        WriteFile(paths.programFolder + "/Languages/klingon.lng", "[Language]\nName=Klingon\n");
        return paths;
    }

    // Picks a language in the configuration dialog and presses OK.
    void Choose(frmMain &window, const QString &language)
    {
        frmConfig *dialog = window.ConfigDialog();
        dialog->findChild<QListWidget *>("lvLanguages")->setCurrentItem(LanguageNamed(dialog, language));
        Click(dialog, "cmdOK");
    }

private slots:
    void initTestCase()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath("home/data")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.filePath("home/config")));
        archive = ArchiveIn(dir.path(), "map.mpq", {{"war3map.j", TextData(300)}, {"units\\a.mdx", TextData(80)}});
    }
    void cleanup() { LoadLanguage(QString()); }

    void englishReachesEveryWindowAtOnce()
    {
        const StartupPaths paths = Paths();
        auto window = StartWindow(paths, archive);
        QVERIFY(window);
        window->InfoFileDialog();
        window->InfoMPQDialog();
        const QStringList italian = Captions(*window);
        QVERIFY(ItalianLeft(italian).size() > 100);

        // A double click shows the language at once, before anything is stored.
        frmConfig *dialog = window->ConfigDialog();
        auto *languages = dialog->findChild<QListWidget *>("lvLanguages");
        languages->setCurrentItem(LanguageNamed(dialog, "English"));
        dialog->lvLanguages_DblClick();
        QCOMPARE(ItalianLeft(Captions(*window)).join(" | "), QString());
        QCOMPARE(ReadIni("Config", "Language", paths.iniPath, "none"), QStringLiteral("none"));

        Click(dialog, "cmdOK");
        QCOMPARE(ReadIni("Config", "Language", paths.iniPath, {}), QStringLiteral("English.lng"));
        window->EmbedderDialog();
        QCOMPARE(ItalianLeft(Captions(*window)).join(" | "), QString());
        QCOMPARE(window->MenuEntry("mnuOpen")->text(), QStringLiteral("&Open Archive..."));
        for (const CatalogueEntry &entry : Catalogue()) {
            const QString italianText = QString::fromUtf8(entry.italian);
            QVERIFY2(Texts().*entry.field != italianText || italianText == "&File" || italianText == "&MPQ Embedder...",
                     entry.key);
        }
        window->mnuRefresh_Click();
        QCOMPARE(window->findChild<QLabel *>("StatusBar1Panel1")->text(), QStringLiteral("Ready"));

        // The next start comes up in English.
        window->Form_Unload();
        window.reset();
        LoadLanguage(QString());
        auto again = StartWindow(paths, archive);
        QVERIFY(again);
        QCOMPARE(again->MenuEntry("mnuOpen")->text(), QStringLiteral("&Open Archive..."));
        QCOMPARE(again->Popup("mnuEdit")->title(), QStringLiteral("&Edit"));
        QCOMPARE(LanguageNamed(again->ConfigDialog(), "English")->isSelected(), true);
    }

    void aFileOfOnlyItsNameKeepsItalian()
    {
        auto window = StartWindow(Paths(), archive);
        const QStringList italian = Captions(*window);
        Choose(*window, "Klingon");
        QCOMPARE(Captions(*window), italian);
    }

    void cancelTakesThePreviewBack()
    {
        const StartupPaths paths = Paths();
        auto window = StartWindow(paths, archive);
        const QStringList italian = Captions(*window);
        frmConfig *dialog = window->ConfigDialog();
        dialog->findChild<QListWidget *>("lvLanguages")->setCurrentItem(LanguageNamed(dialog, "English"));
        dialog->lvLanguages_DblClick();
        QVERIFY(Captions(*window) != italian);
        Click(dialog, "cmdCancel");
        QCOMPARE(Captions(*window), italian);
        QCOMPARE(ReadIni("Config", "Language", paths.iniPath, "none"), QStringLiteral("none"));
    }

    void aRecentEntryKeepsItsPath_data()
    {
        QTest::addColumn<bool>("recent");
        QTest::newRow("no recent archive") << false;
        QTest::newRow("a recent archive") << true;
    }
    void aRecentEntryKeepsItsPath()
    {
        QFETCH(bool, recent);
        const StartupPaths paths = Paths();
        if (recent) WriteIni("Recent", "1", archive, paths.iniPath);
        auto window = StartWindow(paths, {});
        Choose(*window, "English");
        const QString first = window->MenuEntry("mnuRecents1")->text();
        QCOMPARE(first, recent ? QStringLiteral("&1  ") + archive : QStringLiteral("No recent files"));
    }

    void theFirstStartAsksForTheLanguage()
    {
        const StartupPaths paths = Paths(false);
        frmMain window(paths);
        bool asked = false;
        QTimer::singleShot(0, &window, [&] {
            frmConfig *dialog = window.ConfigDialog();
            asked = dialog->isVisible() && !window.isVisible() &&
                    dialog->findChild<QWidget *>("picLanguage")->isVisible();
            dialog->findChild<QListWidget *>("lvLanguages")->setCurrentItem(LanguageNamed(dialog, "English"));
            dialog->lvLanguages_DblClick();
            // The dialog itself speaks the language picked.
            asked = asked && dialog->windowTitle() == QStringLiteral("Configuration");
            Click(dialog, "cmdOK");
        });
        window.Form_Load({});
        QVERIFY(asked);
        QCOMPARE(window.MenuEntry("mnuOpen")->text(), QStringLiteral("&Open Archive..."));
        QCOMPARE(ReadIni("Config", "Language", paths.iniPath, {}), QStringLiteral("English.lng"));
        QCOMPARE(window.Config().ExtensionRules.size(), 8);
        window.Form_Unload();
    }

    // OK's values hold for the next add, without a restart.
    void theNextAddFollowsTheSettings_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("encrypt");
        QTest::addColumn<QString>("attributes");
        QTest::newRow("a new rule stores plain") << "notes.txt" << false << "---";
        QTest::newRow("encryption") << "data.bin" << true << "CE-";
        QTest::newRow("no rule, no encryption") << "data.bin" << false << "C--";
    }
    void theNextAddFollowsTheSettings()
    {
        QFETCH(QString, file);
        QFETCH(bool, encrypt);
        const StartupPaths paths = Paths();
        const QString copy = dir.filePath(QStringLiteral("add%1.mpq").arg(windows));
        QFile::copy(archive, copy);
        auto window = StartWindow(paths, copy);
        frmConfig *dialog = window->ConfigDialog();
        dialog->findChild<QLineEdit *>("txtExtension")->setText(".txt");
        Click(dialog, "cmdAdd");  // the type shown after loading: none
        dialog->findChild<QCheckBox *>("chkEncrypt")->setChecked(encrypt);
        Click(dialog, "cmdOK");

        ScriptedDialogs dialogs;
        dialogs.answers = {{WriteFile(dir.filePath("source/" + file), TextData(4000))}};
        window->mnuAdd_Click();
        QString found;
        for (int row = 0; row < window->Model()->rowCount(); ++row)
            if (window->Model()->Row(row).text() == file)
                found = window->Model()->Row(row).columns[ListRow::Attribute];
        QTEST(found, "attributes");
    }

    void theAboutBoxRollsTheCredits()
    {
        auto window = StartWindow(Paths(), archive);
        Choose(*window, "English");
        QStringList lines;
        bool rolling = false;
        QTimer::singleShot(0, window.get(), [&] {
            auto *credits = window->findChild<frmCredits *>();
            if (!credits) return;
            rolling = credits->isVisible() && Scroller().ScrollBox == credits->picCredits;
            for (const CreditsLine &line : CreditsFrame()) lines << line.text;
            credits->picCredits_Click();
        });
        window->mnuAbout_Click();
        QVERIFY(rolling);
        QCOMPARE(lines.value(1), QStringLiteral("version 1.2"));
        QVERIFY(lines.contains("This program uses"));
        QCOMPARE(lines.last(), Texts().LanguageAuthor);
        QVERIFY(!window->findChild<frmCredits *>());
    }
};

QTEST_MAIN(TestLanguages)
#include "test_languages.moc"
