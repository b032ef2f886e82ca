#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include "config/file_association.h"
#include "config/registry.h"
#include "support/archive_factory.h"

static const QString kCR = QStringLiteral("HKEY_CLASSES_ROOT\\");

class TestFileAssociation : public QObject {
    Q_OBJECT
    QTemporaryDir home_;
    QString Home(const QString &name) const { return home_.filePath(name); }
    QString DesktopEntry() const { return Home("data/applications/arcavera.desktop"); }
    QString MimePackage() const { return Home("data/mime/packages/arcavera-mpq.xml"); }
    QString MimeApps() const { return Home("config/mimeapps.list"); }
    QString Folder() const { return Home("Program Files/Arcavera"); }

    // Runs xdg-mime with the test's home; its first output line.
    QString XdgMime(const QStringList &arguments, const QString &desktop = QString()) const
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        if (!desktop.isEmpty()) environment.insert("XDG_CURRENT_DESKTOP", desktop);
        process.setProcessEnvironment(environment);
        process.start("xdg-mime", arguments);
        process.waitForFinished(30000);
        return QString::fromUtf8(process.readAllStandardOutput()).section('\n', 0, 0).trimmed();
    }

private slots:
    void initTestCase()
    {
        qputenv("HOME", QFile::encodeName(home_.path()));
        qputenv("XDG_DATA_HOME", QFile::encodeName(Home("data")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(Home("config")));
        qunsetenv("XDG_CURRENT_DESKTOP");
        SetRegistryStorePath(Home("settings/Arcavera.reg"));
    }
    void init()
    {
        for (const char *name : {"data", "config", "settings"}) QDir(Home(name)).removeRecursively();
    }

    void registryEntries_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");  // <folder> stands for the program's folder
        QTest::newRow("1") << kCR + ".mpq\\" << "Mpq.Archive";
        QTest::newRow("2") << kCR + ".mpq\\ShellNew\\" << "";
        QTest::newRow("3") << kCR + ".mpq\\ShellNew\\NullFile" << "";
        QTest::newRow("4") << kCR + "Mpq.Archive\\" << "MPQ Archive";
        QTest::newRow("5") << kCR + "Mpq.Archive\\DefaultIcon\\" << "<folder>/MPQFile.ico";
        QTest::newRow("6") << kCR + "Mpq.Archive\\shell\\" << "";
        QTest::newRow("7") << kCR + "mpq.archive\\Shell\\Open\\" << "";
        QTest::newRow("8") << kCR + "Mpq.Archive\\shell\\open\\command\\" << "\"<folder>/arcavera\" \"%1\"";
    }
    void registryEntries()
    {
        QFETCH(QString, key);
        QFETCH(QString, expected);
        WriteAssociation(Folder(), "arcavera");
        const QByteArray once = fixtures::ReadFile(RegistryStorePath());
        WriteAssociation(Folder(), "arcavera");
        QCOMPARE(fixtures::ReadFile(RegistryStorePath()), once);
        QCOMPARE(ReadRegistry(key), QString(expected).replace("<folder>", Folder()));
        RemoveAssociation();
        if (expected != "Mpq.Archive") QCOMPARE(ReadRegistry(key), QString());
        else QVERIFY(ReadRegistry(key) != expected);
    }

    void desktopEntry_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("exec");
        QTest::addColumn<QString>("icon");
        QTest::newRow("plain") << "/opt/arcavera" << "/opt/arcavera/arcavera %f" << "/opt/arcavera/MPQFile.ico";
        QTest::newRow("blanks") << "/opt/My Tools" << "\"/opt/My Tools/arcavera\" %f" << "/opt/My Tools/MPQFile.ico";
        QTest::newRow("quote, dollar, backslash")
            << "/opt/a\"$\\" << "\"/opt/a\\\\\"\\\\$\\\\\\\\/arcavera\" %f" << "/opt/a\"$\\\\/MPQFile.ico";
        // An installed program: bin/ beside share/arcavera/, which holds the icon.
        const QString prefix = Home("prefix");
        fixtures::WriteFile(prefix + "/share/arcavera/MPQFile.ico", "icon");
        QDir().mkpath(prefix + "/bin");
        QTest::newRow("installed") << prefix + "/bin" << prefix + "/bin/arcavera %f"
                                   << prefix + "/share/arcavera/MPQFile.ico";
    }
    void desktopEntry()
    {
        QFETCH(QString, folder);
        QFETCH(QString, exec);
        QFETCH(QString, icon);
        WriteAssociation(folder, "arcavera");
        const QStringList lines = QString::fromUtf8(fixtures::ReadFile(DesktopEntry())).split('\n');
        QVERIFY(lines.contains("Exec=" + exec));
        QVERIFY(lines.contains("Icon=" + icon));
        QVERIFY(lines.contains("MimeType=application/x-mpq;"));
        QVERIFY(fixtures::ReadFile(MimePackage()).contains("<glob pattern=\"*.mpq\"/>"));
    }

    void defaultApplicationList_data()
    {
        QTest::addColumn<QByteArray>("before");  // "-" for no file
        QTest::addColumn<bool>("write");
        QTest::addColumn<QByteArray>("afterWrite");
        QTest::addColumn<QByteArray>("afterRemove");  // "-" for no file
        const QByteArray ours = "application/x-mpq=arcavera.desktop";
        QTest::newRow("no file") << QByteArray("-") << true << "[Default Applications]\n" + ours + "\n"
                                 << QByteArray("[Default Applications]\n");
        QTest::newRow("foreign lines kept")
            << QByteArray("# mine\n[Default Applications]\ntext/plain=a.desktop\n\n[Added Associations]\nimage/png=b.desktop;\n")
            << true << "# mine\n[Default Applications]\ntext/plain=a.desktop\n" + ours + "\n\n[Added Associations]\nimage/png=b.desktop;\n"
            << QByteArray("# mine\n[Default Applications]\ntext/plain=a.desktop\n\n[Added Associations]\nimage/png=b.desktop;\n");
        QTest::newRow("another default replaced")
            << QByteArray("[Default Applications]\napplication/x-mpq=other.desktop\napplication/x-mpq=x.desktop\n")
            << true << "[Default Applications]\n" + ours + "\n" << QByteArray("[Default Applications]\n");
        QTest::newRow("another's choice not removed")
            << QByteArray("[Default Applications]\napplication/x-mpq=other.desktop\n") << false << QByteArray()
            << QByteArray("[Default Applications]\napplication/x-mpq=other.desktop\n");
    }
    void defaultApplicationList()
    {
        QFETCH(QByteArray, before);
        QFETCH(bool, write);
        QFETCH(QByteArray, afterWrite);
        QFETCH(QByteArray, afterRemove);
        if (before != "-") fixtures::WriteFile(MimeApps(), before);
        for (int i = 0; write && i < 2; ++i) {  // a second write changes nothing
            WriteAssociation(Folder(), "arcavera");
            QCOMPARE(fixtures::ReadFile(MimeApps()), afterWrite);
        }
        RemoveAssociation();
        QCOMPARE(QFile::exists(MimeApps()), afterRemove != "-");
        if (afterRemove != "-") QCOMPARE(fixtures::ReadFile(MimeApps()), afterRemove);
        QVERIFY(!QFile::exists(DesktopEntry()));
        QVERIFY(!QFile::exists(MimePackage()));
    }

    void desktopSeesTheAssociation()
    {
        if (QStandardPaths::findExecutable("xdg-mime").isEmpty()) QSKIP("xdg-mime is not installed");
        // A rival that also opens MPQ archives: only the default application line makes Arcavera win.
        fixtures::WriteFile(Home("data/applications/aother.desktop"),
                            "[Desktop Entry]\nType=Application\nName=Other\nExec=true %f\nMimeType=application/x-mpq;\n");
        const QString folder = Home("bin");
        // The program notes the command line that a double click gives it.
        fixtures::WriteFile(folder + "/arcavera", "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$(dirname \"$0\")/opened\"\n");
        QFile::setPermissions(folder + "/arcavera", QFile::ReadOwner | QFile::ExeOwner);
        const QStringList query = {"query", "default", "application/x-mpq"};
        QCOMPARE(XdgMime(query), QString("aother.desktop"));
        WriteAssociation(folder, "arcavera");
        QCOMPARE(XdgMime(query), QString("arcavera.desktop"));

        // xdg-mime asks the shared MIME database through File::MimeInfo's
        // mimetype, else (as on GNOME) through gio; otherwise it asks file(1).
        QVERIFY(!QStandardPaths::findExecutable("update-mime-database").isEmpty());
        const QString archive = fixtures::WriteFile(Home("x.mpq"), QByteArray("MPQ\x1a\x20\0\0\0\0\1\2\3", 12));
        const QString desktop = QStandardPaths::findExecutable("mimetype").isEmpty() ? "GNOME" : "";
        const bool canAsk = desktop.isEmpty() || !QStandardPaths::findExecutable("gio").isEmpty();
        if (canAsk) {
            QCOMPARE(XdgMime({"query", "filetype", archive}, desktop), QString("application/x-mpq"));
            // What a file manager's double click does: the archive opens in Arcavera.
            QProcess open;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            if (!desktop.isEmpty()) environment.insert("XDG_CURRENT_DESKTOP", desktop);
            // xdg-open looks at desktop entries only in a graphical session.
            if (!environment.contains("DISPLAY")) environment.insert("DISPLAY", ":0");
            open.setProcessEnvironment(environment);
            open.start("xdg-open", {archive});
            QVERIFY(open.waitForFinished(30000));
            QTRY_COMPARE_WITH_TIMEOUT(QString::fromUtf8(fixtures::ReadFile(folder + "/opened")), archive + "\n", 10000);
        }
        RemoveAssociation();
        QCOMPARE(XdgMime(query), QString("aother.desktop"));
        if (!canAsk) QSKIP("neither mimetype nor gio lets xdg-mime read the MIME database");
        QVERIFY(XdgMime({"query", "filetype", archive}, desktop) != "application/x-mpq");
    }

    void removalStopsAtAnExtendedKey()
    {
        WriteAssociation(Folder(), "arcavera");
        QVERIFY(WriteRegistry(kCR + "Mpq.Archive\\shell\\print\\", "print it"));
        RemoveAssociation();
        QCOMPARE(ReadRegistry(kCR + "Mpq.Archive\\shell\\print\\"), QString("print it"));
        // The class keeps its description because "shell" stayed below it.
        QCOMPARE(ReadRegistry(kCR + "Mpq.Archive\\"), QString("MPQ Archive"));
        QCOMPARE(ReadRegistry(kCR + "Mpq.Archive\\shell\\open\\command\\"), QString());
        QCOMPARE(ReadRegistry(kCR + "Mpq.Archive\\DefaultIcon\\"), QString());
        QVERIFY(ReadRegistry(kCR + ".mpq\\") != "Mpq.Archive");
        QVERIFY(!QFile::exists(DesktopEntry()));
    }

    void removingNothingChangesNothing()
    {
        QVERIFY(WriteRegistry("HKCU\\Software\\Other\\", "kept"));
        const QByteArray store = fixtures::ReadFile(RegistryStorePath());
        RemoveAssociation();
        QCOMPARE(fixtures::ReadFile(RegistryStorePath()), store);
        QVERIFY(!QFileInfo::exists(Home("data")));
        QVERIFY(!QFileInfo::exists(Home("config")));
    }

    void unwritableDataFolder()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(fixtures::WriteFile(Home("plain"), "x") + "/data"));
        WriteAssociation(Folder(), "arcavera");
        qputenv("XDG_DATA_HOME", QFile::encodeName(Home("data")));
        QCOMPARE(ReadRegistry(kCR + "Mpq.Archive\\"), QString("MPQ Archive"));
        QVERIFY(fixtures::ReadFile(MimeApps()).contains("application/x-mpq=arcavera.desktop"));
    }
};

QTEST_GUILESS_MAIN(TestFileAssociation)
#include "test_file_association.moc"
