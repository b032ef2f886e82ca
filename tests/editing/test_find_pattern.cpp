// The pattern language of Find, and how a find meets stored names.
#include <QTest>

#include "editing/find_pattern.h"

class TestFindPattern : public QObject {
    Q_OBJECT

private slots:
    void matches_data();
    void matches();
    void validity_data();
    void validity();
    void findInStoredNames_data();
    void findInStoredNames();
};

void TestFindPattern::matches_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");

    // Stars, and the one-character wildcards.
    QTest::newRow("star, empty text") << "*" << "" << true;
    QTest::newRow("star, any text") << "*" << "abc\\x.y" << true;
    QTest::newRow("stars in a row") << "a**b" << "ab" << true;
    QTest::newRow("star in the middle") << "a*c" << "abbbc" << true;
    QTest::newRow("star keeps the end fixed") << "a*c" << "abcd" << false;
    QTest::newRow("question, one char") << "?" << "x" << true;
    QTest::newRow("question, no char") << "?" << "" << false;
    QTest::newRow("question, two chars") << "?" << "xy" << false;
    QTest::newRow("questions fix the length") << "a??" << "abc" << true;
    QTest::newRow("questions, one short") << "a??" << "ab" << false;
    QTest::newRow("hash, digit") << "#" << "7" << true;
    QTest::newRow("hash, zero and nine") << "##" << "09" << true;
    QTest::newRow("hash, letter") << "#" << "a" << false;
    QTest::newRow("hash, point") << "#" << "." << false;
    QTest::newRow("hash, superscript two") << "#" << "²" << false;
    QTest::newRow("hash, arabic-indic three") << "#" << "٣" << false;
    QTest::newRow("hash in a name") << "unit##.mdx" << "unit42.mdx" << true;
    QTest::newRow("hash in a name, letter") << "unit##.mdx" << "unit4x.mdx" << false;

    // Lists.
    QTest::newRow("list, in") << "[abc]" << "b" << true;
    QTest::newRow("list, out") << "[abc]" << "d" << false;
    QTest::newRow("list takes one char") << "[abc]" << "ab" << false;
    QTest::newRow("list, no char") << "[abc]" << "" << false;
    QTest::newRow("range, low end") << "[a-c]" << "a" << true;
    QTest::newRow("range, high end") << "[a-c]" << "c" << true;
    QTest::newRow("range, past the end") << "[a-c]" << "d" << false;
    QTest::newRow("range, the dash itself") << "[a-c]" << "-" << false;
    QTest::newRow("range of one") << "[a-a]" << "a" << true;
    QTest::newRow("two ranges") << "[a-cx-z]" << "y" << true;
    QTest::newRow("two ranges, between") << "[a-cx-z]" << "m" << false;
    QTest::newRow("range and chars") << "[0-9_]" << "_" << true;
    QTest::newRow("negated range, out") << "[!a-c]" << "d" << true;
    QTest::newRow("negated range, in") << "[!a-c]" << "b" << false;
    QTest::newRow("negated, still one char") << "[!a-c]" << "" << false;
    QTest::newRow("negated, two chars") << "[!a-c]" << "dd" << false;
    QTest::newRow("dash at the start") << "[-a]" << "-" << true;
    QTest::newRow("dash at the end") << "[a-]" << "-" << true;
    QTest::newRow("dash at the end, no range") << "[a-]" << "b" << false;
    QTest::newRow("dash after the bang") << "[!-a]" << "-" << false;
    QTest::newRow("dash after the bang, other") << "[!-a]" << "b" << true;
    QTest::newRow("bang inside, literal") << "[a!]" << "!" << true;
    QTest::newRow("bang inside, not negating") << "[a!]" << "b" << false;
    QTest::newRow("bang bang") << "[!!]" << "!" << false;
    QTest::newRow("bang bang, other") << "[!!]" << "a" << true;
    QTest::newRow("star in a list") << "[*]" << "*" << true;
    QTest::newRow("star in a list, other") << "[*]" << "x" << false;
    QTest::newRow("question in a list") << "[?]" << "?" << true;
    QTest::newRow("question in a list, other") << "[?]" << "x" << false;
    QTest::newRow("hash in a list") << "[#]" << "#" << true;
    QTest::newRow("hash in a list, digit") << "[#]" << "5" << false;
    QTest::newRow("bracket in a list") << "[[]" << "[" << true;
    QTest::newRow("bracket in a list, other") << "[[]" << "x" << false;
    QTest::newRow("closing bracket outside") << "a]" << "a]" << true;
    QTest::newRow("empty list passed over") << "a[]b" << "ab" << true;
    QTest::newRow("empty list takes no char") << "a[]b" << "axb" << false;
    QTest::newRow("empty list alone") << "[]" << "" << true;
    QTest::newRow("star in a list is no star") << "a[*]" << "abc" << false;

    // Invalid patterns fit nothing, not even their own text.
    QTest::newRow("unclosed list") << "[abc" << "a" << false;
    QTest::newRow("unclosed list, own text") << "[abc" << "[abc" << false;
    QTest::newRow("unclosed list after a star") << "*[" << "x[" << false;
    QTest::newRow("reversed range") << "[z-a]" << "m" << false;
    QTest::newRow("reversed range, own text") << "[z-a]" << "[z-a]" << false;
    QTest::newRow("reversed range after a good one") << "x[a-c][9-0]" << "xb5" << false;

    // Stars that must give characters back.
    QTest::newRow("star, then a, then b") << "*a*b" << "aaab" << true;
    QTest::newRow("star, then a, then b, none") << "*a*b" << "aaa" << false;
    QTest::newRow("a star b star c") << "a*b*c" << "abxbc" << true;
    QTest::newRow("a star b star c, no c") << "a*b*c" << "abxb" << false;
    QTest::newRow("star then tail") << "*ab" << "aab" << true;
    QTest::newRow("star then tail, repeats") << "*abab" << "abaabab" << true;
    QTest::newRow("star then tail, wrong end") << "*ab" << "aba" << false;
    QTest::newRow("star, list, star") << "*[0-9]*x" << "ab1cdx" << true;
    QTest::newRow("star before hashes") << "*##" << "a1b22" << true;
    QTest::newRow("star before hashes, one digit") << "*##" << "a1b2" << false;

    // The empty pattern.
    QTest::newRow("empty pattern, empty text") << "" << "" << true;
    QTest::newRow("empty pattern, some text") << "" << "a" << false;

    // Comparison by character code.
    QTest::newRow("case counts") << "A" << "a" << false;
    QTest::newRow("case counts in a range") << "[A-Z]" << "q" << false;
    QTest::newRow("accented letter") << "caff?" << "caffè" << true;
    QTest::newRow("accented literal") << "è" << "è" << true;
    QTest::newRow("accented literal, other") << "è" << "e" << false;
    QTest::newRow("accented range") << "[à-ï]" << "è" << true;
    QTest::newRow("accented range, plain e") << "[à-ï]" << "e" << false;
    QTest::newRow("japanese") << "日本" << "日本" << true;
    QTest::newRow("japanese, question") << "日?" << "日本" << true;
    QTest::newRow("japanese, list") << "[月日]本" << "日本" << true;
    QTest::newRow("japanese, negated list") << "[!月日]本" << "日本" << false;
    QTest::newRow("japanese, star") << "*本*" << "日本語" << true;
}

