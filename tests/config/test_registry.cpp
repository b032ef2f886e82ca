#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "config/registry.h"
#include "support/archive_factory.h"

namespace {

const QString kKey = QStringLiteral("HKEY_CURRENT_USER\\Software\\Arcavera\\");

// A text as a UTF-16 .reg export has it: byte order mark, then little-endian units.
QByteArray Utf16(const QString &text)
{
    QByteArray bytes("\xFF\xFE");
    for (const QChar c : text) bytes += char(c.unicode() & 0xFF) + QByteArray(1, char(c.unicode() >> 8));
    return bytes;
}

}  // namespace

class TestRegistry : public QObject {
    Q_OBJECT
    QTemporaryDir dir_;
    QString Store() const { return dir_.filePath("Arcavera.reg"); }

private slots:
    void init()
    {
        QFile::remove(Store());
        SetRegistryStorePath(Store());
    }

    void writeThenRead_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("readKey");
        QTest::addColumn<QString>("expected");  // empty when read where written: the write is refused
        const QString v = kKey + "Name";
        QTest::newRow("default value") << kKey << "x" << "" << kKey << "x";
        QTest::newRow("value name in any case") << v << "y" << "" << kKey + "NAME" << "y";
        QTest::newRow("key in any case") << kKey << "x" << "" << "hkey_current_user\\SOFTWARE\\arcavera\\" << "x";
        QTest::newRow("default is not a value") << kKey << "x" << "" << v << "";
        QTest::newRow("REG_EXPAND_SZ kept as written") << v << "%TEMP%\\x" << "REG_EXPAND_SZ" << v << "%TEMP%\\x";
        QTest::newRow("REG_DWORD largest") << v << " 4294967295 " << "reg_dword" << v << "4294967295";
        QTest::newRow("quotes and backslashes") << v << "say \"hi\" C:\\dir\\" << "" << v << "say \"hi\" C:\\dir\\";
        QTest::newRow("non-ASCII") << kKey + QStringLiteral("Schl\u00fcssel\\\u65e5\u672c")
                                   << QStringLiteral("\u00c4rger \u20ac \U0001F600") << ""
                                   << kKey + QStringLiteral("SCHL\u00dcSSEL\\\u65e5\u672c")
                                   << QStringLiteral("\u00c4rger \u20ac \U0001F600");
        QTest::newRow("line breaks") << v << "a\r\nb\n" << "" << v << "a\r\nb\n";
        QTest::newRow("REG_DWORD too large") << v << "4294967296" << "REG_DWORD" << v << "";
        QTest::newRow("unknown type") << v << "01" << "REG_BINARY" << v << "";
        QTest::newRow("unknown hive") << "HKEY_NOWHERE\\A\\" << "x" << "" << "HKEY_NOWHERE\\A\\" << "";
        QTest::newRow("empty key name") << "HKCU\\A\\\\B\\" << "x" << "" << "HKCU\\A\\\\B\\" << "";
    }
    void writeThenRead()
    {
        QFETCH(QString, key);
        QFETCH(QString, value);
        QFETCH(QString, type);
        QFETCH(QString, readKey);
        QFETCH(QString, expected);
        const bool refused = expected.isEmpty() && readKey == key;
        QCOMPARE(WriteRegistry(key, value, type), !refused);
        QCOMPARE(QFile::exists(Store()), !refused);
        // Another write reads the store and writes all of it again.
        QVERIFY(WriteRegistry("HKEY_CURRENT_USER\\Other\\", "o"));
        QCOMPARE(ReadRegistry(readKey), expected);
    }

    void storeIsARegFile()
    {
        QVERIFY(WriteRegistry("HKCU\\S\\A\\B\\V", "1", "REG_DWORD"));
        QVERIFY(WriteRegistry("HKCU\\s\\a\\", "\"q\\"));
        QVERIFY(WriteRegistry("HKEY_CLASSES_ROOT\\.x\\", "e", "REG_EXPAND_SZ"));
        QCOMPARE(fixtures::ReadFile(Store()),
                 QByteArray("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\S]\r\n"
                            "\r\n[HKEY_CURRENT_USER\\S\\A]\r\n@=\"\\\"q\\\\\"\r\n"
                            "\r\n[HKEY_CURRENT_USER\\S\\A\\B]\r\n\"V\"=dword:00000001\r\n"
                            "\r\n[HKEY_CLASSES_ROOT\\.x]\r\n@=hex(2):65,00,00,00\r\n"));
    }

    void handWrittenStore_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        const QByteArray head = "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n";
        QTest::newRow("UTF-16 export")
            << Utf16(QStringLiteral("[HKCU\\A]\r\n\"N\"=\"\u00e9\"\r\n"))
            << "HKCU\\A\\N" << QStringLiteral("\u00e9");
        QTest::newRow("UTF-8 byte order mark, LF") << QByteArray("\xEF\xBB\xBF[HKCU\\A]\n@=\"d\"\n") << "HKCU\\A\\" << "d";
        QTest::newRow("dword in capitals") << head + "\"N\"=dword:0000FFFF\r\n" << "HKCU\\A\\N" << "65535";
        QTest::newRow("hex over lines") << head + "\"N\"=hex(2):61,00,\\\r\n  62,00,00,00\r\n\"M\"=\"m\"\r\n" << "HKCU\\A\\N" << "ab";
        QTest::newRow("later line wins") << head + "\"N\"=\"1\"\r\n\"n\"=\"2\"\r\n" << "HKCU\\A\\N" << "2";
        QTest::newRow("open quote ignored") << head + "\"N\"=\"1\r\n\"M\"=\"2\"\r\n" << "HKCU\\A\\M" << "2";
        QTest::newRow("unclosed section") << head + "@=\"a\"\r\n[HKCU\\B\r\n@=\"b\"\r\n" << "HKCU\\A\\" << "a";
        QTest::newRow("unknown hive section") << head + "@=\"a\"\r\n[HKEY_X\\B]\r\n@=\"b\"\r\n" << "HKCU\\A\\" << "a";
    }
    void handWrittenStore()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        fixtures::WriteFile(Store(), content);
        QCOMPARE(ReadRegistry(key), expected);
        QVERIFY(WriteRegistry("HKCU\\New\\", "n"));
        QCOMPARE(ReadRegistry(key), expected);
        QCOMPARE(ReadRegistry("HKCU\\New\\"), QString("n"));
    }

    void deleting_data()
    {
        QTest::addColumn<QStringList>("deletions");
        QTest::addColumn<QStringList>("gone");  // of A\, A\V, A\B\, C\ below HKCU\S
        QTest::newRow("value") << QStringList{"HKCU\\S\\A\\V"} << QStringList{"A\\V"};
        QTest::newRow("leaf key") << QStringList{"HKCU\\S\\A\\B\\"} << QStringList{"A\\B\\"};
        QTest::newRow("key with a subkey stays") << QStringList{"HKCU\\S\\A\\"} << QStringList{};
        QTest::newRow("child, then parent") << QStringList{"HKCU\\S\\A\\B\\", "HKCU\\S\\A\\"}
                                            << QStringList{"A\\", "A\\V", "A\\B\\"};
        QTest::newRow("missing key") << QStringList{"HKCU\\S\\Z\\"} << QStringList{};
        QTest::newRow("missing value") << QStringList{"HKCU\\S\\A\\W"} << QStringList{};
    }
    void deleting()
    {
        QFETCH(QStringList, deletions);
        QFETCH(QStringList, gone);
        const QStringList names = {"A\\", "A\\V", "A\\B\\", "C\\"};
        for (const QString &name : names) QVERIFY(WriteRegistry("HKCU\\S\\" + name, name));
        const QByteArray before = fixtures::ReadFile(Store());
        for (const QString &key : deletions) DeleteRegistry(key);
        for (const QString &name : names)
            QCOMPARE(ReadRegistry("HKCU\\S\\" + name), gone.contains(name) ? QString() : name);
        if (gone.isEmpty()) QCOMPARE(fixtures::ReadFile(Store()), before);
    }

    void unusableStore_data()
    {
        QTest::addColumn<QString>("store");
        QTest::newRow("none set") << QString();
        QTest::newRow("a folder") << dir_.path();
        QTest::newRow("below a file") << fixtures::WriteFile(dir_.filePath("plain"), "x") + "/Arcavera.reg";
    }
    void unusableStore()
    {
        QFETCH(QString, store);
        SetRegistryStorePath(store);
        QVERIFY(!WriteRegistry(kKey, "x"));
        QCOMPARE(ReadRegistry(kKey), QString());
        DeleteRegistry(kKey);
    }

    void mimeDatabase_data()
    {
        QTest::addColumn<QString>("storedKey");  // written with "mine" first, when given
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");   // "<description>": any non-empty text
        const QString root = "HKEY_CLASSES_ROOT\\";
        QTest::newRow("extension") << "" << root + ".txt\\" << "text/plain";
        QTest::newRow("extension in capitals") << "" << "hkcr\\.TXT\\" << "text/plain";
        QTest::newRow("unknown extension") << "" << root + ".qqzzxy\\" << "";
        QTest::newRow("description") << "" << root + "text/plain\\" << "<description>";
        QTest::newRow("only the root hive") << "" << "HKEY_CURRENT_USER\\.txt\\" << "";
        QTest::newRow("store first: extension") << root + ".txt\\" << root + ".txt\\" << "mine";
        QTest::newRow("store first: description") << root + "text/plain\\" << root + "text/plain\\" << "mine";
        QTest::newRow("key without default") << root + ".txt\\ShellNew\\" << root + ".txt\\" << "text/plain";
    }
    void mimeDatabase()
    {
        QFETCH(QString, storedKey);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        if (!storedKey.isEmpty()) QVERIFY(WriteRegistry(storedKey, "mine"));
        const QString read = ReadRegistry(key);
        if (expected == "<description>") QVERIFY2(!read.isEmpty() && !read.contains('/'), qPrintable(read));
        else QCOMPARE(read, expected);
    }
};

QTEST_GUILESS_MAIN(TestRegistry)
#include "test_registry.moc"
