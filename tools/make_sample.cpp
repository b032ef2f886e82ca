// Makes the sample archive that the README's run command opens: a few files
// written here (a text, a small image, a sound, files in folders) and stored
// through Arcavera's own engine layer.
//
// Usage: arcavera-make-sample OUTPUT_FOLDER  (writes OUTPUT_FOLDER/sample.mpq)
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include <cmath>
#include <cstdio>

#include "mpq/mpq_library.h"

namespace {

QByteArray Le32(std::uint32_t v)
{
    char b[4];
    qToLittleEndian(v, b);
    return QByteArray(b, 4);
}

QByteArray Le16(std::uint16_t v)
{
    char b[2];
    qToLittleEndian(v, b);
    return QByteArray(b, 2);
}

// A 16 by 16 bitmap, 24 bits a pixel: a blue-to-orange gradient with a ring.
QByteArray Bitmap()
{
    constexpr int side = 16;
    QByteArray pixels;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const double dx = x - 7.5, dy = y - 7.5;
            const bool ring = std::abs(std::sqrt(dx * dx + dy * dy) - 5.5) < 1.0;
            const auto r = static_cast<char>(ring ? 255 : 16 * x);
            const auto g = static_cast<char>(ring ? 200 : 8 * y);
            const auto b = static_cast<char>(ring ? 40 : 255 - 16 * x);
            pixels.append(b).append(g).append(r);
        }
    }
    const auto fileSize = static_cast<std::uint32_t>(54 + pixels.size());
    QByteArray bmp = "BM" + Le32(fileSize) + Le32(0) + Le32(54);
    bmp += Le32(40) + Le32(side) + Le32(side) + Le16(1) + Le16(24) + Le32(0);
    bmp += Le32(static_cast<std::uint32_t>(pixels.size())) + Le32(2835) + Le32(2835) + Le32(0) + Le32(0);
    return bmp + pixels;
}

// Half a second of a falling tone, 16-bit mono PCM.
QByteArray Wave()
{
    constexpr int rate = 22050, samples = rate / 2;
    QByteArray pcm;
    for (int i = 0; i < samples; ++i) {
        const double t = double(i) / rate;
        const double value = 8000.0 * std::sin(2 * M_PI * (660.0 - 300.0 * t) * t) * (1.0 - t);
        pcm += Le16(static_cast<std::uint16_t>(static_cast<std::int16_t>(value)));
    }
    QByteArray wave = "RIFF" + Le32(static_cast<std::uint32_t>(36 + pcm.size())) + "WAVEfmt " + Le32(16);
    wave += Le16(1) + Le16(1) + Le32(rate) + Le32(rate * 2) + Le16(2) + Le16(16);
    return wave + "data" + Le32(static_cast<std::uint32_t>(pcm.size())) + pcm;
}

QByteArray Text(const char *title, int paragraphs)
{
    QByteArray text = QByteArray(title) + "\r\n\r\n";
    for (int i = 1; i <= paragraphs; ++i)
        text += "Paragraph " + QByteArray::number(i) +
                ": this sample file was written by Arcavera's build so that the editor has "
                "something to open. Its lines repeat, so it compresses well.\r\n";
    return text;
}

bool Write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

}  // namespace

int main(int argc, char *argv[])
{
    if (argc != 2) {
        std::fputs("usage: arcavera-make-sample OUTPUT_FOLDER\n", stderr);
        return 1;
    }
    const QString out = QFile::decodeName(argv[1]);
    const QString files = out + QStringLiteral("/sample-files");
    struct Sample {
        const char *stored;
        QString disk;
        QByteArray bytes;
        bool wave;
    };
    const Sample samples[] = {
        {"readme.txt", files + "/readme.txt", Text("Arcavera sample archive", 12), false},
        {"images\\arcavera.bmp", files + "/images/arcavera.bmp", Bitmap(), false},
        {"sound\\chime.wav", files + "/sound/chime.wav", Wave(), true},
        {"docs\\guide\\changes.txt", files + "/docs/guide/changes.txt", Text("Changes", 40), false},
        {"docs\\guide\\empty.txt", files + "/docs/guide/empty.txt", QByteArray(), false},
    };
    for (const Sample &s : samples)
        if (!Write(s.disk, s.bytes)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(s.disk));
            return 1;
        }

    const QString archive = out + QStringLiteral("/sample.mpq");
    QFile::remove(archive);
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(
        QFile::encodeName(archive).toStdString(), mpq::MOAU_CREATE_NEW | mpq::MOAU_MAINTAIN_LISTFILE, 64);
    if (!update) {
        std::fprintf(stderr, "cannot create %s\n", qPrintable(archive));
        return 1;
    }
    bool ok = true;
    for (const Sample &s : samples) {
        const std::string source = QFile::encodeName(s.disk).toStdString();
        ok = (s.wave ? mpq::MpqAddWaveToArchive(update.get(), source, s.stored, mpq::MAFA_COMPRESS, mpq::MAWA_QUALITY_MEDIUM)
                     : mpq::MpqAddFileToArchiveEx(update.get(), source, s.stored, mpq::MAFA_COMPRESS,
                                                  mpq::MAFA_COMPRESS_STANDARD, -1)) && ok;
    }
    ok = update.Close() && ok;
    if (!ok) {
        std::fprintf(stderr, "cannot fill %s\n", qPrintable(archive));
        return 1;
    }
    return 0;
}
