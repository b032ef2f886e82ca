#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "config/app_config.h"
#include "config/ini_file.h"
#include "support/archive_factory.h"

namespace {


qint64 ConfigField(const AppConfig &c, const QString &field)
{
    if (field == "rules") return c.ExtensionRules.size() - 1;
    if (field == "DefaultMaxFiles") return c.DefaultMaxFiles;
    if (field == "DefaultCompression") return c.DefaultCompression;
    if (field == "DefaultDeflateLevel") return c.DefaultDeflateLevel;
    if (field == "UseLists") return c.UseLists;
    if (field == "AutoDetectFile") return c.AutoDetectFile;
    if (field == "Encrypt") return c.Encrypt;
    return -999;
}

double WindowField(const WindowSettings &w, const QString &field)
{
    const QHash<QString, double> fields = {
        {"Width", w.Width}, {"Height", w.Height}, {"Left", w.Left}, {"Top", w.Top},
        {"Splitter", w.Splitter}, {"ToolBar", w.ToolBar}, {"StatusBar", w.StatusBar},
        {"SortKey", w.SortKey}, {"SortOrder", w.SortOrder}, {"ExplorerStyle", w.ExplorerStyle}};
    return fields.value(field, -999);
}

const QByteArray kSeeded =
    "[Config]\r\nExtCount=7\r\nExt1=.bik,0,0\r\nExt2=.smk,0,0\r\nExt3=.mp3,0,0\r\nExt4=.mpq,0,0\r\n"
    "Ext5=.w3m,0,0\r\nExt6=.w3x,0,0\r\nExt7=.wav,3,1\r\n";

}  // namespace

class TestAppConfig : public QObject {
    Q_OBJECT
    QTemporaryDir dir_;
    QString Path(const QString &name) const { return dir_.filePath(name); }
    AppConfig Load(const QString &path, QStringList *lists = nullptr) const
    {
        AppConfig config;
        config.IniPath = path;
        LoadAppConfig(config, lists);
        return config;
    }

private slots:
    void missingFileGivesDefaults()
    {
        const AppConfig c = Load(Path("none.ini"));
        QCOMPARE(c.ExtensionRules.size(), 1);
        QCOMPARE(c.DefaultMaxFiles, 1024);
        QCOMPARE(c.UseLists, 1);
        QCOMPARE(c.AutoDetectFile, 1);
        QCOMPARE(c.DefaultCompression + c.DefaultDeflateLevel + int(c.Encrypt), 0);
        const WindowSettings w = ReadWindowSettings(Path("none.ini"), 19200, 14400);
        QCOMPARE(QList<double>({w.Width, w.Height, w.Left, w.Top, w.Splitter}),
                 QList<double>({8400, 5000, 5400, 4700, 3000}));
        QVERIFY(w.ToolBar && w.StatusBar && !w.ExplorerStyle && w.SortKey == 0 && w.SortOrder == 0);
        QCOMPARE(ReadRecentFiles(Path("none.ini")), QStringList({"", "", "", ""}));
        QVERIFY(!QFile::exists(Path("none.ini")));
    }

    void firstRunSeed()
    {
        const QString path = Path("seed.ini");
        QVERIFY(SeedFirstRun(path));
        QCOMPARE(fixtures::ReadFile(path), kSeeded);
        QVERIFY(!SeedFirstRun(path));
        QCOMPARE(fixtures::ReadFile(path), kSeeded);
        const AppConfig c = Load(path);
        QCOMPARE(c.ExtensionRules.size(), 8);
        QCOMPARE(c.ExtensionRules[1], (ExtensionRule{".bik", 0, 0}));
        QCOMPARE(c.ExtensionRules[7], (ExtensionRule{".wav", 3, 1}));
        fixtures::WriteFile(Path("other.ini"), "[Setting]\r\nWidth=1\r\n");
        QVERIFY(!SeedFirstRun(Path("other.ini")));
    }

