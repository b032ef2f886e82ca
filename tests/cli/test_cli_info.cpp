// arcavera-cli info: the archive's properties, as the window's dialog has
// them, for an archive of our own, one behind an executable, and bad input.
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include "support/archive_factory.h"
#include "support/cli_runner.h"

using namespace fixtures;

namespace {

QMap<QString, QString> Fields(const QByteArray &out)
{
    QMap<QString, QString> fields;
    for (const QByteArray &line : out.split('\n')) {
        const qsizetype tab = line.indexOf('\t');
        if (tab > 0) fields.insert(QString::fromUtf8(line.left(tab)), QString::fromUtf8(line.mid(tab + 1)));
    }
    return fields;
}

}  // namespace

class TestCliInfo : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

private slots:
    void properties_data()
    {
        QTest::addColumn<int>("prefix");
        QTest::newRow("plain archive") << 0;
        QTest::newRow("behind an executable of 1024 bytes") << 1024;
    }

    void properties()
    {
        QFETCH(int, prefix);
        const QString folder = dir.filePath(DataTagFileName());
        QString path = ArchiveIn(folder, "map è.w3x",
                                 {{"war3map.j", TextData(20000)}, {"units\\a.mdx", TextData(3000)}, {"b.txt", "b"}});
        if (prefix > 0) path = WriteFile(folder + "/game.exe", "MZ" + QByteArray(prefix - 2, '\0') + ReadFile(path));
        const QString ini = dir.filePath("none.ini");

        const CliRun run = Cli({"--ini", ini, "info", path});
        QCOMPARE(run.status, 0);
        const QMap<QString, QString> fields = Fields(run.out);

        // The rows and their sizes as list prints them.
        const CliRun list = Cli({"--ini", ini, "list", path});
        qint64 unpacked = 0;
        int rows = 0;
        for (const QByteArray &line : list.out.split('\n')) {
            const QList<QByteArray> columns = line.split('\t');
            if (columns.size() != 6) continue;
            ++rows;
            unpacked += QByteArray(columns[2]).replace(",", "").toLongLong();
        }
        const QByteArray bytes = ReadFile(path);
        const qint64 headerCount = qFromLittleEndian<quint32>(bytes.constData() + prefix + 28);
        const QFileInfo file(path);
        const double saving = (1.0 - double(bytes.size()) / double(unpacked)) * 100.0;
        QCOMPARE(fields.keys(), (QStringList{"files", "folder", "modified", "name", "rows", "saving", "size", "unpacked"}));
        QCOMPARE(fields["folder"], file.absolutePath() + "/");
        QCOMPARE(fields["name"], file.fileName());
        QCOMPARE(fields["size"], QString::number(bytes.size()));
        QCOMPARE(fields["unpacked"], QString::number(unpacked));
        QCOMPARE(fields["files"], QString::number(headerCount));
        QCOMPARE(fields["rows"], QString::number(rows));
        QCOMPARE(fields["saving"], QString::number(saving, 'f', 2) + "%");
        QCOMPARE(QDateTime::fromString(fields["modified"], Qt::ISODate), file.lastModified().addMSecs(-file.lastModified().time().msec()));
        QVERIFY(rows >= 3);
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::newRow("no archive named") << QStringList{"info"} << 1;
        QTest::newRow("two archives") << QStringList{"info", "a", "b"} << 1;
        QTest::newRow("missing") << QStringList{"info", dir.filePath("missing.mpq")} << 2;
        QTest::newRow("a folder") << QStringList{"info", dir.path()} << 2;
        QTest::newRow("not an archive") << QStringList{"info", WriteFile(dir.filePath("text.mpq"), "hello")} << 3;
    }

    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        const CliRun run = Cli(arguments);
        QCOMPARE(run.status, status);
        QVERIFY(run.out.isEmpty());
        QVERIFY(!run.err.isEmpty());
    }
};

QTEST_MAIN(TestCliInfo)
#include "test_cli_info.moc"
