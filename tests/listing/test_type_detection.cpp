#include <QTest>

#include "listing/type_detection.h"

class TestTypeDetection : public QObject {
    Q_OBJECT
private slots:
    void detect_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QString>("extension");
        QTest::newRow("MPQ") << QByteArray("MPQ\x1a") << ".mpq";
        QTest::newRow("SMK") << QByteArray("SMK2") << ".smk";
        QTest::newRow("RIFF is always a wave") << QByteArray("RIFF....AVI ") << ".wav";
        QTest::newRow("MZ 0x90") << QByteArray("MZ\x90\x00", 4) << ".exe";
        QTest::newRow("MZ other") << QByteArray("MZP") << "";
        QTest::newRow("PK 3") << QByteArray("PK\x03\x04") << ".zip";
        QTest::newRow("MDL") << QByteArray("MDLX") << ".mdx";
        QTest::newRow("BLP") << QByteArray("BLP1") << ".blp";
        QTest::newRow("ID3") << QByteArray("ID3\x03") << ".mp3";
        QTest::newRow("pcx") << QByteArray("\x0a\x05\x01\x08") << ".pcx";
        QTest::newRow("MThd") << QByteArray("MThd") << ".mid";
        QTest::newRow("BM6") << QByteArray("BM6\x10") << ".bmp";
        QTest::newRow("BM other") << QByteArray("BMF") << "";
        QTest::newRow("GIF") << QByteArray("GIF89a") << ".gif";
        QTest::newRow("jpeg") << QByteArray("\xff\xd8\xff\xe0") << ".jpg";
        QTest::newRow("HM3W") << QByteArray("HM3W") << ".w3m";
        QTest::newRow("VER") << QByteArray("VER ") << ".chk";
        QTest::newRow("TYP") << QByteArray("TYPE") << ".chk";
        QTest::newRow("small letters") << QByteArray("mpq") << "";
        QTest::newRow("zeros") << QByteArray(3, '\0') << "";
        QTest::newRow("two bytes count the third as zero") << QByteArray("MZ") << "";
        QTest::newRow("nothing") << QByteArray() << "";
    }
    void detect()
    {
        QFETCH(QByteArray, head);
        QFETCH(QString, extension);
        QCOMPARE(DetectExtension(head), extension);
    }
};

QTEST_GUILESS_MAIN(TestTypeDetection)
#include "test_type_detection.moc"