    void parseRule_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("extension");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("level");
        QTest::newRow("audio") << ".wav,3,1" << ".wav" << 3 << 1;
        QTest::newRow("none") << ".bik,0,0" << ".bik" << 0 << 0;
        QTest::newRow("blanks around fields") << " .a , 2 , 1 " << ".a" << 2 << 1;
        QTest::newRow("extra fields ignored") << ".a,1,2,x,9" << ".a" << 1 << 2;
        QTest::newRow("extension only") << ".txt" << ".txt" << 0 << 0;
        QTest::newRow("no level") << ".txt,2" << ".txt" << 2 << 0;
        QTest::newRow("only a comma") << "," << "" << 0 << 0;
        QTest::newRow("empty") << "" << "" << 0 << 0;
        QTest::newRow("type out of range") << ".a,4,1" << ".a" << 0 << 1;
        QTest::newRow("level out of range") << ".a,3,3" << ".a" << 3 << 0;
        QTest::newRow("negative") << ".a,-1,-1" << ".a" << 0 << 0;
        QTest::newRow("not numbers") << ".a,x,y" << ".a" << 0 << 0;
        QTest::newRow("decimal rounds") << ".a,2.6,0.4" << ".a" << 3 << 0;
    }
    void parseRule()
    {
        QFETCH(QString, text);
        QFETCH(QString, extension);
        QFETCH(int, type);
        QFETCH(int, level);
        const ExtensionRule rule = ParseRule(text);
        QCOMPARE(rule, (ExtensionRule{extension, qint16(type), qint16(level)}));
        QCOMPARE(ParseRule(RuleText(rule)), rule);
    }

    void handEditedConfig_data()
    {
        QTest::addColumn<QByteArray>("config");
        QTest::addColumn<QString>("field");
        QTest::addColumn<qint64>("expected");
        const QByteArray rules = "Ext1=.a,1,0\nExt2=.b,2,0\nExt3=.c,3,2\n";
        QTest::newRow("ExtCount=abc") << "ExtCount=abc\n" + rules << "rules" << qint64(0);
        QTest::newRow("ExtCount=-3") << "ExtCount=-3\n" + rules << "rules" << qint64(0);
        QTest::newRow("ExtCount above the keys") << "ExtCount=99999999\n" + rules << "rules" << qint64(3);
        QTest::newRow("ExtCount without keys") << QByteArray("ExtCount=99999999\n") << "rules" << qint64(0);
        QTest::newRow("keys above ExtCount") << "ExtCount= 2 \n" + rules << "rules" << qint64(2);
        QTest::newRow("Ext1=,") << QByteArray("ExtCount=1\nExt1=,\n") << "rules" << qint64(1);
        QTest::newRow("DefaultMaxFiles=-5") << QByteArray("DefaultMaxFiles=-5\n") << "DefaultMaxFiles" << qint64(1024);
        QTest::newRow("DefaultMaxFiles=lots") << QByteArray("DefaultMaxFiles=lots\n") << "DefaultMaxFiles" << qint64(1024);
        QTest::newRow("DefaultMaxFiles too big") << QByteArray("DefaultMaxFiles=9999999999\n") << "DefaultMaxFiles" << qint64(1024);
        QTest::newRow("DefaultMaxFiles=4096") << QByteArray("DefaultMaxFiles= 4096\n") << "DefaultMaxFiles" << qint64(4096);
        QTest::newRow("DefaultMaxFiles=0") << QByteArray("DefaultMaxFiles=0\n") << "DefaultMaxFiles" << qint64(0);
        QTest::newRow("DefaultCompression=2") << QByteArray("DefaultCompression=2\n") << "DefaultCompression" << qint64(0);
        QTest::newRow("DefaultCompression=1") << QByteArray("DefaultCompression=1\n") << "DefaultCompression" << qint64(1);
        QTest::newRow("DefaultDeflateLevel=11") << QByteArray("DefaultDeflateLevel=11\n") << "DefaultDeflateLevel" << qint64(0);
        QTest::newRow("DefaultDeflateLevel=10") << QByteArray("DefaultDeflateLevel=10\n") << "DefaultDeflateLevel" << qint64(10);
        QTest::newRow("UseLists=0") << QByteArray("UseLists=0\n") << "UseLists" << qint64(0);
        QTest::newRow("UseLists=7") << QByteArray("UseLists=7\n") << "UseLists" << qint64(1);
        QTest::newRow("AutoDetectFile empty") << QByteArray("AutoDetectFile=\n") << "AutoDetectFile" << qint64(1);
        QTest::newRow("Encrypt=1") << QByteArray("Encrypt=1\n") << "Encrypt" << qint64(1);
        QTest::newRow("Encrypt=2") << QByteArray("Encrypt=2\n") << "Encrypt" << qint64(1);
        QTest::newRow("Encrypt=abc") << QByteArray("Encrypt=abc\n") << "Encrypt" << qint64(0);
    }
    void handEditedConfig()
    {
        QFETCH(QByteArray, config);
        QFETCH(QString, field);
        QFETCH(qint64, expected);
        fixtures::WriteFile(Path("edited.ini"), "[Config]\n" + config);
        QCOMPARE(ConfigField(Load(Path("edited.ini")), field), expected);
    }

    void handEditedSetting_data()
    {
        QTest::addColumn<QByteArray>("setting");
        QTest::addColumn<QString>("field");
        QTest::addColumn<double>("expected");
        QTest::newRow("Width=wide") << QByteArray("Width=wide\n") << "Width" << 8400.0;
        QTest::newRow("Width=-100") << QByteArray("Width=-100\n") << "Width" << 8400.0;
        QTest::newRow("Height=nan") << QByteArray("Height=nan\n") << "Height" << 5000.0;
        QTest::newRow("centred on the width read") << QByteArray("Width=9000\n") << "Left" << 5100.0;
        QTest::newRow("centred on the height read") << QByteArray("Height=4400\nTop=abc\n") << "Top" << 5000.0;
        QTest::newRow("Left may be negative") << QByteArray("Left=-300\n") << "Left" << -300.0;
        QTest::newRow("Splitter fraction") << QByteArray("Splitter= 1234.5 \n") << "Splitter" << 1234.5;
        QTest::newRow("SortKey=9") << QByteArray("SortKey=9\n") << "SortKey" << 0.0;
        QTest::newRow("SortKey=5") << QByteArray("SortKey=5\n") << "SortKey" << 5.0;
        QTest::newRow("SortOrder=2") << QByteArray("SortOrder=2\n") << "SortOrder" << 0.0;
        QTest::newRow("SortOrder=1") << QByteArray("SortOrder=1\n") << "SortOrder" << 1.0;
        QTest::newRow("ToolBar=0") << QByteArray("ToolBar=0\n") << "ToolBar" << 0.0;
        QTest::newRow("StatusBar=x") << QByteArray("StatusBar=x\n") << "StatusBar" << 1.0;
        QTest::newRow("ExplorerStyle=1") << QByteArray("ExplorerStyle=1\n") << "ExplorerStyle" << 1.0;
        QTest::newRow("ExplorerStyle=yes") << QByteArray("ExplorerStyle=yes\n") << "ExplorerStyle" << 0.0;
    }
    void handEditedSetting()
    {
        QFETCH(QByteArray, setting);
        QFETCH(QString, field);
        QFETCH(double, expected);
        fixtures::WriteFile(Path("setting.ini"), "[Setting]\n" + setting);
        QCOMPARE(WindowField(ReadWindowSettings(Path("setting.ini"), 19200, 14400), field), expected);
    }

    void windowAndRecentRoundTrip()
    {
        const QString path = Path("window.ini");
        fixtures::WriteFile(path, "; mine\r\n[Config]\r\nExtCount=0\r\n");
        WindowSettings w;
        w.Width = 9000.5f;
        w.Left = -15;
        w.Top = 0.1f;
        w.StatusBar = false;
        w.SortKey = 3;
        w.SortOrder = 1;
        w.ExplorerStyle = true;
        WriteWindowSettings(w, path);
        WriteRecentFiles({"/a/one.mpq", QStringLiteral("/b/\u00e9 two.w3x ")}, path);
        QCOMPARE(fixtures::ReadFile(path),
                 QByteArray("; mine\r\n[Config]\r\nExtCount=0\r\n[Setting]\r\nWidth=9000.5\r\nHeight=5000\r\n"
                            "Left=-15\r\nTop=0.1\r\nSplitter=3000\r\nToolBar=1\r\nStatusBar=0\r\nSortKey=3\r\n"
                            "SortOrder=1\r\nExplorerStyle=1\r\n[Recent]\r\n1=/a/one.mpq\r\n"
                            "2=\"/b/\xC3\xA9 two.w3x \"\r\n3=\r\n4=\r\n"));
        const WindowSettings r = ReadWindowSettings(path, 1, 1);
        QCOMPARE(QList<float>({r.Width, r.Left, r.Top, r.Height}), QList<float>({9000.5f, -15, 0.1f, 5000}));
        QCOMPARE(ReadRecentFiles(path), QStringList({"/a/one.mpq", QStringLiteral("/b/\u00e9 two.w3x "), "", ""}));
    }

    void listFilesThatVanishDropOut()
    {
        fixtures::WriteFile(Path("a.txt"), "x");
        fixtures::WriteFile(Path("b.txt"), "x");
        const QByteArray lists = "[Lists]\nCount=4\nFile1=" + Path("a.txt").toUtf8() + "\nFile2=" +
                                 Path("gone.txt").toUtf8() + "\nFile3=" + dir_.path().toUtf8() +
                                 "\nFile4=" + Path("b.txt").toUtf8() + "\nFile5=" + Path("a.txt").toUtf8() + "\n";
        fixtures::WriteFile(Path("lists.ini"), lists);
        QStringList paths;
        const AppConfig c = Load(Path("lists.ini"), &paths);
        QCOMPARE(paths, QStringList({Path("a.txt"), Path("b.txt")}));
        QCOMPARE(c.ListFiles, Path("a.txt") + "\r\n" + Path("b.txt") + "\r\n");
    }

    void saveWritesInDialogOrder()
    {
        fixtures::WriteFile(Path("l1.txt"), "x");
        fixtures::WriteFile(Path("l2.txt"), "x");
        AppConfig c;
        c.IniPath = Path("saved.ini");
        c.ExtensionRules = {{}, {".wav", 3, 2}, {".txt", 2, 0}};
        c.DefaultCompression = 1;
        c.DefaultDeflateLevel = 10;
        c.DefaultMaxFiles = 2048;
        c.UseLists = 0;
        c.AutoDetectFile = 0;
        c.Encrypt = true;
        SaveAppConfig(c, {Path("l1.txt"), Path("gone.txt"), Path("l2.txt")}, true, "English.lng");
        QCOMPARE(fixtures::ReadFile(c.IniPath),
                 "[Config]\r\nDefaultCompression=1\r\nDefaultDeflateLevel=10\r\nDefaultMaxFiles=2048\r\n"
                 "Associate=1\r\nEncrypt=1\r\nExtCount=2\r\nExt1=.wav,3,2\r\nExt2=.txt,2,0\r\n"
                 "Language=English.lng\r\nUseLists=0\r\nAutoDetectFile=0\r\n[Lists]\r\nFile1=" +
                     Path("l1.txt").toUtf8() + "\r\nFile2=" + Path("l2.txt").toUtf8() + "\r\nCount=2\r\n");
        const AppConfig r = Load(c.IniPath);
        QCOMPARE(r.ExtensionRules, c.ExtensionRules);
        QCOMPARE(r.ListFiles, Path("l1.txt") + "\r\n" + Path("l2.txt") + "\r\n");
        QVERIFY(ReadAssociate(c.IniPath));
        QCOMPARE(ReadLanguage(c.IniPath), QString("English.lng"));
    }

    void shrinkingLeavesHigherKeys()
    {
        const QString path = Path("shrink.ini");
        fixtures::WriteFile(path, kSeeded + "[Lists]\r\nCount=2\r\nFile1=/x\r\nFile2=/y\r\n");
        AppConfig c = Load(path);
        c.ExtensionRules.resize(3);
        SaveAppConfig(c, {}, false, {});
        QCOMPARE(Load(path).ExtensionRules.size(), 3);
        QCOMPARE(ReadIni("Config", "ExtCount", path, {}), QString("2"));
        QCOMPARE(ReadIni("Config", "Ext7", path, {}), QString(".wav,3,1"));
        QCOMPARE(ReadIni("Lists", "File2", path, {}), QString("/y"));
        QCOMPARE(ReadIni("Lists", "Count", path, {}), QString("0"));
        c.ExtensionRules.append({".new", 1, 0});
        SaveAppConfig(c, {}, false, {});
        QCOMPARE(ReadIni("Config", "Ext3", path, {}), QString(".new,1,0"));
        QCOMPARE(Load(path).ExtensionRules.last(), (ExtensionRule{".new", 1, 0}));
    }

    void iniLocation()
    {
        QCOMPARE(LocateIniPath(dir_.path()), Path("Arcavera.ini"));
        qputenv("XDG_CONFIG_HOME", Path("xdg").toUtf8());
        QCOMPARE(LocateIniPath(Path("no/such/folder")), Path("xdg/arcavera/Arcavera.ini"));
    }
};

QTEST_APPLESS_MAIN(TestAppConfig)
#include "test_app_config.moc"
