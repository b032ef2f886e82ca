// The forms for real offscreen, answered through the dialog seam: the configuration dialog, the
// property dialogs, the MPQ Embedder, the rolling credits, and English reaching every window.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QMenu>
#include <QMimeDatabase>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <optional>

#include "about/frm_credits.h"
#include "about/scrolling_credits_widget.h"
#include "config/catalogue.h"
#include "config/frm_config.h"
#include "config/ini_file.h"
#include "config/registry.h"
#include "dialogs/dialogs_qt.h"
#include "properties/frm_info_file.h"
#include "properties/frm_info_mpq.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "shell/frm_main.h"
#include "support/archive_factory.h"
#include "support/scripted_dialogs.h"
#include "support/window_fixture.h"
#include "support/file_size_limit.h"
#include "tools/frm_mpq_embedder.h"

using namespace fixtures;

namespace {

template <typename T = QWidget>
T *Find(const QObject *form, const QString &name) { return form->findChild<T *>(name); }

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

// Numbers as the user's locale writes them, its group separator included.
QString Grouped(qint64 value)
{
    QLocale locale = QLocale::system();
    locale.setNumberOptions(locale.numberOptions() & ~QLocale::OmitGroupSeparator);
    return locale.toString(value);
}
QString Percent(double value) { return QLocale::system().toString(value, 'f', 2) + QLocale::system().percent(); }

// The bar's saved part is as high as its share.
void CheckBar(const frmProperties *dialog, double share)
{
    QCOMPARE(dialog->RatioHeight(), share > 0 ? float(share * 2415.0) : 0.0f);
    QVERIFY(qAbs(dialog->picRatio()->height() - qMax(share, 0.0) * dialog->picSize()->height()) <= 1.0);
}

// The embedder as shown: "file | verdict | add, export MPQ, export EXE" as + or -.
QString EmbedderState(const frmMPQEmbedder &form)
{
    QString buttons;
    for (const char *name : {"cmdAddMPQ", "cmdSaveMPQ", "cmdSaveEXE"}) buttons += Find<QPushButton>(&form, name)->isEnabled() ? '+' : '-';
    return Find<QLineEdit>(&form, "txtFile")->text() + " | " + Find<QLabel>(&form, "lblMessage")->text() + " | " + buttons;
}

// The captions of the window and its dialogs (titles, labels, buttons,
// frames, tabs, menus, tool tips, the list's headers) still in Italian.
QStringList ItalianCaptions(frmMain &window)
{
    QSet<QString> italian;
    for (const CatalogueEntry &entry : Catalogue()) italian.insert(QString::fromUtf8(entry.italian));
    for (const char *alike : {"", "&File", "&MPQ Embedder...", "Ok"}) italian.remove(QString::fromUtf8(alike));
    QStringList texts;
    QList<QWidget *> widgets = window.findChildren<QWidget *>();
    widgets.prepend(&window);
    for (QWidget *widget : std::as_const(widgets)) {
        const QString name = widget->objectName() + ": ";
        if (widget->isWindow()) texts << name + widget->windowTitle();
        // A status text and the embedder's verdict keep their language until the next one is shown.
        if (auto *label = qobject_cast<QLabel *>(widget); label && name != "StatusBar1Panel1: " && name != "lblMessage: ") texts << name + label->text();
        if (auto *button = qobject_cast<QAbstractButton *>(widget)) texts << name + button->text();
        if (auto *frame = qobject_cast<QGroupBox *>(widget)) texts << name + frame->title();
        if (auto *tabs = qobject_cast<QTabBar *>(widget)) for (int i = 0; i < tabs->count(); ++i) texts << name + tabs->tabText(i);
    }
    for (QAction *action : window.findChildren<QAction *>()) texts << action->objectName() + ": " + action->text() << action->objectName() + ": " + action->toolTip();
    for (int column = 0; column < ListRow::ColumnCount; ++column) texts << "column: " + window.Model()->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    texts.removeIf([&](const QString &text) { return !italian.contains(text.section(": ", 1)); });
    return texts;
}

}  // namespace

class TestForms : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    int folders = 0;
    QString archive;  // a small map the windows open

    // The folders of a window of its own, its settings file seeded, with English.lng.
    StartupPaths Paths()
    {
        const StartupPaths paths = WindowPaths(dir.filePath(QStringLiteral("w%1").arg(++folders)));
        QDir().mkpath(paths.programFolder + "/Languages");
        QFile::copy(ARCAVERA_LANGUAGES_SOURCE "/English.lng", paths.programFolder + "/Languages/English.lng");
        return paths;
    }
    std::unique_ptr<frmConfig> ConfigDialog(AppConfig &config, const QByteArray &settings)
    {
        const StartupPaths paths = Paths();
        config.IniPath = WriteFile(paths.iniPath, settings);
        return std::make_unique<frmConfig>(config, paths.programFolder, QStringLiteral("arcavera"));
    }

