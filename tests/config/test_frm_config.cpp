// The configuration dialog, made for real offscreen: its rule editing, what
// OK writes, what Cancel takes back, and its list files.
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>

#include "config/catalogue.h"
#include "config/frm_config.h"
#include "config/ini_file.h"
#include "config/registry.h"
#include "support/archive_factory.h"
#include "support/scripted_dialogs.h"

using namespace fixtures;

namespace {

// A settings file of the given lines, below "[Config]" or with sections of
// their own.
QByteArray Settings(const QStringList &lines) { return ("[Config]\n" + lines.join('\n') + '\n').toUtf8(); }

QStringList Entries(const QListWidget *list)
{
    QStringList entries;
    for (int row = 0; row < list->count(); ++row) entries << list->item(row)->text();
    return entries;
}

QStringList Rules(const AppConfig &config)
{
    QStringList rules;
    for (qsizetype n = 1; n < config.ExtensionRules.size(); ++n) rules << RuleText(config.ExtensionRules[n]);
    return rules;
}

}  // namespace

class TestFrmConfig : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    int dialogs = 0;

    struct Fixture {
        AppConfig config;
        QString program;
        std::unique_ptr<frmConfig> dialog;
        template <typename T>
        T *Control(const char *name) const
        {
            return dialog->findChild<T *>(QLatin1String(name));
        }
    };

    // A dialog on its own program folder, holding English.lng, and settings.
    std::unique_ptr<Fixture> Open(const QByteArray &settings)
    {
        auto f = std::make_unique<Fixture>();
        f->program = dir.filePath(QStringLiteral("p%1").arg(++dialogs));
        QDir().mkpath(f->program + "/Languages");
        QFile::copy(ARCAVERA_LANGUAGES_SOURCE "/English.lng", f->program + "/Languages/English.lng");
        f->config.IniPath = f->program + "/Arcavera.ini";
        if (!settings.isNull()) WriteFile(f->config.IniPath, settings);
        f->dialog = std::make_unique<frmConfig>(f->config, f->program, QStringLiteral("arcavera"));
        return f;
    }

    void Select(const Fixture &f, const QString &extension)
    {
        auto *list = f.Control<QListWidget>("lstExtensions");
        list->setCurrentItem(list->findItems(extension, Qt::MatchExactly | Qt::MatchCaseSensitive).value(0));
    }

