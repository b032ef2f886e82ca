// The preview pane on a map the test makes: what each kind of stored file
// shows, a map's details with no row, a read the engine is stuck in left by
// the user, and a sound that does not decode.
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "pane/preview_pane_widget.h"
#include "support/archive_factory.h"
#include "support/damaged_data.h"
#include "support/map_factory.h"

using namespace fixtures;

namespace {

// Waits until the pane has put a look in place.
bool Settled(PreviewPane &pane, QSignalSpy &shown)
{
    return QTest::qWaitFor([&] { return !shown.isEmpty() && !pane.Reading(); }, 10000);
}

}  // namespace

class TestPreviewPane : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString map;

private slots:
    void initTestCase()
    {
        map = WriteFile(dir.filePath("look.w3x"),
                        LookMap({{"odd.txt", "café \xff ok"},
                                 {"blob.bin", QByteArray::fromHex("00010203ff")},
                                 {"noise.wav", QByteArray("RIFF\x10\0\0\0WAVEjunkjunk", 20)},
                                 EndlessBzip2File("stuck.j")}));
    }

    void showsWhatAFileHolds_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<PreviewKind>("kind");
        QTest::addColumn<QString>("text");  // a part of what it shows
        QTest::addColumn<QString>("note");
        QTest::newRow("script") << QByteArray("war3map.j") << PreviewKind::Text << "takes nothing returns" << "";
        QTest::newRow("image") << QByteArray("war3mapPreview.tga") << PreviewKind::Image << "" << "2 × 2 · TGA";
        QTest::newRow("damaged image") << QByteArray("broken.blp") << PreviewKind::Message << "Immagine danneggiata: " << "";
        QTest::newRow("sound") << QByteArray("c.wav") << PreviewKind::Sound << "" << "WAV · ";
        QTest::newRow("invalid UTF-8") << QByteArray("odd.txt") << PreviewKind::Text << "café \uFFFD ok" << "";
        QTest::newRow("binary") << QByteArray("blob.bin") << PreviewKind::Hex << "00000000  00 01 02 03 ff" << "";
        QTest::newRow("gone") << QByteArray("nope.txt") << PreviewKind::Message << "non è più nell'archivio" << "";
    }
    void showsWhatAFileHolds()
    {
        QFETCH(QByteArray, name);
        QFETCH(PreviewKind, kind);
        QFETCH(QString, text);
        QFETCH(QString, note);
        PreviewPane pane;
        QSignalSpy shown(&pane, &PreviewPane::Shown);
        pane.ShowStoredFile(map, name);
        QVERIFY(Settled(pane, shown));
        QCOMPARE(pane.Kind(), kind);
        QVERIFY2(pane.Text().contains(text, Qt::CaseInsensitive), qPrintable(pane.Text()));
        QVERIFY2(note.isEmpty() ? pane.Note().isEmpty() : pane.Note().startsWith(note), qPrintable(pane.Note()));
        if (kind == PreviewKind::Image) QCOMPARE(pane.Image().pixel(1, 0), 0xff00ff00u);  // the second pixel: green
    }

    // With no row, a map shows its details, its trigger strings resolved
    // and its colour codes gone.
    void aMapShowsItsDetails()
    {
        PreviewPane pane;
        QSignalSpy shown(&pane, &PreviewPane::Shown);
        pane.ShowArchive(map);
        QVERIFY(Settled(pane, shown));
        QCOMPARE(pane.Kind(), PreviewKind::Map);
        QVERIFY2(pane.Text().contains("Look Map") && pane.Text().contains("Lordaeron Summer") &&
                     pane.Text().contains("116 × 84"),
                 qPrintable(pane.Text()));
    }

    // A read the engine is stuck in shows its progress line; Leave ends it
    // and the next file shows as usual.
    void aStuckReadCanBeLeft()
    {
        PreviewPane pane;
        pane.show();
        QSignalSpy shown(&pane, &PreviewPane::Shown);
        pane.ShowStoredFile(map, "stuck.j");
        QTRY_VERIFY_WITH_TIMEOUT(pane.LeaveButton()->isVisible(), 5000);
        pane.LeaveButton()->click();
        QCOMPARE(pane.Text(), QStringLiteral("Lettura lasciata: selezionalo di nuovo per riprenderla."));
        QVERIFY(!pane.Reading() && !pane.LeaveButton()->isVisible());
        shown.clear();
        pane.ShowStoredFile(map, "war3map.j");
        QVERIFY(Settled(pane, shown));
        QCOMPARE(pane.Kind(), PreviewKind::Text);
    }

    // A sound whose data does not decode says so when played.
    void aSoundThatDoesNotDecodeSaysSo()
    {
        PreviewPane pane;
        QSignalSpy shown(&pane, &PreviewPane::Shown);
        pane.ShowStoredFile(map, "noise.wav");
        QVERIFY(Settled(pane, shown));
        QCOMPARE(pane.Kind(), PreviewKind::Sound);
        pane.PlayButton()->click();
        QTRY_VERIFY_WITH_TIMEOUT(pane.Text().startsWith("Il suono non si riproduce: "), 10000);
    }
};

QTEST_MAIN(TestPreviewPane)
#include "test_preview_pane.moc"
