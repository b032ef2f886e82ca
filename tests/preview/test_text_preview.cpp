// The text preview: telling text from binary, decoding it, the hex dump, and
// the JASS and Lua scanner behind the highlighter.
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include "pane/code_highlighter.h"
#include "preview/text_preview.h"

Q_DECLARE_METATYPE(CodeLanguage)

class TestTextPreview : public QObject {
    Q_OBJECT

private slots:
    void namesMarkTextAndLanguage_data();
    void namesMarkTextAndLanguage();
    void detectsAndDecodesText_data();
    void detectsAndDecodesText();
    void dumpsHex_data();
    void dumpsHex();
    void scansCodeLines_data();
    void scansCodeLines();
    void highlighterCarriesStateAcrossBlocks();
};

void TestTextPreview::namesMarkTextAndLanguage_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("text");
    QTest::addColumn<CodeLanguage>("language");
    QTest::newRow("JASS, any case") << "Scripts\\Blizzard.J" << true << CodeLanguage::Jass;
    QTest::newRow("Lua") << "war3map.lua" << true << CodeLanguage::Lua;
    QTest::newRow("list file") << "(listfile)" << true << CodeLanguage::None;
    QTest::newRow("binary model") << "Units\\Footman.mdx" << false << CodeLanguage::None;
    QTest::newRow("dot in a folder only") << "maps.j\\readme" << false << CodeLanguage::None;
}

void TestTextPreview::namesMarkTextAndLanguage()
{
    QFETCH(QString, name);
    QFETCH(bool, text);
    QFETCH(CodeLanguage, language);
    QCOMPARE(IsTextName(name), text);
    QCOMPARE(LanguageOfName(name), language);
}

void TestTextPreview::detectsAndDecodesText_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("text");
    QTest::addColumn<QString>("decoded");
    QTest::newRow("UTF-8 with a byte order mark") << QByteArray("\xEF\xBB\xBFs = \"Gr\xC3\xBC\xC3\x9F\x65\"\n") << true
                                                  << QStringLiteral("s = \"Grüße\"\n");
    QTest::newRow("broken UTF-8 among valid") << QByteArray("caf\xC3\xA9 \xFF end") << true
                                              << QStringLiteral("café \uFFFD end");
    QTest::newRow("broken UTF-8, mostly high bytes") << QByteArray("\xE4\xB8\xAD").repeated(16) + '\xFF' << true
                                                     << QStringLiteral("中").repeated(16) + QChar(0xFFFD);
    QTest::newRow("Windows-1252") << QByteArray("It\x92s caf\xE9\r\n\tok\f") << true
                                  << QStringLiteral("It’s café\r\n\tok\f");
    QTest::newRow("mostly high bytes") << QByteArray("\xFF\xFE\xFDz") << false << QStringLiteral("ÿþýz");
    QTest::newRow("NUL") << QByteArray("text\0", 5) << false << QString::fromLatin1("text\0", 5);
    QTest::newRow("control characters") << QByteArray("ab\x01\x63\x64") << false << QStringLiteral("ab\x01\x63\x64");
}

void TestTextPreview::detectsAndDecodesText()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, text);
    QFETCH(QString, decoded);
    QCOMPARE(LooksLikeText(bytes), text);
    QCOMPARE(DecodePreviewText(bytes), decoded);
}

void TestTextPreview::dumpsHex_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("dump");
    QTest::newRow("two lines") << QByteArray("0123456789ABCDEF\0\x7F\x80\xFFz", 21) << 1000
                               << QStringLiteral("00000000  30 31 32 33 34 35 36 37  38 39 41 42 43 44 45 46  |0123456789ABCDEF|\n"
                                  "00000010  00 7F 80 FF 7A                                    |....z|");
    QTest::newRow("limit") << QByteArray(40, 'a') << 17
                           << QStringLiteral("00000000  61 61 61 61 61 61 61 61  61 61 61 61 61 61 61 61  |aaaaaaaaaaaaaaaa|\n"
                              "00000010  61                                                |a|");
    QTest::newRow("nothing") << QByteArray("a") << 0 << QString();
}

void TestTextPreview::dumpsHex()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, limit);
    QFETCH(QString, dump);
    QCOMPARE(HexDump(bytes, limit), dump);
}

void TestTextPreview::scansCodeLines_data()
{
    QTest::addColumn<CodeLanguage>("language");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QStringList>("tokens");  // kind:text, over all lines
    const auto jass = CodeLanguage::Jass, lua = CodeLanguage::Lua;
    QTest::newRow("JASS declaration") << jass << QStringList{"function f takes integer a returns nothing"}
                                      << QStringList{"K:function", "K:takes", "T:integer", "K:returns", "K:nothing"};
    QTest::newRow("JASS string and comment") << jass << QStringList{R"(set s = "a\"b" // x)"}
                                             << QStringList{"K:set", R"(S:"a\"b")", "C:// x"};
    QTest::newRow("JASS numbers") << jass << QStringList{"call F('hfoo', 1.5, $FF, 0x1f, x2)"}
                                  << QStringList{"K:call", "N:'hfoo'", "N:1.5", "N:$FF", "N:0x1f"};
    QTest::newRow("Lua strings and comment") << lua << QStringList{R"(local s = 'it\'s' .. "x" -- done)"}
                                             << QStringList{"K:local", R"(S:'it\'s')", R"(S:"x")", "C:-- done"};
    QTest::newRow("Lua long comment") << lua << QStringList{"--[[ start", "", "still ]] return 0x1F, 1e-3"}
                                      << QStringList{"C:--[[ start", "C:still ]]", "K:return", "N:0x1F", "N:1e-3"};
    QTest::newRow("Lua long string") << lua << QStringList{"x = [==[ a ]]", "b ]==] end --[=[ c ]=] nil"}
                                     << QStringList{"S:[==[ a ]]", "S:b ]==]", "K:end", "C:--[=[ c ]=]", "K:nil"};
}

void TestTextPreview::scansCodeLines()
{
    QFETCH(CodeLanguage, language);
    QFETCH(QStringList, lines);
    QFETCH(QStringList, tokens);
    QStringList scanned;
    int state = 0;
    for (const QString &line : lines)
        for (const CodeToken &token : ScanCodeLine(line, language, state))
            scanned << QString(QLatin1Char("KTNSC"[int(token.kind)])) + u':' + line.mid(token.start, token.length);
    QCOMPARE(scanned, tokens);
    QCOMPARE(state, 0);
}

void TestTextPreview::highlighterCarriesStateAcrossBlocks()
{
    QTextDocument document(QStringLiteral("x --[[ a\nb ]] y\nz"));
    CodeHighlighter highlighter(&document, CodeLanguage::Lua);
    highlighter.rehighlight();
    const QList<QTextLayout::FormatRange> second = document.findBlockByNumber(1).layout()->formats();
    QCOMPARE(second.size(), 1);
    QCOMPARE(second[0].start, 0);
    QCOMPARE(second[0].length, 4);
    QVERIFY(second[0].format.fontItalic());
    QVERIFY(document.findBlockByNumber(2).layout()->formats().isEmpty());
}

QTEST_MAIN(TestTextPreview)
#include "test_text_preview.moc"
