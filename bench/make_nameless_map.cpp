// Makes a map-like archive of N stored files without an internal list, for
// the benchmark of name recovery: the script mentions half of the files, the
// import list a quarter, and a quarter is mentioned nowhere; with "unmentioned"
// the script and the import list mention none of them.
// Usage: arcavera-bench-nameless ARCHIVE N [unmentioned]
#include <QByteArray>
#include <QFile>

#include <cstdio>
#include <cstdlib>

#include "support/archive_factory.h"

using fixtures::HandFile;

int main(int argc, char *argv[])
{
    const long count = argc == 3 || argc == 4 ? std::strtol(argv[2], nullptr, 10) : 0;
    const bool unmentioned = argc == 4 && QByteArray(argv[3]) == "unmentioned";
    if (count < 4) {
        std::fputs("usage: arcavera-bench-nameless ARCHIVE N [unmentioned] (N of 4 or more)\n", stderr);
        return 1;
    }
    QList<HandFile> files;
    QByteArray script = "globals\nendglobals\nfunction main takes nothing returns nothing\n";
    QByteArray imports;
    std::uint32_t imported = 0;
    std::uint32_t noise = 12345;
    for (long i = 0; i < count - 2; ++i) {
        QByteArray name;
        QByteArray data(200, '\0');
        for (char &c : data) c = static_cast<char>((noise = noise * 1103515245u + 12345u) >> 24);
        if (unmentioned) {
            name = "data\\blob" + QByteArray::number(qlonglong(i)) + ".bin";
        } else if (i < count / 2) {
            name = "war3mapImported\\img" + QByteArray::number(qlonglong(i)) + ".blp";
            script += "  call Preload(\"" + QByteArray(name).replace("\\", "\\\\") + "\")\n";
            data.replace(0, 4, "BLP1");
        } else if (i < 3 * count / 4) {
            const QByteArray plain = "snd" + QByteArray::number(qlonglong(i)) + ".wav";
            name = "war3mapImported\\" + plain;
            imports += '\x05' + plain + '\0';
            ++imported;
            data.replace(0, 4, "RIFF");
        } else {
            name = "data\\blob" + QByteArray::number(qlonglong(i)) + ".bin";
        }
        files.append({name, data});
    }
    script += "endfunction\n";
    QByteArray list("\x01\0\0\0", 4);
    for (int b = 0; b < 4; ++b) list += static_cast<char>(imported >> (8 * b));
    files.append({"war3map.j", script});
    files.append({"war3map.imp", list + imports});
    std::uint32_t slotCount = 1;
    while (slotCount < 2 * static_cast<std::uint32_t>(count)) slotCount *= 2;
    QFile out(QString::fromLocal8Bit(argv[1]));
    return out.open(QIODevice::WriteOnly) && out.write(fixtures::HandMadeArchive(slotCount, files)) > 0 ? 0 : 1;
}
