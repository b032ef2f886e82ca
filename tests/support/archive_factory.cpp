#include "support/archive_factory.h"

#include <QTest>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QtEndian>

#include <cmath>

#include "mpq/mpq_hash.h"

namespace fixtures {

QString CaseFolder(const QString &root)
{
    const QString folder = root + '/' + QString(QTest::currentTestFunction()) + '/' + DataTagFileName();
    QDir().mkpath(folder);
    return folder;
}

QByteArray ExeBytes(qint64 size)
{
    QByteArray bytes(size, '\0');
    for (qint64 i = 0; i < size; ++i) bytes[i] = char('a' + i % 23);
    return bytes.replace(0, 2, "MZ");
}

QByteArray ArchiveBytes(qint64 size)
{
    QByteArray bytes(size, '\0');
    for (qint64 i = 0; i < size; ++i) bytes[i] = char(i % 251);
    return bytes.replace(0, 4, "MPQ\x1A");
}

QString DataTagFileName()
{
    QString tag = QString::fromLatin1(QTest::currentDataTag());
    for (QChar &c : tag)
        if (!c.isLetterOrNumber()) c = u'_';
    return tag;
}

QString WriteFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) file.write(bytes);
    return path;
}

QByteArray ReadFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::string Bytes(const QString &path) { return QFile::encodeName(path).toStdString(); }

QByteArray TextData(int size, char seed)
{
    QByteArray data;
    data.reserve(size);
    const QByteArray line = QByteArray("line of sample text ") + seed + "\r\n";
    while (data.size() < size) data += line;
    data.truncate(size);
    return data;
}

QByteArray WaveData(int samples)
{
    QByteArray pcm;
    pcm.reserve(samples * 2);
    std::uint32_t noise = 12345;
    for (int i = 0; i < samples; ++i) {
        noise = noise * 1103515245 + 12345;
        const double tone = 9000.0 * std::sin(i * 0.07) + 3000.0 * std::sin(i * 0.31);
        const int jitter = static_cast<int>((noise >> 16) % 2001) - 1000;
        const auto sample = static_cast<qint16>(tone + jitter);
        char le[2];
        qToLittleEndian(sample, le);
        pcm.append(le, 2);
    }
    auto u32 = [](std::uint32_t v) { char b[4]; qToLittleEndian(v, b); return QByteArray(b, 4); };
    auto u16 = [](std::uint16_t v) { char b[2]; qToLittleEndian(v, b); return QByteArray(b, 2); };
    QByteArray wave = "RIFF" + u32(static_cast<std::uint32_t>(36 + pcm.size())) + "WAVEfmt " + u32(16);
    wave += u16(1) + u16(1) + u32(22050) + u32(44100) + u16(2) + u16(16);
    wave += "data" + u32(static_cast<std::uint32_t>(pcm.size())) + pcm;
    return wave;
}

bool MakeArchive(const QString &path, const QList<StoredFile> &files, const QString &scratch,
                 std::uint32_t maximumFiles)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(
        Bytes(path), mpq::MOAU_CREATE_NEW | mpq::MOAU_MAINTAIN_LISTFILE, maximumFiles);
    if (!update) return false;
    bool ok = true;
    int n = 0;
    for (const StoredFile &file : files) {
        const QString source = WriteFile(scratch + QStringLiteral("/src%1.bin").arg(n++), file.data);
        ok = mpq::MpqAddFileToArchiveEx(update.get(), Bytes(source), file.name.toStdString(), file.flags,
                                        file.type, -1) && ok;
    }
    return update.Close() && ok;
}

bool HaveSmpq() { return !QStandardPaths::findExecutable(QStringLiteral("smpq")).isEmpty(); }

QString ArchiveIn(const QString &folder, const QString &name, const QList<StoredFile> &files)
{
    const QString path = folder + QLatin1Char('/') + name;
    QFile::remove(path);
    if (!MakeArchive(path, files, folder + QStringLiteral("/scratch-") + name))
        qWarning("archive %s not made", qPrintable(name));
    return path;
}

bool RunSmpq(const QStringList &arguments, const QString &workDir)
{
    QProcess smpq;
    smpq.setWorkingDirectory(workDir);
    smpq.start(QStringLiteral("smpq"), QStringList{QStringLiteral("-q")} + arguments);
    if (!smpq.waitForFinished(60000)) return false;
    return smpq.exitStatus() == QProcess::NormalExit && smpq.exitCode() == 0;
}