private slots:
    void initTestCase()
    {
        // The association writes into a home of the test's own.
        qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath("home/data")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.filePath("home/config")));
        SetRegistryStorePath(dir.filePath("home/Arcavera.reg"));
    }
    void cleanup() { LoadLanguage(QString()); }

    void editingTheRules_data()
    {
        QTest::addColumn<QStringList>("steps");  // "type X", "add", "select X", "type of rule N", "audio N", "remove"
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QStringList>("rules");
        QTest::addColumn<QString>("box");
        QTest::addColumn<bool>("audioShown");
        const QStringList entries{".bik", ".smk", ".wav"};
        const QStringList rules{".bik,0,0", ".wav,3,1", ".smk,2,0"};
        QTest::newRow("a point is put in front") << QStringList{"type mp3", "add"}
                                                 << QStringList{".bik", ".mp3", ".smk", ".wav"}
                                                 << rules + QStringList{".mp3,0,0"} << "" << false;
        QTest::newRow("the same extension again") << QStringList{"type wav", "add"} << entries << rules << ".wav"
                                                  << false;
        QTest::newRow("case makes another rule") << QStringList{"type .WAV", "add"}
                                                 << QStringList{".bik", ".smk", ".WAV", ".wav"}
                                                 << rules + QStringList{".WAV,0,0"} << "" << false;
        QTest::newRow("a comma is refused") << QStringList{"type .a,b", "add"} << entries << rules << ".a,b" << false;
        QTest::newRow("an empty box adds nothing") << QStringList{"add"} << entries << rules << "" << false;
        QTest::newRow("blanks are dropped") << QStringList{"type  ogg ", "add"}
                                            << QStringList{".bik", ".ogg", ".smk", ".wav"}
                                            << rules + QStringList{".ogg,0,0"} << "" << false;
        QTest::newRow("the type of the rule selected last")
            << QStringList{"select .wav", "type ogg", "add"} << QStringList{".bik", ".ogg", ".smk", ".wav"}
            << rules + QStringList{".ogg,3,1"} << "" << true;
        QTest::newRow("deflate shown, deflate taken")
            << QStringList{"select .smk", "type x", "add"} << QStringList{".bik", ".smk", ".wav", ".x"}
            << rules + QStringList{".x,2,0"} << "" << false;
        QTest::newRow("the audio frame follows the rule") << QStringList{"select .wav", "select .bik"} << entries
                                                          << rules << "" << false;
        QTest::newRow("away from audio keeps the level")
            << QStringList{"select .wav", "type of rule 1"} << entries
            << QStringList{".bik,0,0", ".wav,1,1", ".smk,2,0"} << "" << false;
        QTest::newRow("to audio shows the frame") << QStringList{"select .bik", "type of rule 3"} << entries
                                                  << QStringList{".bik,3,0", ".wav,3,1", ".smk,2,0"} << "" << true;
        QTest::newRow("an audio button sets the level")
            << QStringList{"select .wav", "audio 2"} << entries << QStringList{".bik,0,0", ".wav,3,2", ".smk,2,0"}
            << "" << true;
        QTest::newRow("nothing selected changes nothing") << QStringList{"type of rule 3", "audio 2"} << entries
                                                          << rules << "" << false;
        QTest::newRow("remove moves the later rules down") << QStringList{"select .wav", "remove"}
                                                           << QStringList{".bik", ".smk"}
                                                           << QStringList{".bik,0,0", ".smk,2,0"} << "" << true;
        QTest::newRow("remove without a selection") << QStringList{"remove"} << entries << rules << "" << false;
    }
    void editingTheRules()
    {
        QFETCH(QStringList, steps);
        auto f = Open(Settings({"ExtCount=3", "Ext1=.bik,0,0", "Ext2=.wav,3,1", "Ext3=.smk,2,0"}));
        auto *combo = f->Control<QComboBox>("cmbCompression");
        QCOMPARE(combo->currentText(), QStringLiteral("None"));
        for (const QString &step : std::as_const(steps)) {
            const QString argument = step.section(' ', -1);
            if (step.startsWith("type of rule")) {
                combo->setCurrentIndex(argument.toInt());
                f->dialog->cmbCompression_Click();
            } else if (step.startsWith("type ")) {
                f->Control<QLineEdit>("txtExtension")->setText(step.mid(5));
            } else if (step == "add") {
                f->Control<QPushButton>("cmdAdd")->click();
            } else if (step.startsWith("select")) {
                Select(*f, argument);
            } else if (step.startsWith("audio")) {
                f->Control<QRadioButton>(qPrintable("optAudio" + argument))->click();
            } else if (step == "remove") {
                f->Control<QPushButton>("cmdRemove")->click();
            }
        }
        auto *list = f->Control<QListWidget>("lstExtensions");
        QTEST(Entries(list), "entries");
        QTEST(Rules(f->config), "rules");
        QTEST(f->Control<QLineEdit>("txtExtension")->text(), "box");
        QTEST(!f->Control<QGroupBox>("frmAudioComp")->isHidden(), "audioShown");
        if (steps.contains("remove")) QVERIFY(list->selectedItems().isEmpty());
    }

    void okWritesEveryKeyInItsOrder()
    {
        auto f = Open(QByteArray());
        ScriptedDialogs answers;
        const QString list = WriteFile(dir.filePath("names.txt"), "units\\a.mdx\n");
        answers.answers = {{list}};
        f->Control<QComboBox>("cmbDefaultComp")->setCurrentIndex(1);
        f->Control<QComboBox>("cmbDeflateLevel")->setCurrentIndex(5);
        f->Control<QLineEdit>("txtMaxFiles")->setText("4096");
        f->Control<QCheckBox>("chkEncrypt")->setChecked(true);
        f->Control<QLineEdit>("txtExtension")->setText(".txt");
        f->Control<QPushButton>("cmdAdd")->click();
        f->Control<QPushButton>("cmdAddList")->click();
        f->Control<QCheckBox>("chkUse")->setChecked(false);
        f->Control<QCheckBox>("chkAutoDetectFile")->setChecked(false);
        auto *languages = f->Control<QListWidget>("lvLanguages");
        languages->setCurrentItem(languages->findItems("English", Qt::MatchExactly).value(0));
        f->dialog->show();
        f->Control<QPushButton>("cmdOK")->click();

        QVERIFY(!f->dialog->isVisible());
        QCOMPARE(answers.asked.value(0).title, QStringLiteral("Apri File"));
        QCOMPARE(answers.asked.value(0).nameFilters,
                 QStringList({"File di testo (*.txt) (*.txt)", "Titti i files (*.*) (*)"}));
        const IniDocument written = IniDocument::Load(f->config.IniPath);
        QCOMPARE(written.Keys("Config"),
                 QStringList({"DefaultCompression", "DefaultDeflateLevel", "DefaultMaxFiles", "Associate", "Encrypt",
                              "ExtCount", "Ext1", "Language", "UseLists", "AutoDetectFile"}));
        QCOMPARE(written.Keys("Lists"), QStringList({"File1", "Count"}));
        const QStringList values{"1", "5", "4096", "0", "1", "1", ".txt,0,0", "English.lng", "0", "0"};
        for (qsizetype i = 0; i < values.size(); ++i)
            QCOMPARE(written.Get("Config", written.Keys("Config")[i], {}), values[i]);
        QCOMPARE(written.Get("Lists", "File1", {}), list);

        // The same values hold in memory, and the language is on screen.
        QCOMPARE(f->config.DefaultCompression, qint16(1));
        QCOMPARE(f->config.DefaultDeflateLevel, qint16(5));
        QCOMPARE(f->config.DefaultMaxFiles, 4096);
        QVERIFY(f->config.Encrypt);
        QCOMPARE(f->config.ListFiles, list + "\r\n");
        QCOMPARE(f->config.UseLists, qint16(0));
        QCOMPARE(f->config.AutoDetectFile, qint16(0));
        QCOMPARE(Texts().ConfigCancel, QStringLiteral("Cancel"));
        QCOMPARE(f->dialog->windowTitle(), Texts().ConfigConfiguration);
    }

    void okFollowsTheAssociationBox()
    {
        auto f = Open(Settings({"ExtCount=0"}));
        auto *associate = f->Control<QCheckBox>("chkAssociate");
        associate->setChecked(true);
        f->Control<QPushButton>("cmdOK")->click();
        QCOMPARE(ReadRegistry("HKEY_CLASSES_ROOT\\.mpq\\"), QStringLiteral("Mpq.Archive"));
        QCOMPARE(ReadIni("Config", "Associate", f->config.IniPath, {}), QStringLiteral("1"));
        QVERIFY(QFile::exists(dir.filePath("home/data/applications/arcavera.desktop")));
        associate->setChecked(false);
        f->Control<QPushButton>("cmdOK")->click();
        QCOMPARE(ReadRegistry("HKEY_CLASSES_ROOT\\Mpq.Archive\\"), QString());
        QVERIFY(!QFile::exists(dir.filePath("home/data/applications/arcavera.desktop")));
        // Off again, with nothing left to remove, is no failure.
        f->Control<QPushButton>("cmdOK")->click();
        QCOMPARE(ReadIni("Config", "Associate", f->config.IniPath, {}), QStringLiteral("0"));
    }

    void cancelTakesEverythingBack_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("Cancel") << "cancel";
        QTest::newRow("Escape") << "escape";
        QTest::newRow("the window's close") << "close";
    }
    void cancelTakesEverythingBack()
    {
        QFETCH(QString, how);
        const QString list = WriteFile(dir.filePath("kept.txt"), "x\n");
        auto f = Open(Settings({"ExtCount=1", "Ext1=.wav,3,1", "DefaultMaxFiles=500", "Encrypt=1",
                                "[Lists]", "Count=1", "File1=" + list}));
        f->dialog->show();
        f->Control<QTabBar>("tabConfig")->setCurrentIndex(2);
        Select(*f, ".wav");
        f->Control<QRadioButton>("optAudio0")->click();
        f->Control<QLineEdit>("txtExtension")->setText(".new");
        f->Control<QPushButton>("cmdAdd")->click();
        f->Control<QLineEdit>("txtMaxFiles")->setText("7");
        f->Control<QCheckBox>("chkEncrypt")->setChecked(false);
        delete f->Control<QListWidget>("lstFileLists")->takeItem(0);
        auto *languages = f->Control<QListWidget>("lvLanguages");
        languages->setCurrentItem(languages->findItems("English", Qt::MatchExactly).value(0));
        f->dialog->lvLanguages_DblClick();
        QCOMPARE(Texts().MenuOpen, QStringLiteral("&Open Archive..."));
        QCOMPARE(Rules(f->config), QStringList({".wav,3,0", ".new,3,0"}));

        if (how == "cancel") f->Control<QPushButton>("cmdCancel")->click();
        else if (how == "escape") QTest::keyClick(f->dialog.get(), Qt::Key_Escape);
        else f->dialog->close();

        QVERIFY(!f->dialog->isVisible());
        QCOMPARE(Texts().MenuOpen, QStringLiteral("&Apri Archivio..."));
        QCOMPARE(f->dialog->windowTitle(), QStringLiteral("Configurazioni"));
        QCOMPARE(Rules(f->config), QStringList({".wav,3,1"}));
        QCOMPARE(Entries(f->Control<QListWidget>("lstExtensions")), QStringList({".wav"}));
        QCOMPARE(f->Control<QLineEdit>("txtMaxFiles")->text(), QStringLiteral("500"));
        QVERIFY(f->Control<QCheckBox>("chkEncrypt")->isChecked());
        QCOMPARE(Entries(f->Control<QListWidget>("lstFileLists")), QStringList({list}));
        QCOMPARE(f->config.ListFiles, list + "\r\n");
        QCOMPARE(f->Control<QTabBar>("tabConfig")->currentIndex(), 0);
        QVERIFY(f->Control<QWidget>("picGeneral")->isVisibleTo(f->dialog.get()));
        QCOMPARE(languages->currentItem()->text(), QString::fromUtf8(kBuiltInLanguageName));
    }

    void listFilesThatVanishedDropOut()
    {
        QStringList paths;
        for (const char *name : {"one.txt", "two.txt", "three.txt"})
            paths << WriteFile(dir.filePath(QStringLiteral("vanish/") + name), "x\n");
        auto f = Open(Settings({"ExtCount=0", "[Lists]", "Count=3", "File1=" + paths[0], "File2=" + paths[1],
                                "File3=" + paths[2]}));
        QCOMPARE(Entries(f->Control<QListWidget>("lstFileLists")), paths);
        QFile::remove(paths[1]);
        f->Control<QPushButton>("cmdOK")->click();
        QCOMPARE(Entries(f->Control<QListWidget>("lstFileLists")), QStringList({paths[0], paths[2]}));
        QCOMPARE(f->config.ListFiles, paths[0] + "\r\n" + paths[2] + "\r\n");
        QCOMPARE(ReadIni("Lists", "Count", f->config.IniPath, {}), QStringLiteral("2"));
        QCOMPARE(ReadIni("Lists", "File2", f->config.IniPath, {}), paths[2]);
        // The key above the count stays, unread.
        QCOMPARE(ReadIni("Lists", "File3", f->config.IniPath, {}), paths[2]);
    }

    void removingTheOnlyRuleWritesNoRules()
    {
        auto f = Open(Settings({"ExtCount=1", "Ext1=.wav,3,1", "Ext2=.old,0,0"}));
        Select(*f, ".wav");
        f->Control<QPushButton>("cmdRemove")->click();
        QCOMPARE(f->config.ExtensionRules.size(), 1);
        f->Control<QPushButton>("cmdOK")->click();
        QCOMPARE(ReadIni("Config", "ExtCount", f->config.IniPath, {}), QStringLiteral("0"));
        QCOMPARE(ReadIni("Config", "Ext2", f->config.IniPath, {}), QStringLiteral(".old,0,0"));
    }

    void theMaximumTakesDigitsOnly_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("pasted");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<int>("kept");
        QTest::newRow("digits") << "2048" << false << "2048" << 2048;
        QTest::newRow("other keys are swallowed") << "1a-2 .3" << false << "123" << 123;
        QTest::newRow("backspace passes") << "45\b6" << false << "46" << 46;
        QTest::newRow("six characters at most") << "12345678" << false << "123456" << 123456;
        QTest::newRow("zero passes") << "0" << false << "0" << 0;
        QTest::newRow("empty keeps the old value") << "" << false << "" << 300;
        QTest::newRow("pasted text keeps the old value") << "many" << true << "many" << 300;
    }
    void theMaximumTakesDigitsOnly()
    {
        QFETCH(QString, typed);
        QFETCH(bool, pasted);
        auto f = Open(Settings({"DefaultMaxFiles=300"}));
        f->dialog->show();
        auto *box = f->Control<QLineEdit>("txtMaxFiles");
        box->clear();
        if (pasted) {
            box->setText(typed);
        } else {
            for (const QChar c : typed) {
                if (c == '\b') QTest::keyClick(box, Qt::Key_Backspace);
                else QTest::keyClicks(box, QString(c));
            }
        }
        QTEST(box->text(), "shown");
        f->Control<QPushButton>("cmdOK")->click();
        QTEST(int(f->config.DefaultMaxFiles), "kept");
        QCOMPARE(ReadIni("Config", "DefaultMaxFiles", f->config.IniPath, {}), QString::number(f->config.DefaultMaxFiles));
    }

    void theListButtons()
    {
        const QString list = WriteFile(dir.filePath("lists/a.txt"), "x\n");
        auto f = Open(Settings({"ExtCount=0"}));
        ScriptedDialogs answers;
        answers.answers = {{list}, {list}, {}};
        auto *add = f->Control<QPushButton>("cmdAddList");
        for (int i = 0; i < 3; ++i) add->click();
        auto *lists = f->Control<QListWidget>("lstFileLists");
        QCOMPARE(Entries(lists), QStringList({list}));

        auto *remove = f->Control<QPushButton>("cmdDelList");
        remove->click();  // nothing selected: no question
        QCOMPARE(answers.asked.size(), 3);
        lists->setCurrentRow(0);
        answers.messageAnswers = {MessageButton::No, MessageButton::Yes};
        remove->click();
        QCOMPARE(Entries(lists), QStringList({list}));
        remove->click();
        QVERIFY(Entries(lists).isEmpty());
        QCOMPARE(answers.asked.last().text, QStringLiteral("Vuoi eliminare la lista?"));
    }
};

QTEST_MAIN(TestFrmConfig)
#include "test_frm_config.moc"
