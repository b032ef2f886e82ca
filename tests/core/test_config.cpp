// The settings file and what the program keeps in it, the language files,
// the registry store and the association of ".mpq" files.
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include "config/app_config.h"
#include "config/catalogue.h"
#include "config/file_association.h"
#include "config/ini_file.h"
#include "config/registry.h"
#include "support/archive_factory.h"
#include "support/file_size_limit.h"

#include <unistd.h>

using namespace fixtures;

namespace {

const QString kCR = QStringLiteral("HKEY_CLASSES_ROOT\\");
const QString kEnglish = QStringLiteral(ARCAVERA_LANGUAGES_SOURCE "/English.lng");

// A value of the settings as the program loads it, by the name of its key.
QString Loaded(const QString &iniPath, const QString &key)
{
    AppConfig c;
    c.IniPath = iniPath;
    LoadAppConfig(c);
    const WindowSettings w = ReadWindowSettings(iniPath, 19200, 14400);
    const QHash<QString, QString> values = {
        {"Rules", QString::number(c.ExtensionRules.size() - 1)}, {"Ext1", RuleText(c.ExtensionRules.value(1))},
        {"DefaultMaxFiles", QString::number(c.DefaultMaxFiles)}, {"Encrypt", QString::number(c.Encrypt)},
        {"Left", QString::number(w.Left)}};
    return values.value(key, "<no such key>");
}

QString Text(const QString &name)
{
    for (const CatalogueEntry &entry : Catalogue())
        if (QLatin1String(entry.section) + u'/' + QLatin1String(entry.key) == name) return Texts().*entry.field;
    return QStringLiteral("<no such key>");
}

}  // namespace

class TestConfig : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString Path(const QString &name) const { return dir.filePath(name); }
    QString Store() const { return Path("settings/Arcavera.reg"); }
    QString DesktopEntry() const { return Path("data/applications/io.github.arcavera.Arcavera.desktop"); }