void TestFindPattern::matches()
{
    QFETCH(QString, pattern);
    QFETCH(QString, text);
    QFETCH(bool, expected);
    QCOMPARE(LikePattern(pattern).Matches(text), expected);
}

void TestFindPattern::validity_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<bool>("valid");
    QTest::newRow("plain") << "abc" << true;
    QTest::newRow("empty") << "" << true;
    QTest::newRow("every wildcard") << "*?#[a-z][!0-9]" << true;
    QTest::newRow("empty list") << "[]" << true;
    QTest::newRow("range of one") << "[a-a]" << true;
    QTest::newRow("closing bracket alone") << "]" << true;
    QTest::newRow("unclosed list") << "[abc" << false;
    QTest::newRow("bracket at the end") << "abc[" << false;
    QTest::newRow("unclosed after a good list") << "[a]b[" << false;
    QTest::newRow("reversed range") << "[z-a]" << false;
    QTest::newRow("reversed range, negated") << "[!9-0]" << false;
}

void TestFindPattern::validity()
{
    QFETCH(QString, pattern);
    QFETCH(bool, valid);
    QCOMPARE(LikePattern(pattern).IsValid(), valid);
}

void TestFindPattern::findInStoredNames_data()
{
    QTest::addColumn<QString>("findText");
    QTest::addColumn<QByteArray>("storedName");
    QTest::addColumn<bool>("found");

    QTest::newRow("text at the end") << "wav" << QByteArray("a\\x.wav") << true;
    QTest::newRow("text at the start") << "wav" << QByteArray("wave\\y.txt") << true;
    QTest::newRow("text nowhere") << "wav" << QByteArray("a\\x.mp3") << false;
    QTest::newRow("pattern to the end") << "*.wav" << QByteArray("a\\x.wav") << true;
    QTest::newRow("pattern to the end, folder only") << "*.wav" << QByteArray("wave\\y.txt") << false;
    QTest::newRow("upper find text") << "WAV" << QByteArray("x.wav") << true;
    QTest::newRow("upper stored name") << "wav" << QByteArray("X.WAV") << true;
    QTest::newRow("mixed both") << "Foot" << QByteArray("Units\\FOOTMAN.mdx") << true;
    QTest::newRow("three questions, three chars") << "???" << QByteArray("abc") << true;
    QTest::newRow("three questions, longer") << "???" << QByteArray("abcdef") << true;
    QTest::newRow("three questions, two chars") << "???" << QByteArray("ab") << false;
    QTest::newRow("cancelled find") << "" << QByteArray("anything\\at.all") << true;
    QTest::newRow("cancelled find, empty name") << "" << QByteArray() << true;
    QTest::newRow("windows-1252 name") << "é" << QByteArray("caf\xe9.txt") << true;
    QTest::newRow("windows-1252 name, upper find") << "É" << QByteArray("caf\xe9.txt") << true;
    QTest::newRow("windows-1252 upper name") << "é" << QByteArray("CAF\xc9.TXT") << true;
    QTest::newRow("windows-1252, beyond latin-1") << "œ" << QByteArray("c\x9cur.txt") << true;
    QTest::newRow("windows-1252, beyond latin-1, upper") << "œ" << QByteArray("C\x8cUR.TXT") << true;
    QTest::newRow("windows-1252, euro") << "€" << QByteArray("prezzo\x80.txt") << true;
    QTest::newRow("windows-1252 name, plain e") << "cafe" << QByteArray("caf\xe9.txt") << false;
    QTest::newRow("utf-8 name") << "è" << QByteArray("caff\xc3\xa8.wav") << true;
    QTest::newRow("utf-8 name, japanese") << "日本" << QByteArray("\xe6\x97\xa5\xe6\x9c\xac\\a.txt") << true;
    QTest::newRow("folder part") << "units" << QByteArray("units\\footman.mdx") << true;
    QTest::newRow("across the separator") << "s\\f" << QByteArray("units\\footman.mdx") << true;
    QTest::newRow("whole name") << "units\\footman.mdx" << QByteArray("units\\footman.mdx") << true;
    QTest::newRow("digits") << "#" << QByteArray("file1.txt") << true;
    QTest::newRow("digits, none") << "#" << QByteArray("file.txt") << false;
    QTest::newRow("list in the find") << "[xyz].w" << QByteArray("a\\x.wav") << true;
    QTest::newRow("unclosed list finds nothing") << "a[b" << QByteArray("a[b") << false;
    QTest::newRow("unknown entry") << "~unknowns" << QByteArray("~unknowns\\unknown0000001f.wav") << true;
}

void TestFindPattern::findInStoredNames()
{
    QFETCH(QString, findText);
    QFETCH(QByteArray, storedName);
    QFETCH(bool, found);
    QCOMPARE(StoredNameMatches(FindPattern(findText), storedName), found);
}

QTEST_GUILESS_MAIN(TestFindPattern)
#include "test_find_pattern.moc"