namespace {

void AppendWords(QByteArray &out, const std::vector<std::uint32_t> &words)
{
    for (std::uint32_t w : words) {
        char b[4];
        qToLittleEndian(w, b);
        out.append(b, 4);
    }
}

}  // namespace

QByteArray HandMadeArchive(std::uint32_t slotCount, const QList<HandFile> &files, QByteArray prefix)
{
    constexpr std::uint32_t kHeaderSize = 32;
    QByteArray body;
    std::vector<std::uint32_t> blocks;
    for (const HandFile &file : files) {
        const auto position = static_cast<std::uint32_t>(kHeaderSize + body.size());
        body += file.data;
        const auto size = static_cast<std::uint32_t>(file.data.size());
        const std::uint32_t stored = file.storedSizeOverride ? file.storedSizeOverride : size;
        blocks.insert(blocks.end(), {position, stored, file.fullSizeOverride ? file.fullSizeOverride : size, file.flags});
    }
    std::vector<std::uint32_t> hashes(slotCount * 4, 0xFFFFFFFF);
    for (int i = 0; i < files.size(); ++i) {
        const QByteArray &name = files[i].name;
        const std::size_t n = static_cast<std::size_t>(name.size());
        std::uint32_t slot = slotCount ? mpq::HashString(name.constData(), n, mpq::HashType::TableOffset) % slotCount : 0;
        for (std::uint32_t tries = 0; tries < slotCount && hashes[slot * 4 + 3] != 0xFFFFFFFF; ++tries)
            slot = (slot + 1) % slotCount;
        if (slotCount == 0 || hashes[slot * 4 + 3] != 0xFFFFFFFF) continue;  // no room: the file is lost
        hashes[slot * 4] = mpq::HashString(name.constData(), n, mpq::HashType::NameA);
        hashes[slot * 4 + 1] = mpq::HashString(name.constData(), n, mpq::HashType::NameB);
        hashes[slot * 4 + 2] = 0;
        hashes[slot * 4 + 3] = files[i].blockIndexOverride != 0xFFFFFFFF
                                   ? files[i].blockIndexOverride
                                   : static_cast<std::uint32_t>(i);
    }
    mpq::EncryptWords(hashes, 0xC3AF3770);
    mpq::EncryptWords(blocks, 0xEC83B3A3);
    const auto hashPos = static_cast<std::uint32_t>(kHeaderSize + body.size());
    const auto blockPos = hashPos + slotCount * 16;
    const auto archiveSize = blockPos + static_cast<std::uint32_t>(files.size()) * 16;
    QByteArray out = prefix;
    out += QByteArray("MPQ\x1A", 4);
    AppendWords(out, {kHeaderSize, archiveSize});
    out += QByteArray("\x00\x00\x03\x00", 4);  // format 0, sectors of 4096 bytes
    AppendWords(out, {hashPos, blockPos, slotCount, static_cast<std::uint32_t>(files.size())});
    out += body;
    AppendWords(out, hashes);
    AppendWords(out, blocks);
    return out;
}

std::vector<ListedFile> List(const QString &archive, const std::string &listText)
{
    const mpq::Archive handle = mpq::SFileOpenArchive(Bytes(archive));
    const std::int64_t slotCount = mpq::SFileGetFileInfo(handle.get(), mpq::SFILE_INFO_HASH_TABLE_SIZE);
    mpq::FileList records;
    if (slotCount > 0) mpq::SFileListFiles(handle.get(), listText, records);
    std::vector<ListedFile> used;
    for (std::size_t i = 0; i < records.size(); ++i)
        used.push_back({records[i].CompressedSize, records[i].FullSize, records[i].Flags, std::string(records.Name(i))});
    return used;
}

static QByteArray ReadAll(mpq::MpqHandle archive, const std::string &name, bool *ok)
{
    const mpq::StoredFile file = mpq::SFileOpenFileEx(archive, name);
    if (!file) {
        if (ok) *ok = false;
        return {};
    }
    const std::int64_t size = mpq::SFileGetFileInfo(file.get(), mpq::SFILE_INFO_SIZE);
    QByteArray data(static_cast<qsizetype>(std::max<std::int64_t>(size, 0)), '\0');
    std::uint32_t read = 0;
    const bool readOk = size == 0 || mpq::SFileReadFile(file.get(), data.data(), static_cast<std::uint32_t>(size), &read, nullptr);
    data.truncate(read);
    if (ok) *ok = readOk && read == static_cast<std::uint32_t>(size);
    return data;
}

