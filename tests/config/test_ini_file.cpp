#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "config/ini_file.h"
#include "support/archive_factory.h"

namespace {


}  // namespace

class TestIniFile : public QObject {
    Q_OBJECT
    QTemporaryDir dir_;
    QString Path(const QString &name) const { return dir_.filePath(name); }

private slots:
    void read_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("section");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("exact") << QByteArray("[Config]\r\nExtCount=7\r\n") << "Config" << "ExtCount" << "7";
        QTest::newRow("any case") << QByteArray("[config]\r\nEXTCOUNT=7\r\n") << "CONFIG" << "extCount" << "7";
        QTest::newRow("blanks stripped") << QByteArray("[A]\n  Key \t=  some value \t\n") << "A" << "key" << "some value";
        QTest::newRow("one pair of quotes") << QByteArray("[A]\nK= \" padded \" \n") << "A" << "K" << " padded ";
        QTest::newRow("only one pair") << QByteArray("[A]\nK=\"\"x\"\"\n") << "A" << "K" << "\"x\"";
        QTest::newRow("unmatched quote kept") << QByteArray("[A]\nK=\"x\n") << "A" << "K" << "\"x";
        QTest::newRow("present and empty") << QByteArray("[A]\nK=\n") << "A" << "K" << "";
        QTest::newRow("empty quotes") << QByteArray("[A]\nK=\"\"\n") << "A" << "K" << "";
        QTest::newRow("absent key") << QByteArray("[A]\nJ=1\n") << "A" << "K" << "<default>";
        QTest::newRow("absent section") << QByteArray("[A]\nK=1\n") << "B" << "K" << "<default>";
        QTest::newRow("key of the next section") << QByteArray("[A]\nJ=1\n[B]\nK=2\n") << "A" << "K" << "<default>";
        QTest::newRow("key before any section") << QByteArray("K=1\n[A]\nJ=2\n") << "A" << "K" << "<default>";
        QTest::newRow("line without = ignored") << QByteArray("[A]\nK\nK=2\n") << "A" << "K" << "2";
        QTest::newRow("comment ignored") << QByteArray("[A]\n; K=1\nK=2\n") << "A" << "K" << "2";
        QTest::newRow("first of two keys") << QByteArray("[A]\nK=1\nk=2\n") << "A" << "K" << "1";
        QTest::newRow("first of two sections") << QByteArray("[A]\nK=1\n[a]\nK=2\nJ=3\n") << "A" << "J" << "<default>";
        QTest::newRow("= inside the value") << QByteArray("[A]\nK=a=b\n") << "A" << "K" << "a=b";
        QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBF[A]\r\nK=1\r\n") << "A" << "K" << "1";
        QTest::newRow("section name with blanks") << QByteArray("[ A ]\nK=1\n") << "A" << "K" << "1";
        QTest::newRow("last line without end") << QByteArray("[A]\nK=v") << "A" << "K" << "v";
        QTest::newRow("UTF-8") << QByteArray("[A]\nK=caf\xC3\xA9\n") << "A" << "K" << QStringLiteral("caf\u00e9");
        QTest::newRow("Windows-1252") << QByteArray("[A]\nK=caf\xE9 \x80\n") << "A" << "K" << QStringLiteral("caf\u00e9 \u20ac");
    }
    void read()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, section);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        fixtures::WriteFile(Path("read.ini"), content);
        QCOMPARE(ReadIni(section, key, Path("read.ini"), "<default>"), expected);
    }

    void missingFileGivesDefault()
    {
        QCOMPARE(ReadIni("A", "K", Path("none.ini"), "dflt"), QString("dflt"));
        QCOMPARE(ReadIni("A", "K", dir_.path(), "dflt"), QString("dflt"));
    }

    void write_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QString>("section");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<QString>("readBack");
        QTest::newRow("in place, rest kept")
            << QByteArray("; top\r\n[Setting]\r\nWidth=1\r\n; note\r\nheight = 2 \r\nX=y\r\n\r\n[Other]\r\nHeight=9\r\n")
            << "setting" << "Height" << "3"
            << QByteArray("; top\r\n[Setting]\r\nWidth=1\r\n; note\r\nheight=3\r\nX=y\r\n\r\n[Other]\r\nHeight=9\r\n") << "3";
        QTest::newRow("indent and mixed ends kept")
            << QByteArray("[A]\r\n  MyKey = old\n; c\r\n") << "A" << "mykey" << "new"
            << QByteArray("[A]\r\n  MyKey=new\n; c\r\n") << "new";
        QTest::newRow("new key before blank lines")
            << QByteArray("[A]\r\nK=1\r\n\r\n\r\n[B]\r\nJ=2\r\n") << "A" << "N" << "5"
            << QByteArray("[A]\r\nK=1\r\nN=5\r\n\r\n\r\n[B]\r\nJ=2\r\n") << "5";
        QTest::newRow("new key in empty section")
            << QByteArray("[A]\n\n[B]\n") << "a" << "K" << "1" << QByteArray("[A]\nK=1\n\n[B]\n") << "1";
        QTest::newRow("new key after last line without end")
            << QByteArray("[A]\nK=1") << "A" << "N" << "2" << QByteArray("[A]\nK=1\nN=2\n") << "2";
        QTest::newRow("new section at end, LF kept")
            << QByteArray("[A]\nK=1\n") << "B" << "J" << "2" << QByteArray("[A]\nK=1\n[B]\nJ=2\n") << "2";
        QTest::newRow("new section after last line without end")
            << QByteArray("[A]\r\nK=1") << "B" << "J" << "2" << QByteArray("[A]\r\nK=1\r\n[B]\r\nJ=2\r\n") << "2";
        QTest::newRow("key before sections untouched")
            << QByteArray("K=1\n[A]\n") << "A" << "K" << "2" << QByteArray("K=1\n[A]\nK=2\n") << "2";
        QTest::newRow("first of two sections")
            << QByteArray("[A]\nK=1\n[B]\n[A]\nK=2\n") << "A" << "N" << "3"
            << QByteArray("[A]\nK=1\nN=3\n[B]\n[A]\nK=2\n") << "3";
        QTest::newRow("empty value") << QByteArray("[A]\nK=1\n") << "A" << "K" << "" << QByteArray("[A]\nK=\n") << "";
        QTest::newRow("blanks kept by quotes")
            << QByteArray("[A]\n") << "A" << "K" << " x " << QByteArray("[A]\nK=\" x \"\n") << " x ";
        QTest::newRow("quotes kept by quotes")
            << QByteArray("[A]\n") << "A" << "K" << "\"q\"" << QByteArray("[A]\nK=\"\"q\"\"\n") << "\"q\"";
        QTest::newRow("cut at a line break")
            << QByteArray("[A]\n") << "A" << "K" << "a\r\nb=c" << QByteArray("[A]\nK=a\n") << "a";
        QTest::newRow("written as UTF-8")
            << QByteArray("[A]\n") << "A" << "K" << QStringLiteral("\u00e9\u20ac") << QByteArray("[A]\nK=\xC3\xA9\xE2\x82\xAC\n")
            << QStringLiteral("\u00e9\u20ac");
    }
    void write()
    {
        QFETCH(QByteArray, before);
        QFETCH(QString, section);
        QFETCH(QString, key);
        QFETCH(QString, value);
        QFETCH(QByteArray, after);
        QFETCH(QString, readBack);
        fixtures::WriteFile(Path("write.ini"), before);
        WriteIni(section, key, value, Path("write.ini"));
        QCOMPARE(fixtures::ReadFile(Path("write.ini")), after);
        QCOMPARE(ReadIni(section, key, Path("write.ini"), "<default>"), readBack);
    }

    void newFileIsCrlf()
    {
        const QString path = Path("sub/new.ini");
        WriteIni("Config", "A", "1", path);
        WriteIni("Config", "B", "2", path);
        WriteIni("Lists", "Count", "0", path);
        QCOMPARE(fixtures::ReadFile(path), QByteArray("[Config]\r\nA=1\r\nB=2\r\n[Lists]\r\nCount=0\r\n"));
    }

    void longValueRoundTrip()
    {
        QString value;
        for (int i = 0; value.size() < 300; ++i) value += QString("/folder %1").arg(i);
        WriteIni("Lists", "File1", value, Path("long.ini"));
        QCOMPARE(ReadIni("Lists", "File1", Path("long.ini"), {}), value);
    }

    void everyCallSeesTheFile()
    {
        const QString path = Path("live.ini");
        WriteIni("A", "K", "1", path);
        fixtures::WriteFile(path, "[A]\r\nK=2\r\n; edited\r\n");
        QCOMPARE(ReadIni("A", "K", path, {}), QString("2"));
        WriteIni("A", "J", "3", path);
        QCOMPARE(fixtures::ReadFile(path), QByteArray("[A]\r\nK=2\r\n; edited\r\nJ=3\r\n"));
    }

    void unwritableLosesWriteSilently()
    {
        fixtures::WriteFile(Path("plain"), "x");
        WriteIni("A", "K", "1", Path("plain/inside.ini"));  // a file where a folder should be
        QCOMPARE(fixtures::ReadFile(Path("plain")), QByteArray("x"));
        QDir(dir_.path()).mkdir("folder.ini");
        WriteIni("A", "K", "1", Path("folder.ini"));
        QVERIFY(QFileInfo(Path("folder.ini")).isDir());
    }

    void documentKeys()
    {
        const IniDocument doc = IniDocument::FromBytes("[A]\nExt2=x\n;Ext9=1\nEXT2=y\nExt1=\n[B]\nExt3=1\n");
        QCOMPARE(doc.Keys("a"), QStringList({"Ext2", "Ext1"}));
        QCOMPARE(doc.Keys("C"), QStringList());
    }
};

QTEST_APPLESS_MAIN(TestIniFile)
#include "test_ini_file.moc"
