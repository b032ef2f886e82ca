// WarCraft III map details: the w3i head of each version, trigger strings,
// and the refusal of damaged bytes.
#include <QtTest>

#include <QtEndian>

#include "preview/map_details.h"
#include "support/map_factory.h"

using fixtures::W3i;
using fixtures::W3iRow;

class TestMapDetails : public QObject {
    Q_OBJECT

private slots:
    void readsEachVersion_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<QByteArray>("author");
        QTest::addColumn<char>("tileset");
        QTest::addColumn<bool>("lua");
        QTest::addColumn<int>("players");
        QTest::addColumn<QString>("expectedAuthor");
        QTest::addColumn<QString>("gameVersion");
        QTest::addColumn<QString>("tilesetName");
        const QString patch = "1.31.1.12164";
        QTest::newRow("18 classic") << 18 << QByteArray("Blizzard") << 'L' << false << 4 << "Blizzard" << "" << "Lordaeron Summer";
        QTest::newRow("25 utf-8") << 25 << QByteArray("Zo\xC3\xAB") << 'Y' << false << 2 << "Zoë" << "" << "Cityscape";
        QTest::newRow("28 latin-1") << 28 << QByteArray("Zo\xEB") << 'X' << true << 12 << "Zoë" << patch << "Dalaran";
        QTest::newRow("31 unknown tileset") << 31 << QByteArray("A") << 'M' << false << 24 << "A" << patch << "M";
        QTest::newRow("33") << 33 << QByteArray() << 'Z' << true << 0 << "" << patch << "Sunken Ruins";
    }

    void readsEachVersion()
    {
        QFETCH(int, version);
        QFETCH(QByteArray, author);
        QFETCH(char, tileset);
        QFETCH(bool, lua);
        QFETCH(int, players);
        const QByteArray w3i = W3i({version, author, tileset, lua, players});
        const auto details = ParseMapDetails(w3i, "STRING 1\n{\nLost Temple\n}\n");
        QVERIFY(details);
        QCOMPARE((QList<qint64>{details->formatVersion, details->saveCount, details->editorVersion,
                                details->playableWidth, details->playableHeight, details->flags}),
                 (QList<qint64>{version, 7, 6072, 116, 84, 0x4}));
        QTEST(details->gameVersion, "gameVersion");
        QCOMPARE((QStringList{details->name, details->description, details->suggestedPlayers}),
                 (QStringList{"Lost Temple", "A |cffff0000red|r map", "1v1"}));
        QTEST(details->author, "expectedAuthor");
        QCOMPARE(details->tileset, QChar::fromLatin1(tileset));
        QTEST(details->tilesetName, "tilesetName");
        QCOMPARE(details->luaScript, lua);
        QCOMPARE(details->playerCount, players);
        // The player count is the last field read: every shorter w3i is cut short.
        for (qsizetype size = 0; size < w3i.size(); ++size) QVERIFY(!ParseMapDetails(w3i.first(size), {}));
    }

    void refusesDamagedW3i_data()
    {
        QTest::addColumn<QByteArray>("w3i");
        QTest::addColumn<QString>("why");
        QTest::newRow("name without end") << W3i({}).first(20) << "w3i cut short";
        QTest::newRow("unknown version") << W3i({.version = 99}) << "unknown w3i version 99";
        QTest::newRow("too many players") << W3i({.players = 29}) << "w3i claims 29 players";
        QTest::newRow("negative players") << W3i({.players = -1}) << "w3i claims -1 players";
    }

    void refusesDamagedW3i()
    {
        QFETCH(QByteArray, w3i);
        QString why;
        QVERIFY(!ParseMapDetails(w3i, {}, &why));
        QTEST(why, "why");
    }

    void resolvesTriggerStrings_data()
    {
        QTest::addColumn<QByteArray>("wts");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const QByteArray one = "STRING 1\n{\nOne\n}\n";
        QTest::newRow("leading zeros") << one << "TRIGSTR_001" << "One";
        QTest::newRow("inside a text") << one << "By TRIGSTR_1, TRIGSTR_1!" << "By One, One!";
        QTest::newRow("unknown number") << one << "TRIGSTR_2" << "TRIGSTR_2";
        QTest::newRow("no number") << one << "TRIGSTR_x" << "TRIGSTR_x";
        QTest::newRow("negative") << QByteArray("STRING -1\n{\nNo\n}\n") << "TRIGSTR_-1" << "TRIGSTR_-1";
        QTest::newRow("huge") << QByteArray("STRING 99999999999\n{\nNo\n}\n") << "TRIGSTR_99999999999"
                              << "TRIGSTR_99999999999";
        QTest::newRow("bom, crlf, comment, lines")
            << QByteArray("\xEF\xBB\xBFSTRING 7\r\n// Units: hfoo\r\n{\r\nline one\r\n\r\nline two\r\n}\r\n")
            << "TRIGSTR_007" << "line one\n\nline two";
        QTest::newRow("empty text") << QByteArray("STRING 3\n{\n}\n") << "[TRIGSTR_3]" << "[]";
        QTest::newRow("latin-1") << QByteArray("STRING 1\n{\nZo\xEB\n}\n") << "TRIGSTR_1" << "Zoë";
        QTest::newRow("not resolved twice") << QByteArray("STRING 1\n{\nTRIGSTR_2\n}\nSTRING 2\n{\nTwo\n}\n")
                                            << "TRIGSTR_1" << "TRIGSTR_2";
        QTest::newRow("block without number passed whole")
            << QByteArray("STRING x\n{\nSTRING 1\n}\n{\nOne\n}\n") << "TRIGSTR_1" << "TRIGSTR_1";
        QTest::newRow("unclosed block dropped") << QByteArray("STRING 1\n{\nOne\n}\nSTRING 2\n{\nTwo\n")
                                                << "TRIGSTR_1 TRIGSTR_2" << "One TRIGSTR_2";
    }

    void resolvesTriggerStrings()
    {
        QFETCH(QByteArray, wts);
        QFETCH(QString, text);
        QTEST(ResolveTriggerStrings(text, ParseTriggerStrings(wts)), "expected");
    }

    void makesPlainGameText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("colour") << "|cffFF0000Red|r text" << "Red text";
        QTest::newRow("upper case codes") << "|CFF00ff00x|R|Ny" << "x\ny";
        QTest::newRow("line breaks") << "a|nb\r\nc" << "a\nb\nc";
        QTest::newRow("not a colour") << "|cffzz0000x" << "|cffzz0000x";
        QTest::newRow("colour cut short") << "x|cff0000" << "x|cff0000";
        QTest::newRow("bar at the end") << "a|" << "a|";
    }

    void makesPlainGameText()
    {
        QFETCH(QString, text);
        QTEST(PlainGameText(text), "expected");
    }
};

QTEST_GUILESS_MAIN(TestMapDetails)
#include "test_map_details.moc"