std::string InternalList(const QString &archive)
{
    const mpq::Archive handle = mpq::SFileOpenArchive(Bytes(archive));
    return ReadAll(handle.get(), "(ListFile)", nullptr).toStdString();
}

QByteArray ReadStored(const QString &archive, const std::string &name, bool *ok)
{
    const mpq::Archive handle = mpq::SFileOpenArchive(Bytes(archive));
    return ReadAll(handle.get(), name, ok);
}

QMap<QString, QByteArray> Tree(const QString &folder)
{
    QMap<QString, QByteArray> tree;
    const QDir root(folder);
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString relative = root.relativeFilePath(path);
        if (it.fileInfo().isDir())
            tree.insert(relative + QLatin1Char('/'), "<dir>");
        else
            tree.insert(relative, ReadFile(path));
    }
    return tree;
}

}  // namespace fixtures

namespace fixtures {

QByteArray WithBlockEntry(QByteArray archive, int headerAt, int index, std::uint32_t position,
                          std::uint32_t storedSize, std::uint32_t fullSize, std::uint32_t flags)
{
    const auto word = [&](qsizetype at) { return qFromLittleEndian<std::uint32_t>(archive.constData() + at); };
    const qsizetype tableAt = headerAt + qsizetype{word(headerAt + 20)};
    std::vector<std::uint32_t> blocks(word(headerAt + 28) * 4);
    for (std::size_t i = 0; i < blocks.size(); ++i) blocks[i] = word(tableAt + qsizetype(i) * 4);
    // Decrypting: the same walk as encrypting, with each plain word taken from the result.
    const auto &table = mpq::CryptTable();
    std::uint32_t key = 0xEC83B3A3, seed = 0xEEEEEEEE;
    for (std::uint32_t &value : blocks) {
        seed += table[0x400 + (key & 0xFF)];
        value ^= key + seed;
        key = ((~key << 0x15) + 0x11111111) | (key >> 0x0B);
        seed = value + seed + (seed << 5) + 3;
    }
    const std::size_t at = std::size_t(index) * 4;
    blocks[at] = position;
    blocks[at + 1] = storedSize;
    blocks[at + 2] = fullSize;
    blocks[at + 3] = flags;
    mpq::EncryptWords(blocks, 0xEC83B3A3);
    QByteArray table32;
    AppendWords(table32, blocks);
    return archive.replace(tableAt, table32.size(), table32);
}

}  // namespace fixtures

#include <QCryptographicHash>

#include <StormLib.h>

