// Handing the open archive to the self-executing-archive tool: the values
// its wizards start from, the command that starts it, and the window that
// waits for it, with a stand-in for Wine that notes what it was asked.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "config/registry.h"
#include "editing/helpers/run_and_wait.h"
#include "shell/frm_main.h"
#include "support/archive_factory.h"
#include "support/window_fixture.h"
#include "tools/self_executing.h"

using namespace fixtures;

namespace {

const QString kWizard = "HKEY_CURRENT_USER\\Software\\Team MoPaQ\\MPQDraft for Windows\\";

// A Wine that notes each call, keeps the registry file it is handed, and
// takes a moment before the tool "ends" so that a wait shows.
void WriteFakeWine(const QString &folder)
{
    const QString script = WriteFile(folder + "/wine", R"(#!/bin/sh
log="$(dirname "$0")/calls.log"
printf "%s\n" "$*" >> "$log"
if [ "$1" = regedit ]; then
  unix=$(printf '%s' "$3" | sed -e 's/^Z://' -e 's/\\/\//g')
  cp "$unix" "$(dirname "$0")/imported.reg"
else
  sleep 0.3
  echo finished >> "$log"
fi
)");
    QFile::setPermissions(script, QFile::permissions(script) | QFile::ExeOwner | QFile::ExeUser);
}

QString Utf16(const QByteArray &bytes)
{
    if (!bytes.startsWith("\xFF\xFE")) return {};
    return QString::fromUtf16(reinterpret_cast<const char16_t *>(bytes.constData() + 2), (bytes.size() - 2) / 2);
}

}  // namespace

class TestSelfExecuting : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QByteArray savedPath;

    // A window whose program folder is `folder`/program.
    std::unique_ptr<frmMain> Start(const QString &folder, const QString &archive)
    {
        return StartWindow(WindowPaths(folder), archive);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        savedPath = qgetenv("PATH");
    }
    void cleanup() { qputenv("PATH", savedPath); }

    // The eight values, in order, from the archive's path; the archive's
    // extension stays and ".exe" follows it.
    void valuesOfTheArchive()
    {
        const auto values = SelfExecutableValues("/maps/x.mpq");
        QStringList written;
        for (const auto &[key, value] : values) written << key + "=" + value;
        QCOMPARE(written, (QStringList{
                              "HKEY_CURRENT_USER\\Software\\Team MoPaQ\\=",
                              kWizard + "=",
                              kWizard + "Patch Wizard\\=",
                              kWizard + "Patch Wizard\\MPQ Directory=/maps/",
                              kWizard + "SEMPQ Wizard\\=",
                              kWizard + "SEMPQ Wizard\\Custom Name=Arcavera",
                              kWizard + "SEMPQ Wizard\\MPQ Path=/maps/x.mpq",
                              kWizard + "SEMPQ Wizard\\SEMPQ Path=/maps/x.mpq.exe",
                          }));
    }

    void startCommand_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("withWine");
        QTest::addColumn<QStringList>("expected");  // "<wine>" stands for the fake Wine
        const QString tool = dir.filePath("program folder/MPQDraft.exe");
        QTest::newRow("a tool with blanks in its folder") << tool << true << QStringList{"<wine>", tool};
        QTest::newRow("no Wine") << tool << false << QStringList{};
        QTest::newRow("a missing tool") << dir.filePath("nowhere/MPQDraft.exe") << true << QStringList{};
        QTest::newRow("a native program with an argument") << "sh -c true" << false
                                                           << QStringList{"/usr/bin/sh", "-c", "true"};
        QTest::newRow("nothing") << "" << true << QStringList{};
    }

    void startCommand()
    {
        QFETCH(QString, line);
        QFETCH(bool, withWine);
        QFETCH(QStringList, expected);
        WriteFile(dir.filePath("program folder/MPQDraft.exe"), "MZ");
        const QString bin = dir.filePath(withWine ? "bin" : "empty-bin");
        QDir().mkpath(bin);
        if (withWine) WriteFakeWine(bin);
        qputenv("PATH", (bin + ":/usr/bin:/bin").toUtf8());
        expected.replaceInStrings("<wine>", bin + "/wine");
        QCOMPARE(StartCommand(line), expected);
    }

    // Without the tool the values are written all the same and the window
    // comes back at once.
    void withoutTheTool()
    {
        const QString archive = ArchiveIn(dir.filePath("maps with blanks"), "x.mpq", {{"a.txt", TextData(100)}});
        auto window = Start(dir.filePath("bare program"), archive);
        QVERIFY(window);
        window->ToolButton("exe")->trigger();
        QCOMPARE(ReadRegistry(kWizard + "SEMPQ Wizard\\MPQ Path"), archive);
        QCOMPARE(ReadRegistry(kWizard + "SEMPQ Wizard\\SEMPQ Path"), archive + ".exe");
        QCOMPARE(ReadRegistry(kWizard + "Patch Wizard\\MPQ Directory"), dir.filePath("maps with blanks") + "/");
        QCOMPARE(ReadRegistry(kWizard + "SEMPQ Wizard\\Custom Name"), QStringLiteral("Arcavera"));
        QVERIFY(QFile::exists(dir.filePath("bare program/program/Arcavera.reg")));
        QCOMPARE(window->Session().FileName, archive);
    }

    // With the tool and Wine: Wine's registry gets the values with the
    // paths on its Z: drive, then the tool runs, and the window waits for
    // its end.
    void theToolRunsThroughWineAndIsWaitedFor()
    {
        const QString archive = ArchiveIn(dir.filePath("maps"), "y.w3x", {{"a.txt", TextData(100)}});
        const QString program = dir.filePath("with tool/program");
        WriteFile(program + "/MPQDraft.exe", "MZ");
        const QString bin = dir.filePath("wine-bin");
        WriteFakeWine(bin);
        qputenv("PATH", (bin + ":/usr/bin:/bin").toUtf8());
        auto window = Start(dir.filePath("with tool"), archive);
        QVERIFY(window);
        window->mnuMakeEXE_Click();

        const QStringList calls = QString::fromUtf8(ReadFile(bin + "/calls.log")).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(calls.size(), 3);
        QVERIFY2(calls[0].startsWith("regedit /S Z:\\"), qPrintable(calls.join(" | ")));
        QCOMPARE(calls[1], program + "/MPQDraft.exe");
        QCOMPARE(calls[2], QStringLiteral("finished"));
        const QString imported = Utf16(ReadFile(bin + "/imported.reg"));
        QVERIFY2(imported.startsWith("Windows Registry Editor Version 5.00"), qPrintable(imported));
        QString wineArchive = "Z:" + archive;
        wineArchive.replace('/', "\\\\");
        QVERIFY(imported.contains("\"MPQ Path\"=\"" + wineArchive + "\""));
        QVERIFY(imported.contains("\"SEMPQ Path\"=\"" + wineArchive + ".exe\""));
        QVERIFY(imported.contains("\"Custom Name\"=\"Arcavera\""));
        QVERIFY(imported.contains("[HKEY_CURRENT_USER\\Software\\Team MoPaQ\\MPQDraft for Windows\\SEMPQ Wizard]"));
    }
};

QTEST_MAIN(TestSelfExecuting)
#include "test_self_executing.moc"
