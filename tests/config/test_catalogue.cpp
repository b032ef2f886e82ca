// The language files: what a file makes of each text, the list of languages
// the configuration dialog offers, and the English file that ships.
#include <QDir>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "config/catalogue.h"
#include "config/ini_file.h"
#include "support/archive_factory.h"

using namespace fixtures;

namespace {

QString Italian(QString MessageStrings::*field)
{
    for (const CatalogueEntry &entry : Catalogue())
        if (entry.field == field) return QString::fromUtf8(entry.italian);
    return {};
}

QString Field(const QString &name)
{
    for (const CatalogueEntry &entry : Catalogue())
        if (QLatin1String(entry.section) + u'/' + QLatin1String(entry.key) == name) return Texts().*entry.field;
    return QStringLiteral("<no such key>");
}

const QString kEnglish = QStringLiteral(ARCAVERA_LANGUAGES_SOURCE "/English.lng");

}  // namespace

class TestCatalogue : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

    QString Lng(const QString &name, const QByteArray &text) { return WriteFile(dir.filePath(name), text); }

private slots:
    void cleanup() { LoadLanguage(QString()); }

    void aFileSetsWhatItHoldsAndLeavesTheRestItalian_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        const QByteArray onlyLanguage = "[Language]\nName=Klingon\n";
        QTest::newRow("only [Language]: a menu") << onlyLanguage << "Menu/Open" << "&Apri Archivio...";
        QTest::newRow("only [Language]: a message") << onlyLanguage << "Message/Delete"
                                                    << "Sei sicuro di volere eliminare i files?";
        QTest::newRow("a translated key") << QByteArray("[Menu]\nOpen=&Open...\n") << "Menu/Open" << "&Open...";
        QTest::newRow("keys without regard to case") << QByteArray("[menu]\nopen=&Open...\n") << "Menu/Open"
                                                     << "&Open...";
        QTest::newRow("present but empty is empty") << QByteArray("[Menu]\nOpen=\n") << "Menu/Open" << "";
        QTest::newRow("the key in another section") << QByteArray("[Column]\nOpen=x\n") << "Menu/Open"
                                                    << "&Apri Archivio...";
        QTest::newRow("Windows-1252 bytes") << QByteArray("[Column]\nSize=Gr\xf6\xdf" "e\n") << "Column/Size"
                                            << QString::fromUtf8("Größe");
        QTest::newRow("UTF-8 bytes") << QByteArray("[Column]\nSize=Größe\n") << "Column/Size"
                                     << QString::fromUtf8("Größe");
        const QByteArray longText(300, 'x');
        QTest::newRow("a long text stays whole") << "[Message]\nDelete=" + longText + "\n" << "Message/Delete"
                                                 << QString::fromLatin1(longText);
        QTest::newRow("the author") << QByteArray("[Language]\nAuthor=Worf\n") << "Language/Author" << "Worf";
        QTest::newRow("the second FileList is the same key") << QByteArray("[Configuration]\nFileList=Lists\n")
                                                             << "Configuration/FileList" << "Lists";
    }
    void aFileSetsWhatItHoldsAndLeavesTheRestItalian()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        QSignalSpy loaded(&LanguageEvents::Instance(), &LanguageEvents::Loaded);
        LoadLanguage(Lng("test.lng", file));
        QCOMPARE(loaded.count(), 1);
        QCOMPARE(Field(key), expected);
    }

    void nothingToReadGivesTheItalianTexts_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("no file") << dir.filePath("gone.lng");
        QTest::newRow("the folder itself") << dir.path();
        QTest::newRow("no name at all") << QString();
        QTest::newRow("an empty file") << WriteFile(dir.filePath("empty.lng"), {});
    }
    void nothingToReadGivesTheItalianTexts()
    {
        QFETCH(QString, path);
        LoadLanguage(kEnglish);
        LoadLanguage(path);
        for (const CatalogueEntry &entry : Catalogue())
            QCOMPARE(Texts().*entry.field, QString::fromUtf8(entry.italian));
        QCOMPARE(Texts().FilterMPQ, MessageStrings().FilterMPQ);
    }

    void filtersTakeTranslatedDescriptionsAndFixedPatterns()
    {
        LoadLanguage(Lng("filters.lng", "[Filter]\nmpq=Archives\nall=Everything\nexe=*.com\n"));
        const QChar nul(0);
        QCOMPARE(Texts().FilterMPQ, "Archives" + QString(nul) + "*.mpq" + nul + "Everything" + nul + "*.*");
        QCOMPARE(Texts().FilterEXE, "*.com" + QString(nul) + "*.exe" + nul + "Everything" + nul + "*.*");
        const QStringList archives = Texts().FilterArchives.split(nul);
        QCOMPARE(archives.size(), 14);
        QCOMPARE(archives.first(), QStringLiteral("Archives"));
        QCOMPARE(archives[2], Italian(&MessageStrings::FilterScmText));
        QCOMPARE(archives[11], QStringLiteral("*.mpq;*.exe;*.snp;*.scm;*.scx;*.w3m;*.w3x;*.w3n"));
        QCOMPARE(archives.last(), QStringLiteral("*.*"));
    }

    void everyPlaceholderIsReplaced_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("one") << "Adding %v" << "Adding a.txt";
        QTest::newRow("two") << "%v: %v" << "a.txt: a.txt";
        QTest::newRow("case counts") << "%V %v" << "%V a.txt";
        QTest::newRow("none") << "Ready" << "Ready";
    }
    void everyPlaceholderIsReplaced()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(ReplaceValue(text, "a.txt"), expected);
    }

    void theLanguageList_data()
    {
        QTest::addColumn<QStringList>("files");  // "relative/path=Name", Name may be absent
        QTest::addColumn<QString>("configured");
        QTest::addColumn<QStringList>("expected");  // "text|tag" in the order found
        QTest::addColumn<int>("selected");
        const QString italian = QString::fromUtf8(kBuiltInLanguageName) + "|";
        QTest::newRow("no folder") << QStringList() << "" << QStringList{italian} << 0;
        QTest::newRow("a named file") << QStringList{"de.lng=Deutsch"} << "de.lng"
                                      << QStringList{italian, "Deutsch|de.lng"} << 1;
        QTest::newRow("no Name: the file name") << QStringList{"fr.lng"} << "" << QStringList{italian, "fr.lng|fr.lng"}
                                                << 0;
        QTest::newRow("other case selects") << QStringList{"De.lng=Deutsch"} << "dE.LNG"
                                            << QStringList{italian, "Deutsch|De.lng"} << 1;
        QTest::newRow("configured file gone") << QStringList{"de.lng=Deutsch"} << "es.lng"
                                              << QStringList{italian, "Deutsch|de.lng"} << 0;
        QTest::newRow("same names, own tags") << QStringList{"a.lng=Same", "b.lng=Same"} << "b.lng"
                                              << QStringList{italian, "Same|a.lng", "Same|b.lng"} << 2;
        QTest::newRow("a subfolder: bare tag") << QStringList{"more/x.lng=Extra"} << ""
                                               << QStringList{italian, "Extra|x.lng"} << 0;
        QTest::newRow("hidden files too, others not") << QStringList{".h.lng=Hidden", "notes.txt=No"} << ""
                                                      << QStringList{italian, "Hidden|.h.lng"} << 0;
    }
    void theLanguageList()
    {
        QFETCH(QStringList, files);
        QFETCH(QString, configured);
        QFETCH(QStringList, expected);
        QFETCH(int, selected);
        const QString folder = dir.filePath(QStringLiteral("list-%1/Languages").arg(QTest::currentDataTag()));
        for (const QString &file : files) {
            const QString name = file.section('=', 1);
            WriteFile(folder + "/" + file.section('=', 0, 0),
                      name.isEmpty() ? QByteArray("[Menu]\nOpen=x\n") : "[Language]\nName=" + name.toUtf8() + "\n");
        }
        const LanguageList list = ListLanguages(folder, configured);
        QStringList found;
        for (const LanguageItem &item : list.items) found << item.text + "|" + item.tag;
        QCOMPARE(found, expected);
        QCOMPARE(list.selected, selected);
    }

    // The English file ships complete: every text of the catalogue, in
    // English, with the placeholders and patterns the program relies on.
    void englishTranslatesEveryText()
    {
        const IniDocument english = IniDocument::Load(kEnglish);
        QCOMPARE(english.Get("Language", "Name", {}), QStringLiteral("English"));
        // Texts that are the same words in both languages.
        const QSet<QString> alike = {"&File", "&MPQ Embedder..."};
        for (const CatalogueEntry &entry : Catalogue()) {
            const QString where = QLatin1String(entry.section) + "/" + QLatin1String(entry.key);
            const std::optional<QString> text = english.Value(entry.section, entry.key);
            QVERIFY2(text && !text->isEmpty(), qPrintable(where + " is missing"));
            const QString italian = QString::fromUtf8(entry.italian);
            QVERIFY2(*text != italian || alike.contains(italian), qPrintable(where + " is still Italian"));
            QVERIFY2(text->count("%v") == italian.count("%v"), qPrintable(where + " lost its %v"));
            QVERIFY2(!text->contains('|') && !text->contains('#'), qPrintable(where));
            if (QByteArray(entry.section) == "Filter")
                QVERIFY2(text->endsWith(italian.mid(italian.indexOf('('))), qPrintable(where + " changed its pattern"));
        }
    }
};

QTEST_GUILESS_MAIN(TestCatalogue)
#include "test_catalogue.moc"