namespace fixtures {

// The bytes of the archive that StormLib makes at `path` as `create` says,
// with `files`; each with `flags` or, given none, its own.
static QByteArray StormBytes(const QString &path, SFILE_CREATE_MPQ create, const QList<StoredFile> &files,
                             DWORD flags = 0)
{
    QFile::remove(path);
    create.cbSize = sizeof create;
    create.dwSectorSize = 4096;  // StormLib 9.22 cannot open what it makes with sectors of 512 bytes
    create.dwMaxFileCount = DWORD(files.size()) + 8;
    HANDLE archive = nullptr;
    if (!SFileCreateArchive2(QFile::encodeName(path).constData(), &create, &archive)) return {};
    bool ok = true;
    for (const StoredFile &file : files) {
        HANDLE stored = nullptr;
        ok = ok && SFileCreateFile(archive, file.name.constData(), 0, DWORD(file.data.size()), 0,
                                   (flags != 0 ? flags : file.flags) | MPQ_FILE_REPLACEEXISTING, &stored);
        ok = ok && SFileWriteFile(stored, file.data.constData(), DWORD(file.data.size()), MPQ_COMPRESSION_ZLIB);
        if (stored != nullptr) ok = SFileFinishFile(stored) && ok;
    }
    ok = SFileCloseArchive(archive) && ok;
    return ok ? ReadFile(path) : QByteArray();
}

QByteArray StormArchiveBytes(const QString &path, int formatVersion, const QList<StoredFile> &files)
{
    SFILE_CREATE_MPQ create{};
    create.dwMpqVersion = DWORD(formatVersion - 1);
    create.dwFileFlags1 = MPQ_FILE_EXISTS | MPQ_FILE_COMPRESS;  // the list file
    return StormBytes(path, create, files, MPQ_FILE_COMPRESS);
}

QByteArray ListlessArchiveBytes(const QString &path, const QList<StoredFile> &files)
{
    SFILE_CREATE_MPQ create{};
    create.dwFileFlags2 = MPQ_FILE_EXISTS | MPQ_FILE_COMPRESS;  // the attributes
    create.dwAttrFlags = MPQ_ATTRIBUTE_CRC32 | MPQ_ATTRIBUTE_MD5;
    return StormBytes(path, create, files);
}

// Where a HET or BET table lies and how long it is stored: a format 4 header
// gives the length, in format 3 the next table begins where it ends.
struct ExtTableSpan {
    qsizetype at, size;
    std::uint32_t key;
};

static ExtTableSpan ExtTableOf(const QByteArray &archive, bool bet)
{
    const auto word64 = [&](qsizetype at) { return qsizetype(qFromLittleEndian<quint64>(archive.constData() + at)); };
    const bool version4 = archive[12] == MPQ_FORMAT_VERSION_4;
    const qsizetype hetAt = word64(0x3C), betAt = word64(0x34);
    const qsizetype hashAt = qFromLittleEndian<quint32>(archive.constData() + 16);
    if (bet) return {betAt, version4 ? word64(0x64) : hashAt - betAt, MPQ_KEY_BLOCK_TABLE};
    return {hetAt, version4 ? word64(0x5C) : betAt - hetAt, MPQ_KEY_HASH_TABLE};
}

// The table's words behind its plain 12-byte header, decrypted.
static std::vector<std::uint32_t> ExtTableWords(const QByteArray &archive, const ExtTableSpan &span)
{
    std::vector<std::uint32_t> words(std::size_t(span.size - 12) / 4);
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = qFromLittleEndian<quint32>(archive.constData() + span.at + 12 + qsizetype(i) * 4);
    const auto &table = mpq::CryptTable();
    std::uint32_t key = span.key, seed = 0xEEEEEEEE;
    for (std::uint32_t &value : words) {
        seed += table[0x400 + (key & 0xFF)];
        value ^= key + seed;
        key = ((~key << 0x15) + 0x11111111) | (key >> 0x0B);
        seed = value + seed + (seed << 5) + 3;
    }
    return words;
}

QByteArray WithExtTableWord(QByteArray archive, bool bet, int offset, std::uint32_t value)
{
    const ExtTableSpan span = ExtTableOf(archive, bet);
    if (offset < 12) {
        const quint32 word = qToLittleEndian(value);
        return archive.replace(span.at + offset, 4, QByteArray(reinterpret_cast<const char *>(&word), 4));
    }
    std::vector<std::uint32_t> words = ExtTableWords(archive, span);
    words[std::size_t(offset - 12) / 4] = value;
    mpq::EncryptWords(words, span.key);
    QByteArray encrypted;
    AppendWords(encrypted, words);
    return archive.replace(span.at + 12, encrypted.size(), encrypted);
}

QByteArray WithCompressedBet(QByteArray archive)
{
    const ExtTableSpan span = ExtTableOf(archive, true);
    std::vector<std::uint32_t> words = ExtTableWords(archive, span);
    // Zeros behind the table's parts, counted in both its sizes, make it
    // compress; StormLib reads only the parts.
    constexpr quint32 kZeros = 256;
    const quint32 dataSize = qFromLittleEndian<quint32>(archive.constData() + span.at + 8) + kZeros;
    words[0] += kZeros;
    QByteArray plain;
    AppendWords(plain, words);
    plain = plain.left(dataSize - kZeros) + QByteArray(kZeros, '\0');
    // zlib's stream without Qt's length before it, behind the byte that names zlib.
    QByteArray packed = '\x02' + qCompress(plain, 9).mid(4);
    packed.append(QByteArray(-packed.size() & 3, '\0'));
    if (12 + packed.size() >= qsizetype(dataSize)) return {};
    words.resize(std::size_t(packed.size()) / 4);
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = qFromLittleEndian<quint32>(packed.constData() + i * 4);
    mpq::EncryptWords(words, span.key);
    const quint64 at = qToLittleEndian(quint64(archive.size())), size = qToLittleEndian(12 + quint64(packed.size()));
    archive.append(archive.mid(span.at, 8));
    AppendWords(archive, {dataSize});
    AppendWords(archive, words);
    archive.replace(0x34, 8, QByteArray(reinterpret_cast<const char *>(&at), 8));
    archive.replace(0x64, 8, QByteArray(reinterpret_cast<const char *>(&size), 8));
    return archive.replace(0xC0, 16, QCryptographicHash::hash(archive.left(0xC0), QCryptographicHash::Md5));
}

}  // namespace fixtures
