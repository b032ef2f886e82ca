// Control characters of stored names, as the terminal and the window show
// them, and a window edit taken back to the name it stands for.
#include <QTest>

#include "listing/text_encoding.h"

class TestTextEncoding : public QObject {
    Q_OBJECT
private slots:
    void controlsShownSafely_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QString>("escaped");  // arcavera-cli
        QTest::addColumn<QString>("marked");   // the window
        QTest::newRow("escape") << QByteArray("a\x1b[31mb") << "a\\x1b[31mb" << QStringLiteral("a\u241b[31mb");
        QTest::newRow("bell and tab") << QByteArray("\x07\t\\x") << "\\x07\\x09\\x" << QStringLiteral("\u2407\u2409\\x");
        QTest::newRow("line ends and NUL") << QByteArray("a\r\n\0", 4) << "a\\x0d\\x0a\\x00" << QStringLiteral("a\u240d\u240a\u2400");
        QTest::newRow("delete") << QByteArray("x\x7f") << "x\\x7f" << QStringLiteral("x\u2421");
        QTest::newRow("C1 control in UTF-8") << QByteArray("a\xc2\x9b" "b") << "a\\x9bb" << QStringLiteral("a\u009bb");
        QTest::newRow("C1 control in Windows-1252") << QByteArray("a\x81\xe9") << QStringLiteral("a\\x81\u00e9") << QStringLiteral("a\u0081\u00e9");
        QTest::newRow("plain") << QByteArray("Units\\Footman.mdx") << "Units\\Footman.mdx" << "Units\\Footman.mdx";
        QTest::newRow("UTF-8 beyond ASCII") << QByteArray("caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x8e\xb5") << QStringLiteral("café € 🎵")
                                             << QStringLiteral("café € 🎵");
    }

    void controlsShownSafely()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QString, escaped);
        QFETCH(QString, marked);
        const QString name = DecodeBytes(stored);
        QCOMPARE(EscapeControls(name), escaped);
        QCOMPARE(MarkControls(name), marked);
        // The window's edit that changes nothing gives the very name back.
        QCOMPARE(UnmarkEdit(name, marked), name);
    }

    void editsOfMarkedNames_data()
    {
        QTest::addColumn<QString>("original");
        QTest::addColumn<QString>("edited");  // what the user left in the editor
        QTest::addColumn<QString>("meant");
        QTest::newRow("typed behind the mark") << "a\x1b.txt" << QStringLiteral("a\u241b2.txt") << "a\x1b" "2.txt";
        QTest::newRow("typed before the mark") << "a\x1b.txt" << QStringLiteral("b\u241b.txt") << "b\x1b.txt";
        QTest::newRow("one of two marks removed") << "a\x1b\x1b" "b" << QStringLiteral("a\u241bb") << "a\x1b" "b";
        QTest::newRow("the mark removed") << "a\x07" "b" << "ab" << "ab";
        QTest::newRow("a mark typed anew stays a mark") << "ab" << QStringLiteral("a\u241bb") << QStringLiteral("a\u241bb");
        QTest::newRow("a real mark in the name stays") << QStringLiteral("a\u241b\x1b") << QStringLiteral("a\u241b\u241bc")
                                                        << QStringLiteral("a\u241b\x1b" "c");
        QTest::newRow("all replaced") << "a\x1b" << "new.txt" << "new.txt";
    }

    void editsOfMarkedNames()
    {
        QFETCH(QString, original);
        QFETCH(QString, edited);
        QFETCH(QString, meant);
        QCOMPARE(UnmarkEdit(original, edited), meant);
    }
};

QTEST_GUILESS_MAIN(TestTextEncoding)
#include "test_text_encoding.moc"