private slots:
    void initTestCase()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(Path("data")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(Path("config")));
    }
    void init()
    {
        for (const char *name : {"data", "config", "settings"}) QDir(Path(name)).removeRecursively();
        SetRegistryStorePath(Store());
    }
    void cleanup() { LoadLanguage(QString()); }

    void iniRead_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected");  // of key K in section A
        QTest::newRow("any case, blanks dropped") << QByteArray("[a]\r\n  k \t=  some value \t\r\n") << "some value";
        QTest::newRow("one pair of quotes") << QByteArray("[A]\nK= \"\"x\"\" \n") << "\"x\"";
        QTest::newRow("the key of the next section") << QByteArray("[A]\nJ=1\n[B]\nK=2\n") << "<default>";
        QTest::newRow("the first of two") << QByteArray("[A]\nK=1\nk=2\n[a]\nK=3\n") << "1";
        QTest::newRow("comments, lines without =") << QByteArray("[A]\n; K=1\nK\nK=a=b\n") << "a=b";
        QTest::newRow("byte order mark, no last line end") << QByteArray("\xEF\xBB\xBF[A]\r\nK=v") << "v";
        QTest::newRow("Windows-1252") << QByteArray("[A]\nK=caf\xE9 \x80\n") << QStringLiteral("caf\u00e9 \u20ac");
    }
    void iniRead()
    {
        QFETCH(QByteArray, content);
        QTEST(ReadIni("A", "K", WriteFile(Path("read.ini"), content), "<default>"), "expected");
    }

    void iniWrite_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QString>("value");  // of key K in section A
        QTest::addColumn<QByteArray>("after");
        QTest::newRow("in place, the rest as it was") << QByteArray("; top\r\n[a]\r\nW=1\r\n  k = 2 \n; note\r\n\r\n[B]\r\nK=9\r\n")
                                                      << "3" << QByteArray("; top\r\n[a]\r\nW=1\r\n  k=3\n; note\r\n\r\n[B]\r\nK=9\r\n");
        QTest::newRow("a new key before the blank lines") << QByteArray("[A]\nJ=1\n\n\n[B]\n") << "5"
                                                          << QByteArray("[A]\nJ=1\nK=5\n\n\n[B]\n");
        QTest::newRow("a new section after a last line without end") << QByteArray("[B]\r\nJ=1") << "2"
                                                                     << QByteArray("[B]\r\nJ=1\r\n[A]\r\nK=2\r\n");
        QTest::newRow("blanks and quotes kept by quotes") << QByteArray("[A]\n") << " \"q\" " << QByteArray("[A]\nK=\" \"q\" \"\n");
        QTest::newRow("cut at a line break") << QByteArray("[A]\n") << "a\r\nb=c" << QByteArray("[A]\nK=a\n");
    }
    void iniWrite()
    {
        QFETCH(QByteArray, before);
        QFETCH(QString, value);
        const QString path = WriteFile(Path("write.ini"), before);
        WriteIni("A", "K", value, path);
        QTEST(ReadFile(path), "after");
        QCOMPARE(ReadIni("A", "K", path, {}), value.left(value.indexOf(QRegularExpression("[\r\n]"))));
    }

    // The old content stays until the new one is complete; nothing stray is left.
    void failedWritesLeaveTheSettingsAsTheyWere()
    {
        const QString folder = CaseFolder(dir.path());
        const QString path = WriteFile(folder + "/Arcavera.ini", "; mine\r\n[Config]\r\nExtCount=0\r\n");
        WriteFile(folder + "/plain", "x");
        const QMap<QString, QByteArray> before = Tree(folder);
        {
            FileSizeLimit limit(64);
            WriteIni("Lists", "File1", QString(200, 'x'), path);
        }
        WriteIni("A", "K", "1", folder + "/plain/inside.ini");  // a file where its folder should be, then a folder for the file
        WriteIni("A", "K", "1", folder);
        QCOMPARE(Tree(folder), before);
    }

    // What the configuration dialog's OK and the window's close write, in order, read back.
    void settingsComeBackAsWritten()
    {
        const QString path = WriteFile(Path("round.ini"), "; mine\r\n[Config]\r\nExtCount=3\r\nExt3=.old,0,0\r\nX=y\r\n");
        const QString list = WriteFile(Path("names.txt"), "x\n");
        const AppConfig c{.ExtensionRules = {{}, {".wav", 3, 2}, {QStringLiteral(".\u00e9"), 2, 0}}, .DefaultCompression = 1,
                          .DefaultDeflateLevel = 10, .DefaultMaxFiles = 2048, .UseLists = 0, .ListFiles = {}, .AutoDetectFile = 0,
                          .RecoverNames = 0, .Encrypt = true, .IniPath = path};
        SaveAppConfig(c, {list, Path("gone.txt")}, true, "English.lng");
        WriteWindowSettings({.Width = 9000.5f, .Left = -15, .Top = 0.1f, .StatusBar = false, .SortKey = 3, .SortOrder = 1, .ExplorerStyle = true}, path);
        WriteRecentFiles({"/a/one.mpq", QStringLiteral("/b/\u00e9 two.w3x ")}, path);
        QCOMPARE(ReadFile(path),
                 "; mine\r\n[Config]\r\nExtCount=2\r\nExt3=.old,0,0\r\nX=y\r\nDefaultCompression=1\r\n"
                 "DefaultDeflateLevel=10\r\nDefaultMaxFiles=2048\r\nAssociate=1\r\nEncrypt=1\r\nExt1=.wav,3,2\r\n"
                 "Ext2=.\xC3\xA9,2,0\r\nLanguage=English.lng\r\nUseLists=0\r\nAutoDetectFile=0\r\nRecoverNames=0\r\n[Lists]\r\nFile1=" + list.toUtf8() +
                     "\r\nCount=1\r\n[Setting]\r\nWidth=9000.5\r\nHeight=5000\r\nLeft=-15\r\nTop=0.1\r\nSplitter=3000\r\nToolBar=1\r\n"
                     "StatusBar=0\r\nSortKey=3\r\nSortOrder=1\r\nExplorerStyle=1\r\n[Recent]\r\n1=/a/one.mpq\r\n2=\"/b/\xC3\xA9 two.w3x \"\r\n3=\r\n4=\r\n");
        AppConfig r{.ListFiles = {}, .IniPath = path};
        QStringList lists;
        LoadAppConfig(r, &lists);
        QCOMPARE(r.ExtensionRules, c.ExtensionRules);  // Ext3 is above the count: not read
        QCOMPARE(QList<int>({r.DefaultCompression, r.DefaultDeflateLevel, r.DefaultMaxFiles, r.UseLists, r.AutoDetectFile, r.RecoverNames, r.Encrypt, ReadAssociate(path)}),
                 QList<int>({1, 10, 2048, 0, 0, 0, 1, 1}));
        QCOMPARE(lists, QStringList{list});
        QCOMPARE(r.ListFiles + ReadLanguage(path), list + "\r\nEnglish.lng");
        const WindowSettings w = ReadWindowSettings(path, 1, 1);
        QCOMPARE(QList<float>({w.Width, w.Height, w.Left, w.Top, w.Splitter, float(w.ToolBar), float(w.StatusBar), float(w.SortKey), float(w.SortOrder), float(w.ExplorerStyle)}),
                 QList<float>({9000.5f, 5000, -15, 0.1f, 3000, 1, 0, 3, 1, 1}));
        QCOMPARE(ReadRecentFiles(path), QStringList({"/a/one.mpq", QStringLiteral("/b/\u00e9 two.w3x "), "", ""}));
        QFile::remove(list);  // a list file that has gone since drops out
        LoadAppConfig(r, &lists);
        QVERIFY(lists.isEmpty() && r.ListFiles.isEmpty());
    }

    void handEditedSettings_data()
    {
        QTest::addColumn<QByteArray>("file");  // null: no file
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("no file: the window centred") << QByteArray() << "Left" << "5400";
        QTest::newRow("ExtCount no number") << QByteArray("[Config]\nExtCount=abc\nExt1=.a,1,0\n") << "Rules" << "0";
        QTest::newRow("ExtCount beyond the keys") << QByteArray("[Config]\nExtCount=99999999\nExt1=.a,1,0\nExt2=,\n") << "Rules" << "2";
        QTest::newRow("a rule out of range") << QByteArray("[Config]\nExtCount=1\nExt1= .a , 4 , 1.6 ,x\n") << "Ext1" << ".a,0,2";
        QTest::newRow("DefaultMaxFiles too big") << QByteArray("[Config]\nDefaultMaxFiles=9999999999\n") << "DefaultMaxFiles" << "1024";
        QTest::newRow("Encrypt any number") << QByteArray("[Config]\nEncrypt=2\n") << "Encrypt" << "1";
        QTest::newRow("centred on the width read") << QByteArray("[Setting]\nWidth=9000\nLeft=abc\n") << "Left" << "5100";
    }
    void handEditedSettings()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, key);
        const QString path = Path(DataTagFileName() + ".ini");
        if (!file.isNull()) WriteFile(path, file);
        QTEST(Loaded(path, key), "expected");
        QCOMPARE(QFile::exists(path), !file.isNull());
    }

    // Beside a portable copy of the program, else in the user's own folder, which
    // starts as a copy of a portable file it cannot write; else in the temporary folder.
    void settingsPlace_data()
    {
        QTest::addColumn<QString>("program");   // its folder: "ini" (Arcavera.ini), "build" (CMakeCache.txt), "", "read-only"
        QTest::addColumn<QString>("own");       // the user's settings folder: "" (none yet), "own" (a file), "no folder"
        QTest::addColumn<QString>("expected");  // the place chosen, and what it holds
        QTest::newRow("installed") << "" << "" << "own: ";
        QTest::newRow("portable") << "ini" << "own" << "beside: shared";
        QTest::newRow("build folder") << "build" << "" << "beside: ";
        QTest::newRow("read-only") << "ini read-only" << "" << "own: shared";
        QTest::newRow("read-only, the user's own file") << "ini read-only" << "own" << "own: own";
        QTest::newRow("no settings folder can be made") << "" << "no folder" << "spare: ";
    }
    void settingsPlace()
    {
        QFETCH(QString, program);
        QFETCH(QString, own);
        const QString folder = Path("program"), ownPath = Path("config/arcavera/Arcavera.ini"), tmpdir = qEnvironmentVariable("TMPDIR");
        QVERIFY(QDir(folder).removeRecursively() && QDir().mkpath(folder) && QDir().mkpath(Path("tmp")));
        // Root writes whatever the permissions say: a read-only mount stops it.
        const bool readOnly = program.endsWith("read-only"), mount = readOnly && ::geteuid() == 0;
        if (mount && QProcess::execute("mount", {"-t", "tmpfs", "tmpfs", folder}) != 0) QSKIP("no file system to mount");
        const auto restore = qScopeGuard([&] {
            if (mount) QProcess::execute("umount", {folder});
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            QFile::remove(Path("config"));
            qputenv("TMPDIR", QFile::encodeName(tmpdir));
        });
        qputenv("TMPDIR", QFile::encodeName(Path("tmp")));
        if (!program.isEmpty()) WriteFile(folder + (program == "build" ? "/CMakeCache.txt" : "/Arcavera.ini"), "shared");
        if (!own.isEmpty()) WriteFile(own == "own" ? ownPath : Path("config"), own.toUtf8());
        if (mount) QVERIFY(QProcess::execute("mount", {"-o", "remount,ro", folder}) == 0);
        else if (readOnly) QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
        const QString path = LocateIniPath(folder), spare = Path("tmp/Arcavera-%1-settings/Arcavera.ini").arg(::getuid());
        const QString place = path == folder + "/Arcavera.ini" ? "beside" : path == ownPath ? "own" : path == spare ? "spare" : path;
        QTEST(place + ": " + QString::fromUtf8(ReadFile(path)), "expected");
        QCOMPARE(QFile::exists(folder + "/Arcavera.ini"), program.startsWith("ini"));  // nothing written beside the program
    }

    // The user's first start seeds the rules, once.
    void firstRunSeedsTheRulesOnce()
    {
        const QString path = Path("config/arcavera/Arcavera.ini");
        QVERIFY(SeedFirstRun(path));
        QVERIFY(!SeedFirstRun(path));
        QCOMPARE(ReadFile(path), QByteArray("[Config]\r\nExtCount=7\r\nExt1=.bik,0,0\r\nExt2=.smk,0,0\r\nExt3=.mp3,0,0\r\n"
                                            "Ext4=.mpq,0,0\r\nExt5=.w3m,0,0\r\nExt6=.w3x,0,0\r\nExt7=.wav,3,1\r\n"));
        AppConfig c{.ListFiles = {}, .IniPath = path};
        LoadAppConfig(c);
        QCOMPARE(c.ExtensionRules, FirstRunRules());
        QVERIFY(!SeedFirstRun(WriteFile(Path("other.ini"), "[Setting]\r\nWidth=1\r\n")));  // settings of another kind
    }

    // A language file sets what it holds; the rest is Italian, not the language before it.
    void languageFile_data()
    {
        QTest::addColumn<QByteArray>("file");  // null: no file
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("only its name") << QByteArray("[Language]\nName=Klingon\n") << "Menu/Open" << "&Apri Archivio...";
        QTest::newRow("no file") << QByteArray() << "Message/Delete" << "Sei sicuro di volere eliminare i files?";
        QTest::newRow("present but empty") << QByteArray("[Menu]\nOpen=\n") << "Menu/Open" << "";
        QTest::newRow("Windows-1252") << QByteArray("[Column]\nSize=Gr\xf6\xdf" "e\n") << "Column/Size"
                                      << QString::fromUtf8("Größe");
    }
    void languageFile()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, key);
        LoadLanguage(kEnglish);
        LoadLanguage(file.isNull() ? Path("gone.lng") : WriteFile(Path("test.lng"), file));
        QTEST(Text(key), "expected");
    }

    // A language file names the filters; their patterns stay.
    void filtersAndPlaceholders()
    {
        LoadLanguage(WriteFile(Path("filters.lng"), "[Filter]\nmpq=Archives\nall=Everything\nexe=*.com\n"));
        QCOMPARE(Texts().FilterEXE.split(QChar(0)), QStringList({"*.com", "*.exe", "Everything", "*.*"}));
        QCOMPARE(Texts().FilterArchives.split(QChar(0)).value(11), QStringLiteral("*.mpq;*.exe;*.snp;*.scm;*.scx;*.w3m;*.w3x;*.w3n;*.SC2Replay;*.SC2Map;*.s2ma"));
        QCOMPARE(ReplaceValue("%v: %V %v", "a.txt"), QStringLiteral("a.txt: %V a.txt"));
    }

    // The built-in Italian, then the .lng files below the folder under their Name, else file name.
    void languageList()
    {
        const QString folder = Path("lists/Languages");
        QCOMPARE(ListLanguages(folder, {}).items.size(), 1);
        WriteFile(folder + "/De.lng", "[Language]\nName=Deutsch\nQtLocale=de\n");
        WriteFile(folder + "/fr.lng", "[Menu]\nOpen=x\n");
        WriteFile(folder + "/more/.x.lng", "[Language]\nName=Extra\nQtLocale=de-CH\n");
        WriteFile(folder + "/notes.txt", "[Language]\nName=No\n");
        const LanguageList list = ListLanguages(folder, {});
        QStringList found;
        for (const LanguageItem &item : list.items) found << item.text + "|" + item.tag + "|" + item.locale;
        QCOMPARE(found, QStringList({QString::fromUtf8(kBuiltInLanguageName) + "||it", "Deutsch|De.lng|de", "fr.lng|fr.lng|it", "Extra|.x.lng|de_CH"}));
        QCOMPARE(ListLanguages(folder, "dE.LNG").selected, 1);
        QCOMPARE(ListLanguages(folder, "es.lng").selected, 0);  // the chosen file has gone
        // The first start's: the system's locale, else its language, else Italian.
        for (const auto &[system, item] : {std::pair{"de_CH", 3}, {"de-AT", 1}, {"fr_FR", 0}, {"C", 0}}) QCOMPARE(LanguageOfLocale(list, system), item);
    }

    // The command-line tool's language: the settings' when they name one, else the terminal's, else English.
    void commandLineLanguage_data()
    {
        QTest::addColumn<QString>("settings");  // the settings file's text; empty for no file
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("spoken");    // the language file's name; empty for the built-in Italian
        QTest::newRow("named by the settings") << "[Config]\nLanguage=De.lng\n" << "C" << "De.lng";
        QTest::newRow("the built-in, named") << "[Config]\nLanguage=\n" << "en_US.UTF-8" << "";
        QTest::newRow("settings without it") << "[Config]\nSortKey=1\n" << "it_IT.UTF-8" << "";
        QTest::newRow("a language that ships") << "" << "de_AT.UTF-8@euro" << "De.lng";
        QTest::newRow("C") << "" << "C" << "English.lng";
        QTest::newRow("no locale") << "" << "" << "English.lng";
        QTest::newRow("a language that does not ship") << "" << "fr_FR.UTF-8" << "English.lng";
    }
    void commandLineLanguage()
    {
        QFETCH(QString, settings);
        QFETCH(QString, locale);
        QFETCH(QString, spoken);
        const QString folder = Path("cli-languages");
        WriteFile(folder + "/English.lng", "[Language]\nQtLocale=en\n");
        WriteFile(folder + "/De.lng", "[Language]\nQtLocale=de\n");
        const QString ini = Path(QStringLiteral("cli-%1.ini").arg(QTest::currentDataTag()));
        if (!settings.isEmpty()) WriteFile(ini, settings.toUtf8());
        QCOMPARE(CommandLineLanguage(folder, ini, locale), LanguageFilePath(folder, spoken));
    }

    // The English file that ships translates every text; placeholders and patterns stay.
    void englishTranslatesEveryText()
    {
        const IniDocument english = IniDocument::Load(kEnglish);
        QCOMPARE(english.Get("Language", "Name", {}), QStringLiteral("English"));
        const QStringList alike = {"&File", "&MPQ Embedder..."};
        for (const CatalogueEntry &entry : Catalogue()) {
            const QString text = english.Get(entry.section, entry.key, {}), italian = QString::fromUtf8(entry.italian);
            const bool filter = QByteArray(entry.section) == "Filter";
            QVERIFY2(!text.isEmpty() && (text != italian || alike.contains(italian)) && text.count("%v") == italian.count("%v") &&
                         !text.contains('|') && !text.contains('#') && (!filter || text.endsWith(italian.mid(italian.indexOf('(')))),
                     entry.key);
        }
    }

    // Written, then read in other case after another write has read and written the whole store.
    void registryWriteThenRead_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("expected");  // null: the write is refused
        const QString k = QStringLiteral("HKEY_CURRENT_USER\\Software\\Arcavera\\");
        const QString text = QStringLiteral("\"hi\" C:\\d\\\r\n\u20ac\U0001F600");
        QTest::newRow("a default value") << k << "x" << "" << "x";
        QTest::newRow("escapes, line breaks, non-ASCII") << k + QStringLiteral("\u00dc\\N") << text << "" << text;
        QTest::newRow("REG_EXPAND_SZ as written") << k + "N" << "%TEMP%\\x" << "REG_EXPAND_SZ" << "%TEMP%\\x";
        QTest::newRow("REG_DWORD largest") << k + "N" << " 4294967295 " << "reg_dword" << "4294967295";
        QTest::newRow("REG_DWORD too large") << k + "N" << "4294967296" << "REG_DWORD" << QString();
        QTest::newRow("unknown hive") << "HKEY_NOWHERE\\A\\" << "x" << "" << QString();
        QTest::newRow("an empty key name") << "HKCU\\A\\\\B\\" << "x" << "" << QString();
    }
    void registryWriteThenRead()
    {
        QFETCH(QString, key);
        QFETCH(QString, value);
        QFETCH(QString, type);
        QFETCH(QString, expected);
        QCOMPARE(WriteRegistry(key, value, type), !expected.isNull());
        QCOMPARE(QFile::exists(Store()), !expected.isNull());
        QVERIFY(WriteRegistry("HKEY_CURRENT_USER\\Other\\", "o"));
        QCOMPARE(ReadRegistry(key.toLower()), QString(expected));
    }

    void registryStoreFile()
    {
        QVERIFY(WriteRegistry("HKCU\\S\\A\\B\\V", "1", "REG_DWORD"));
        QVERIFY(WriteRegistry("HKCU\\s\\a\\", "\"q\\"));
        QVERIFY(WriteRegistry("HKEY_CLASSES_ROOT\\.x\\", "e", "REG_EXPAND_SZ"));
        QCOMPARE(ReadFile(Store()), QByteArray("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\S]\r\n"
                                                "\r\n[HKEY_CURRENT_USER\\S\\A]\r\n@=\"\\\"q\\\\\"\r\n"
                                                "\r\n[HKEY_CURRENT_USER\\S\\A\\B]\r\n\"V\"=dword:00000001\r\n"
                                                "\r\n[HKEY_CLASSES_ROOT\\.x]\r\n@=hex(2):65,00,00,00\r\n"));
        DeleteRegistry("HKCU\\S\\A\\");  // holds a subkey: stays
        QCOMPARE(ReadRegistry("HKCU\\S\\A\\"), QStringLiteral("\"q\\"));
        for (const char *key : {"HKCU\\S\\A\\B\\", "HKCU\\S\\A\\"}) DeleteRegistry(key);  // the child, then the parent
        QCOMPARE(ReadRegistry("HKCU\\S\\A\\") + ReadRegistry("HKCU\\S\\A\\B\\V"), QString());
        // A store damaged by hand gives what can be read, and is written whole again.
        WriteFile(Store(), "[HKEY_CURRENT_USER\\A]\r\n@=\"a\"\r\n\"N\"=\"1\r\n\"M\"=hex(2):61,00,\\\r\n 62,00,00,00\r\n[HKCU\\B\r\n@=\"b\"\r\n");
        QVERIFY(WriteRegistry("HKCU\\New\\", "n"));
        QCOMPARE(ReadRegistry("HKCU\\A\\") + ReadRegistry("HKCU\\A\\M") + ReadRegistry("HKCU\\A\\N"), QStringLiteral("aab"));
        // Without a store, or with one that cannot be written, every write is refused.
        SetRegistryStorePath(QString());
        QVERIFY(!WriteRegistry("HKCU\\S\\", "x"));
        SetRegistryStorePath(WriteFile(Path("plain"), "x") + "/Arcavera.reg");
        QVERIFY(!WriteRegistry("HKCU\\S\\", "x"));
    }

    // What the store does not answer, the desktop's MIME database does.
    void mimeDatabaseAnswersTheRest()
    {
        QCOMPARE(ReadRegistry("hkcr\\.TXT\\"), QStringLiteral("text/plain"));
        QCOMPARE(ReadRegistry(kCR + ".qqzzxy\\") + ReadRegistry("HKEY_CURRENT_USER\\.txt\\"), QString());
        QVERIFY(!ReadRegistry(kCR + "text/plain\\").isEmpty() && !ReadRegistry(kCR + "text/plain\\").contains('/'));
        QVERIFY(WriteRegistry(kCR + ".txt\\", "mine"));
        QCOMPARE(ReadRegistry(kCR + ".txt\\"), QStringLiteral("mine"));
    }

    // Written twice, then removed: registry, desktop entry, MIME package, the
    // default application of each type, and what an earlier version wrote.
    void associationWrittenAndRemoved()
    {
        const QString folder = QStringLiteral("/opt/My a\"$\\");
        const QString apps = Path("config/mimeapps.list"), former = WriteFile(Path("data/applications/arcavera.desktop"), "");
        const QByteArray mine = "# mine\n[Default Applications]\ntext/plain=a.desktop\n", rest = "\n[Added Associations]\nb=c;\n";
        WriteFile(apps, mine + "application/x-mpq=other.desktop\n" + rest);
        const QByteArray dataDirs = qgetenv("XDG_DATA_DIRS");
        qputenv("XDG_DATA_DIRS", QFile::encodeName(Path("system")));  // no icon theme holds the program's icon
        WriteAssociation(folder, "arcavera");
        qputenv("XDG_DATA_DIRS", dataDirs);
        QVERIFY(ReadFile(DesktopEntry()).contains("\nIcon=/opt/My a\"$\\\\/MPQFile.ico\n") && !QFile::exists(former));
        WriteFile(Path("data/icons/hicolor/scalable/apps/io.github.arcavera.Arcavera.svg"), "<svg/>");
        const QByteArray store = ReadFile(Store());
        WriteAssociation(folder, "arcavera");
        QCOMPARE(ReadFile(Store()), store);
        QByteArray ours;
        for (const char *type : {"x-mpq", "x-warcraft3-map", "x-warcraft3-campaign", "x-starcraft-map", "x-starcraft2-map",
                                 "x-starcraft2-replay"})
            ours += QByteArray("application/") + type + "=io.github.arcavera.Arcavera.desktop\n";
        QCOMPARE(ReadFile(apps), mine + ours + rest);
        QStringList values;
        for (const char *key : {".mpq\\", "Mpq.Archive\\", "Mpq.Archive\\DefaultIcon\\", "mpq.archive\\Shell\\Open\\command\\"})
            values << ReadRegistry(kCR + key);
        QCOMPARE(values, QStringList({"Mpq.Archive", "MPQ Archive", folder + "/MPQFile.ico", "\"" + folder + "/arcavera\" \"%1\""}));
        const QStringList entry = QString::fromUtf8(ReadFile(DesktopEntry())).split('\n');
        QVERIFY(entry.contains("Exec=\"/opt/My a\\\\\"\\\\$\\\\\\\\/arcavera\" %F") && entry.contains("Icon=io.github.arcavera.Arcavera"));
        QCOMPARE(ReadFile(Path("data/mime/packages/io.github.arcavera.Arcavera.xml")),
                 ReadFile(ARCAVERA_LANGUAGES_SOURCE "/../desktop/io.github.arcavera.Arcavera.xml"));

        QVERIFY(WriteRegistry(kCR + "Mpq.Archive\\shell\\print\\", "print it"));
        RemoveAssociation();
        QCOMPARE(ReadRegistry(kCR + "Mpq.Archive\\shell\\print\\"), QStringLiteral("print it"));
        QCOMPARE(ReadRegistry(kCR + "Mpq.Archive\\"), QStringLiteral("MPQ Archive"));  // "shell" stayed below it
        QCOMPARE(ReadRegistry(kCR + "Mpq.Archive\\shell\\open\\command\\"), QString());
        QVERIFY(ReadRegistry(kCR + ".mpq\\") != "Mpq.Archive");
        QVERIFY(!QFile::exists(DesktopEntry()));
        QCOMPARE(ReadFile(apps), mine + rest);
        // An earlier version's line goes too; with a data folder that cannot
        // be written, nothing else is written.
        WriteFile(apps, mine + "application/x-mpq=arcavera.desktop\n" + rest);
        RemoveAssociation();
        QCOMPARE(ReadFile(apps), mine + rest);
        QVERIFY(QDir(Path("data")).removeRecursively());
        WriteFile(Path("data"), "no folder");
        WriteAssociation(folder, "arcavera");
        QCOMPARE(ReadFile(apps), mine + rest);
        QFile::remove(Path("data"));
    }

    // The desktop's own tools see the association: xdg-mime's default for
    // the type, the type of a ".mpq" file, and a double click that opens it.
    void desktopSeesTheAssociation()
    {
        if (QStandardPaths::findExecutable("xdg-mime").isEmpty() || QStandardPaths::findExecutable("mimetype").isEmpty())
            QSKIP("xdg-mime and File::MimeInfo's mimetype are not installed");
        qputenv("HOME", QFile::encodeName(Path("home")));
        const auto ask = [](const QString &program, const QStringList &arguments) {
            QProcess process;
            process.start(program, arguments);
            process.waitForFinished(30000);
            return QString::fromUtf8(process.readAllStandardOutput()).section('\n', 0, 0).trimmed();
        };
        WriteFile(Path("data/applications/aother.desktop"),
                  "[Desktop Entry]\nType=Application\nName=Other\nExec=true %f\nMimeType=application/x-mpq;\n");
        // The program notes the command line a double click gives it.
        WriteFile(Path("bin/arcavera"), "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$(dirname \"$0\")/opened\"\n");
        QFile::setPermissions(Path("bin/arcavera"), QFile::ReadOwner | QFile::ExeOwner);
        const QString archive = WriteFile(Path("x.mpq"), QByteArray("MPQ\x1a\x20\0\0\0\0\1\2\3", 12));
        const QStringList query = {"query", "default", "application/x-mpq"};
        QCOMPARE(ask("xdg-mime", query), QStringLiteral("aother.desktop"));
        WriteAssociation(Path("bin"), "arcavera");
        QCOMPARE(ask("xdg-mime", query), QString(kDesktopEntryName));
        QCOMPARE(ask("xdg-mime", {"query", "filetype", archive}), QStringLiteral("application/x-mpq"));
        if (!qEnvironmentVariableIsSet("DISPLAY")) qputenv("DISPLAY", ":0");  // xdg-open reads desktop entries only then
        ask("xdg-open", {archive});
        QTRY_COMPARE_WITH_TIMEOUT(QString::fromUtf8(ReadFile(Path("bin/opened"))), archive + "\n", 10000);
        RemoveAssociation();
        QCOMPARE(ask("xdg-mime", query), QStringLiteral("aother.desktop"));
        QVERIFY(ask("xdg-mime", {"query", "filetype", archive}) != "application/x-mpq");
    }
};

QTEST_GUILESS_MAIN(TestConfig)
#include "test_config.moc"