private slots:
    void initTestCase()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath("home/data")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.filePath("home/config")));
        SetRegistryStorePath(dir.filePath("home/Arcavera.reg"));
        archive = ArchiveIn(dir.path(), "map.mpq", {{"war3map.j", TextData(300)}, {"units\\a.mdx", TextData(80)}});
    }
    void cleanup() { LoadLanguage(QString()); }

    // Steps on the rules .bik,0,0 .wav,3,1 .smk,2,0: "type X", "add", "select X", "audio N", "remove".
    void editingTheRules_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QStringList>("rules");
        QTest::addColumn<bool>("audioShown");
        const QStringList rules{".bik,0,0", ".wav,3,1", ".smk,2,0"};
        QTest::newRow("a point put in front, blanks dropped") << QStringList{"type  mp3 ", "add"} << rules + QStringList{".mp3,0,0"} << false;
        QTest::newRow("a comma refused, a rule once") << QStringList{"type .a,b", "add", "type wav", "add"} << rules << false;
        QTest::newRow("the type of the rule selected last") << QStringList{"select .wav", "type ogg", "add"} << rules + QStringList{".ogg,3,1"} << true;
        QTest::newRow("an audio button sets the level") << QStringList{"select .wav", "audio 2"} << QStringList{".bik,0,0", ".wav,3,2", ".smk,2,0"} << true;
        QTest::newRow("remove") << QStringList{"select .wav", "remove"} << QStringList{".bik,0,0", ".smk,2,0"} << true;
    }
    void editingTheRules()
    {
        QFETCH(QStringList, steps);
        AppConfig config;
        auto dialog = ConfigDialog(config, "[Config]\nExtCount=3\nExt1=.bik,0,0\nExt2=.wav,3,1\nExt3=.smk,2,0\n");
        auto *list = Find<QListWidget>(dialog.get(), "lstExtensions");
        for (const QString &step : std::as_const(steps)) {
            const QString argument = step.section(' ', -1);
            if (step.startsWith("type ")) Find<QLineEdit>(dialog.get(), "txtExtension")->setText(step.mid(5));
            else if (step.startsWith("select")) list->setCurrentItem(list->findItems(argument, Qt::MatchExactly).value(0));
            else if (step.startsWith("audio")) Find<QRadioButton>(dialog.get(), "optAudio" + argument)->click();
            else Find<QPushButton>(dialog.get(), step == "add" ? "cmdAdd" : "cmdRemove")->click();
        }
        QTEST(Rules(config), "rules");
        QTEST(!Find(dialog.get(), "frmAudioComp")->isHidden(), "audioShown");
        QStringList extensions = Rules(config).replaceInStrings(QRegularExpression(",.*"), ""), shown = Entries(list);
        QCOMPARE(QSet<QString>(shown.begin(), shown.end()), QSet<QString>(extensions.begin(), extensions.end()));
    }

    // OK takes the controls into the settings; the association follows its box.
    void okTakesTheControls()
    {
        AppConfig config;
        auto dialog = ConfigDialog(config, "[Config]\nExtCount=0\n");
        ScriptedDialogs answers;
        const QString list = WriteFile(dir.filePath("names.txt"), "units\\a.mdx\n");
        answers.answers = {{list}, {list}};
        for (int i = 0; i < 2; ++i) Find<QPushButton>(dialog.get(), "cmdAddList")->click();  // the same list once
        Find<QComboBox>(dialog.get(), "cmbDeflateLevel")->setCurrentIndex(5);
        Find<QLineEdit>(dialog.get(), "txtMaxFiles")->setText("4096");
        Find<QCheckBox>(dialog.get(), "chkEncrypt")->setChecked(true);
        Find<QCheckBox>(dialog.get(), "chkAssociate")->setChecked(true);
        auto *recover = Find<QCheckBox>(dialog.get(), "chkRecoverNames");
        QVERIFY(recover->isChecked());  // on by default
        recover->setChecked(false);
        auto *languages = Find<QListWidget>(dialog.get(), "lvLanguages");
        languages->setCurrentItem(languages->findItems("English", Qt::MatchExactly).value(0));
        dialog->show();
        Find<QPushButton>(dialog.get(), "cmdOK")->click();
        QVERIFY(!dialog->isVisible());
        QCOMPARE(QList<int>({config.DefaultDeflateLevel, config.DefaultMaxFiles, config.Encrypt, config.RecoverNames}),
                 QList<int>({5, 4096, 1, 0}));
        QCOMPARE(config.ListFiles + ReadIni("Config", "DefaultMaxFiles", config.IniPath, {}), list + "\r\n4096");
        QCOMPARE(ReadLanguage(config.IniPath) + " " + dialog->windowTitle(), QStringLiteral("English.lng Configuration"));
        QCOMPARE(ReadRegistry("HKEY_CLASSES_ROOT\\.mpq\\"), QStringLiteral("Mpq.Archive"));
        Find<QCheckBox>(dialog.get(), "chkAssociate")->setChecked(false);
        Find<QPushButton>(dialog.get(), "cmdOK")->click();
        QVERIFY(!QFile::exists(dir.filePath("home/data/applications/arcavera.desktop")) && !ReadAssociate(config.IniPath));
    }

    // Cancel, or the window's close, reads the file anew: edits and a previewed language go.
    void cancelTakesEverythingBack_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("Cancel") << "cancel";
        QTest::newRow("the window's close") << "close";
    }
    void cancelTakesEverythingBack()
    {
        QFETCH(QString, how);
        const QString list = WriteFile(dir.filePath("kept.txt"), "x\n");
        AppConfig config;
        auto dialog = ConfigDialog(config, "[Config]\nExtCount=1\nExt1=.wav,3,1\nDefaultMaxFiles=500\n[Lists]\nCount=1\nFile1=" + list.toUtf8());
        dialog->show();
        Find<QLineEdit>(dialog.get(), "txtExtension")->setText(".new");
        Find<QPushButton>(dialog.get(), "cmdAdd")->click();
        Find<QLineEdit>(dialog.get(), "txtMaxFiles")->setText("7");
        delete Find<QListWidget>(dialog.get(), "lstFileLists")->takeItem(0);
        auto *languages = Find<QListWidget>(dialog.get(), "lvLanguages");
        languages->setCurrentItem(languages->findItems("English", Qt::MatchExactly).value(0));
        dialog->lvLanguages_DblClick();
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Configuration"));
        if (how == "cancel") Find<QPushButton>(dialog.get(), "cmdCancel")->click();
        else dialog->close();
        QVERIFY(!dialog->isVisible());
        QCOMPARE(Texts().MenuOpen + " " + dialog->windowTitle(), QStringLiteral("&Apri Archivio... Configurazioni"));
        QCOMPARE(Rules(config) + Entries(Find<QListWidget>(dialog.get(), "lstExtensions")), QStringList({".wav,3,1", ".wav"}));
        QCOMPARE(Entries(Find<QListWidget>(dialog.get(), "lstFileLists")) << Find<QLineEdit>(dialog.get(), "txtMaxFiles")->text(), QStringList({list, "500"}));
        QCOMPARE(languages->currentItem()->text(), QString::fromUtf8(kBuiltInLanguageName));
    }

    // The New box offers the four formats, each with the games that read it, starts at the
    // one asked for and gives back the one chosen.
    void newArchiveBoxOffersEveryFormat()
    {
        QtDialogProvider provider;
        QStringList offered;
        int shownFirst = -1;
        QTimer::singleShot(0, [&] {
            auto *box = qobject_cast<QDialog *>(QApplication::activeModalWidget());
            auto *format = box ? box->findChild<QComboBox *>() : nullptr;
            if (!format) return;
            for (int i = 0; i < format->count(); ++i) offered << format->itemText(i);
            shownFirst = format->currentIndex();
            format->setCurrentIndex(3);
            box->accept();
        });
        const NewArchiveChoice chosen = provider.ChooseNewArchive(nullptr, NewArchiveChoice{true, 3, 100});
        QCOMPARE(shownFirst, 2);
        QCOMPARE(chosen.format, 4);
        QCOMPARE(offered.size(), 4);
        QVERIFY(offered[0].contains("WarCraft III") && offered[3].contains("StarCraft II"));
    }

    // A stored file's values as its dialog shows them from the list: sizes as listed, the saving and its bar.
    void fileProperties_data()
    {
        QTest::addColumn<QString>("row");
        QTest::addColumn<QString>("shown");  // name|path|type|ratio|attributes
        QTest::addColumn<double>("share");
        const QString wave = QMimeDatabase().mimeTypeForFile("x.wav", QMimeDatabase::MatchExtension).comment();
        QTest::newRow("half, in a folder") << "data\\x.wav" << "x.wav|data\\|" + wave + "|" + Percent(50) + "|C--|1" << 0.5;
        QTest::newRow("stored larger, a registered type") << "grown.bin" << "grown.bin||Dati di gioco|" + Percent(-50) + "|---|1" << -0.5;
        // The desktop calls a model a "Genesis 32X ROM": the game's types come first.
        QTest::newRow("a game's type") << "units\\f.MDX" << "f.MDX|units\\|Modello 3D|" + Percent(0) + "|---|1" << 0.0;
    }
    void fileProperties()
    {
        QFETCH(QString, row);
        const QString path = WriteFile(dir.filePath("rows.mpq"), HandMadeArchive(16, {
            {"data\\x.wav", QByteArray(1000, 'w'), 0xFFFFFFFF, 0x80000200, 500}, {"grown.bin", QByteArray(100, 'g'), 0xFFFFFFFF, 0x80000000, 150},
            {"units\\f.MDX", "MDLX"}, {"(listfile)", "data\\x.wav\r\ngrown.bin\r\nunits\\f.MDX\r\n"}}));
        auto window = StartWindow(Paths(), path);
        QVERIFY(window && WriteRegistry("HKEY_CLASSES_ROOT\\.bin\\", "Game.Data") && WriteRegistry("HKEY_CLASSES_ROOT\\Game.Data\\", "Dati di gioco"));
        for (int r = 0; r < window->Model()->rowCount(); ++r)
            if (window->Model()->Row(r).text() == row) window->List()->setCurrentIndex(window->Model()->index(r, 0));
        frmInfoFile *dialog = window->InfoFileDialog();
        QStringList shown;  // read while the dialog is on screen, then Ok closes it
        QTimer::singleShot(0, dialog, [&] {
            for (QLabel *label : {dialog->lblName, dialog->lblPath, dialog->lblType, dialog->lblRatio2, dialog->lblAttibutes}) shown << label->text();
            shown << QString::number(dialog->isVisible());
            dialog->cmdOK()->click();
        });
        window->mnuPopupInfoFile_Click();
        QTEST(shown.join('|'), "shown");
        const ListRow &listed = window->Model()->Row(window->List()->currentIndex().row());
        QCOMPARE(dialog->lblSize->text() + " " + dialog->lblCompress->text(), ColumnText(listed, ListRow::Size) + " " + ColumnText(listed, ListRow::Compressed));
        QFETCH(double, share);
        CheckBar(dialog, share);
    }

    // The archive's values, numbers in the locale's format; a file that has gone shows no length, date, saving
    // or layout, nor the lines of a map's header.
    void archiveProperties_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<qint64>("unpacked");
        QTest::addColumn<bool>("onDisk");
        QTest::addColumn<QString>("ratio");
        QTest::addColumn<double>("share");
        QTest::newRow("over 4 GiB") << (qint64(3) << 30) << (qint64(6) << 30) << true << Percent(50) << 0.5;
        QTest::newRow("nothing listed") << qint64(0) << qint64(0) << true << "0%" << 0.0;
        QTest::newRow("the file gone") << qint64(0) << qint64(4000) << false << "" << 0.0;
    }
    void archiveProperties()
    {
        QFETCH(qint64, size);
        QFETCH(qint64, unpacked);
        QFETCH(bool, onDisk);
        frmInfoMPQ dialog;
        std::optional<ArchiveDetails> details;
        std::optional<MapHeader> map;
        std::optional<MapDetails> mapDetails;
        if (onDisk) {
            details = ArchiveDetails{2, 512, 4096, 1024, 3, 3, ArchiveSignature::Weak}, map = MapHeader{"My Map", 0x24};
            mapDetails = MapDetails{};
            mapDetails->name = "|cffff0000Red|r Map", mapDetails->description = "Two|nlines";
        }
        dialog.ShowArchive({.folder = "/maps/", .name = "x.w3x", .onDisk = onDisk, .size = size, .lastChange = QDateTime::currentDateTime(),
                            .unpacked = unpacked, .headerCount = 1234567, .rowsShown = 1234567, .details = details, .mapHeader = map,
                            .mapDetails = mapDetails});
        // The map's details follow its header, on one line each, colour codes gone.
        const std::vector<QLabel *> &lines = dialog.MapDetailLabels();
        QCOMPARE(lines[0]->isVisibleTo(&dialog), onDisk);
        QCOMPARE(lines[0]->text() + "/" + lines[2]->text(), onDisk ? "Red Map/Two lines" : "/");
        QCOMPARE(QStringList({dialog.lblPath->text(), dialog.lblName->text(), dialog.lblSize->text(), dialog.lblDecompress->text(), dialog.lblNFiles->text()}),
                 QStringList({"/maps/", "x.w3x", onDisk ? Grouped(size) : "", Grouped(unpacked), "1234567"}));
        const QStringList layout{dialog.lblFormat->text(), dialog.lblOffset->text(), dialog.lblSectorSize->text(), dialog.lblHashTable->text(),
                                 dialog.lblUsedSlots->text(), dialog.lblBlockTable->text(), dialog.lblSignature->text(), dialog.lblMapFlags->text()};
        QCOMPARE(layout.join('|'), onDisk ? "2|512|" + Grouped(4096) + "|" + Grouped(1024) + "|3|3|Debole|0x00000024" : "|||||||");
        QCOMPARE(dialog.lblMapName->isVisibleTo(&dialog) && dialog.lblMapName->text() == "My Map", onDisk);
        QCOMPARE(dialog.lblLast->text().isEmpty(), !onDisk);
        QTEST(dialog.lblRatio()->text(), "ratio");
        QFETCH(double, share);
        CheckBar(&dialog, share);
    }

    // Files picked one after another: the verdict and the buttons that follow it, the add and the exports;
    // a failure says so and changes nothing; closing only hides.
    void theEmbedder()
    {
        const QString folder = dir.filePath("embedder");
        WriteFile(folder + "/game.exe", ExeBytes(1000));
        WriteFile(folder + "/plain.mpq", ArchiveBytes(300));
        WriteFile(folder + "/big.mpq", ArchiveBytes(2 << 20));
        WriteFile(folder + "/text.txt", "no executable");
        ScriptedDialogs dialogs;
        frmMPQEmbedder form;
        form.show();
        const auto pick = [&](const char *button, const QString &name) {
            dialogs.answers.append(name.isEmpty() ? QStringList() : QStringList{folder + "/" + name});
            QTest::mouseClick(Find<QPushButton>(&form, button), Qt::LeftButton);
            return EmbedderState(form);
        };
        const MessageStrings &t = Texts();
        QCOMPARE(pick("cmdBrowse", "text.txt"), folder + "/text.txt | " + t.EmbedderNoEXE + " | ---");
        QCOMPARE(pick("cmdBrowse", "game.exe"), folder + "/game.exe | " + t.EmbedderNoMPQ + " | +--");
        QCOMPARE(pick("cmdBrowse", ""), folder + "/game.exe | " + t.EmbedderNoMPQ + " | +--");
        const QMap<QString, QByteArray> files = Tree(folder);
        QCOMPARE(pick("cmdAddMPQ", "gone.mpq"), folder + "/game.exe | " + t.EmbedderNoMPQ + " | +--");
        std::optional<FileSizeLimit> fullDisk(1 << 20);
        QCOMPARE(pick("cmdAddMPQ", "big.mpq"), folder + "/game.exe | " + t.EmbedderNoMPQ + " | +--");
        fullDisk.reset();
        QCOMPARE(Tree(folder), files);
        QCOMPARE(pick("cmdAddMPQ", "plain.mpq"), folder + "/game.exe | " + t.EmbedderOkMPQ + " | -++");
        QCOMPARE(ReadFile(folder + "/game.exe"), ExeBytes(1000) + QByteArray(24, '\0') + ArchiveBytes(300));
        pick("cmdSaveEXE", "game.exe");
        pick("cmdSaveEXE", "out.exe");
        QCOMPARE(pick("cmdSaveMPQ", "out.mpq"), folder + "/game.exe | " + t.EmbedderOkMPQ + " | -++");
        QCOMPARE(ReadFile(folder + "/out.exe") + ReadFile(folder + "/out.mpq"), ReadFile(folder + "/game.exe"));
        QStringList messages;
        for (const ScriptedDialogs::Question &question : std::as_const(dialogs.asked)) messages << (question.kind == "message" ? question.text : "");
        QCOMPARE(messages.filter(QRegularExpression(".")), QStringList({"Impossibile aprire il file \"" + folder + "/gone.mpq\".",
                                     "Impossibile scrivere il file \"" + folder + "/game.exe\".",
                                     "Il file \"" + folder + "/game.exe\" è il file di partenza: scegline un altro."}));
        QTest::mouseClick(Find<QPushButton>(&form, "cmdClose"), Qt::LeftButton);
        QVERIFY(!form.isVisible());
        form.show();
        QCOMPARE(EmbedderState(form), folder + "/game.exe | " + t.EmbedderOkMPQ + " | -++");
    }

    // Each line in its colour and size, centred, under the one before; a prefix a translation spoils is text.
    void theCreditsRoll()
    {
        CreditsBox box;
        box.resize(202, 102);  // 200 × 100 inside the border
        box.setFont(QFont(QStringLiteral("DejaVu Sans"), 12));
        box.SetForeColor(QColor(0, 100, 0));
        StartCredits(&box, "0,0,128,20#Title|next|#1 fan|300,-5,128#x|a,b,c#y|0,0,0,1e308#z", 40);
        QStringList drawn;
        const QVector<CreditsLine> frame = CreditsFrame();
        for (const CreditsLine &line : frame) {
            drawn << line.text + " " + line.color.name() + " " + QString::number(line.pointSize);
            QFont font = box.font();
            font.setPointSizeF(line.pointSize);
            QVERIFY(qAbs(line.x - (200 - line.x - QFontMetrics(font, &box).horizontalAdvance(line.text))) <= 1);
            QCOMPARE(line.y, &line == frame.begin() ? 100 : (&line - 1)->y + (&line - 1)->height);
        }
        QCOMPARE(drawn, QStringList({"Title #000080 20", "next #006400 12", "#1 fan #006400 12", "x #ff0080 12", "a,b,c#y #006400 12", "z #000000 96"}));
        int ticks = 0;  // until the text starts again from the bottom
        for (int before = 101; Scroller().ScrollY < before && ticks < 100000; ++ticks) before = Scroller().ScrollY, ScrollCredits();
        QCOMPARE(ticks, int(100 + CreditsWrapDepth()) + 1);
        QCOMPARE(Scroller().ScrollY, 100);
        StopCredits();
    }

    // English at once on every window at a double click, stored by OK, in the credits and at the next start.
    void englishReachesEveryWindow()
    {
        const StartupPaths paths = Paths();
        auto window = StartWindow(paths, archive);
        QVERIFY(window);
        window->InfoFileDialog(), window->InfoMPQDialog(), window->EmbedderDialog();
        QVERIFY(ItalianCaptions(*window).size() > 100);
        frmConfig *dialog = window->ConfigDialog();
        auto *languages = Find<QListWidget>(dialog, "lvLanguages");
        languages->setCurrentItem(languages->findItems("English", Qt::MatchExactly).value(0));
        dialog->lvLanguages_DblClick();
        QCOMPARE(ItalianCaptions(*window).join(" | "), QString());
        QCOMPARE(ReadIni("Config", "Language", paths.iniPath, "none"), QStringLiteral("none"));
        Find<QPushButton>(dialog, "cmdOK")->click();
        QCOMPARE(ReadIni("Config", "Language", paths.iniPath, {}), QStringLiteral("English.lng"));
        QCOMPARE(window->MenuEntry("mnuRecents1")->text(), "&1  " + archive);
        window->mnuRefresh_Click();
        QCOMPARE(Find<QLabel>(window.get(), "StatusBar1Panel1")->text(), QStringLiteral("Ready"));
        QStringList lines;
        QTimer::singleShot(0, window.get(), [&] {
            for (const CreditsLine &line : CreditsFrame()) lines << line.text;
            if (auto *credits = window->findChild<frmCredits *>()) QTest::keyClick(credits, Qt::Key_Escape);
        });
        window->mnuAbout_Click();
        QVERIFY(Scroller().ScrollTimer.isNull() && !window->findChild<frmCredits *>());
        QCOMPARE(lines.value(1), QStringLiteral("version %1.%2").arg(ARCAVERA_VERSION_MAJOR).arg(ARCAVERA_VERSION_MINOR));
        QVERIFY(lines.contains("This program uses") && lines.last() == Texts().LanguageAuthor);
        window->Form_Unload();
        window.reset();
        LoadLanguage(QString());
        auto again = StartWindow(paths, archive);
        QVERIFY(again);
        QCOMPARE(again->MenuEntry("mnuOpen")->text() + " " + again->Popup("mnuEdit")->title(), QStringLiteral("&Open Archive... &Edit"));
    }
};

QTEST_MAIN(TestForms)
#include "test_forms.moc"
