#include "listing/name_scanner.h"

#include "boundary/child_work.h"

#include <QFile>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <deque>
#include <string>
#include <unordered_set>

#include "listing/name_sources.h"
#include "base/paths.h"
#include "base/text_encoding.h"

namespace {

// The longest stored name the engine takes.
constexpr qsizetype kLongestName = 259;

// Bytes that may stand in a stored name as the map's files write them; any
// other byte ends a run. Bytes from 0x80 up belong to names in UTF-8 or in an
// 8-bit code page.
bool IsNameByte(unsigned char c)
{
    if (c >= 0x80 || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) return true;
    switch (c) {
    case '_': case '-': case '.': case '\\': case '/': case ' ': case '(': case ')': case '!': case '#':
    case '$': case '%': case '&': case '\'': case '+': case '@': case '[': case ']': case '^': case '{':
    case '}': case '~':
        return true;
    default:
        return false;
    }
}

bool IsAsciiAlnum(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// A run in the form of a stored name: "/" made "\", doubled "\" made single,
// no "\" or blank at either end, and a file name with an extension of one to
// four letters or digits behind its last point. Empty when it has no such form.
QByteArray NormalisedName(QByteArray run)
{
    if (run.size() > 4 * kLongestName) return {};
    run.replace('/', '\\');
    while (run.contains("\\\\")) run.replace("\\\\", "\\");
    while (run.startsWith(".\\")) run.remove(0, 2);
    run = run.trimmed();
    while (run.startsWith('\\')) run.remove(0, 1);
    if (run.size() < 3 || run.size() > kLongestName || run.endsWith('\\')) return {};
    const qsizetype point = run.lastIndexOf('.');
    const qsizetype folder = run.lastIndexOf('\\');
    const qsizetype extension = run.size() - point - 1;
    if (point <= folder + 1 || extension < 1 || extension > 4) return {};
    for (qsizetype i = point + 1; i < run.size(); ++i)
        if (!IsAsciiAlnum(run[i])) return {};
    return run;
}

// `name` and the names the game puts in its place: a model under both of its
// extensions and as its portrait, a texture as .tga and as .blp.
void AddWithTwins(const QByteArray &name, QList<QByteArray> &out)
{
    out.append(name);
    const qsizetype point = name.lastIndexOf('.');
    const QByteArray stem = name.left(point);
    const QByteArray extension = name.mid(point + 1).toLower();
    const auto twin = [&](const char *other) { out.append(stem + '.' + other); };
    if (extension == "mdx" || extension == "mdl") {
        twin(extension == "mdx" ? "mdl" : "mdx");
        if (!stem.endsWith("_Portrait") && !stem.endsWith("_portrait"))
            out.append(stem + "_Portrait.mdx");
    } else if (extension == "tga") {
        twin("blp");
    } else if (extension == "blp") {
        twin("tga");
    }
}

// The runs of name bytes, whole and, for a run with blanks, word by word.
void AddRuns(const QByteArray &content, QList<QByteArray> &out)
{
    const char *data = content.constData();
    const qsizetype size = content.size();
    qsizetype start = 0;
    for (qsizetype i = 0; i <= size; ++i) {
        if (i < size && IsNameByte(static_cast<unsigned char>(data[i]))) continue;
        // A run longer than any name still holds names between its blanks.
        const QByteArray run = QByteArray::fromRawData(data + start, i - start);
        start = i + 1;
        if (run.size() < 3 || !run.contains('.')) continue;
        // A name may hold blanks, but a run with blanks and more than one point
        // is a sentence more likely than a name.
        const bool words = run.contains(' ');
        if (!words || run.count('.') == 1)
            if (const QByteArray whole = NormalisedName(QByteArray(run)); !whole.isEmpty()) AddWithTwins(whole, out);
        if (!words) continue;
        for (const QByteArray &word : run.split(' '))
            if (const QByteArray name = NormalisedName(word); !name.isEmpty()) AddWithTwins(name, out);
    }
}

// The entries of an import list: a version and a count (32 bits each), then
// per entry a flag byte and a zero-ended path, below `prefix` unless the flag
// marks a path of the map maker's own. Both readings are tried: a wrong one
// names nothing. A list cut short gives the entries it holds.
void AddImports(const QByteArray &content, const QByteArray &prefix, QList<QByteArray> &out)
{
    if (content.size() < 8) return;
    const auto word = [&](qsizetype at) {
        return std::uint32_t(std::uint8_t(content[at])) | std::uint32_t(std::uint8_t(content[at + 1])) << 8 |
               std::uint32_t(std::uint8_t(content[at + 2])) << 16 | std::uint32_t(std::uint8_t(content[at + 3])) << 24;
    };
    const std::uint32_t count = word(4);
    qsizetype at = 8;
    for (std::uint32_t n = 0; n < count && at + 1 < content.size(); ++n) {
        const qsizetype end = content.indexOf('\0', at + 1);
        const QByteArray path = content.mid(at + 1, (end < 0 ? content.size() : end) - at - 1);
        if (const QByteArray name = NormalisedName(path); !name.isEmpty()) {
            AddWithTwins(name, out);
            AddWithTwins(prefix + name, out);
        }
        if (end < 0) break;
        at = end + 1;
    }
}

// The folder that an import list's plain entries stand in, or empty for a
// stored file that is no import list.
QByteArray ImportFolder(const QByteArray &name)
{
    const QByteArray lower = GetFileName(QString::fromLatin1(name)).toLatin1().toLower();
    if (lower == "war3campaign.imp") return "war3campaignImported\\";
    if (lower.endsWith(".imp")) return "war3mapImported\\";
    return {};
}

// Stored files whose text or strings name other stored files, by extension;
// import lists first, scripts next.
int ScanRank(const QByteArray &name)
{
    const QByteArray extension = GetExtension(QString::fromLatin1(name)).toLatin1().toLower();
    if (extension == "imp") return 0;
    if (extension == "j" || extension == "lua") return 1;
    static const std::unordered_set<std::string> kMentioning = {
        "ai", "slk", "txt", "fdf", "toc", "mdl", "mdx", "w3u", "w3t", "w3a", "w3b", "w3d", "w3q",
        "w3h", "w3i", "w3s", "wts", "wct", "wtg", "json"};
    return kMentioning.count(extension.toStdString()) ? 2 : -1;
}

bool IsNameless(std::string_view name) { return name.substr(0, std::strlen(mpq::kUnknownPrefix)) == mpq::kUnknownPrefix; }

QByteArray RecordName(std::string_view name) { return QByteArray(name.data(), static_cast<qsizetype>(name.size())); }

// The lines of the file of standard names; empty when it cannot be read.
QList<QByteArray> StandardNames(const QString &path)
{
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly)) return {};
    QList<QByteArray> names;
    for (const QByteArray &line : file.read(qint64{4} << 20).split('\n'))
        if (const QByteArray name = line.trimmed(); !name.isEmpty()) names.append(name);
    return names;
}

class NameSearch {
public:
    NameSearch(mpq::MpqHandle archive, mpq::FileList &records, const NameScanBudget &budget)
        : archive_(archive), records_(records), nameless_(archive, records), budget_(budget)
    {
    }

    bool Done() const { return nameless_.Empty() || tries_ >= budget_.tries; }

    void Try(const QList<QByteArray> &candidates)
    {
        std::vector<std::size_t> named;
        for (const QByteArray &candidate : candidates) {
            if (Done()) return;
            ++tries_;
            named.clear();
            if (!nameless_.Try(candidate.toStdString(), named)) continue;
            found_.append(candidate);
            for (std::size_t i : named) Queue(i);
        }
    }

    // Every named record that may mention others, import lists first.
    void QueueNamed()
    {
        std::vector<std::pair<int, std::size_t>> ranked;
        for (std::size_t i = 0; i < records_.size(); ++i) {
            if (IsNameless(records_.Name(i))) continue;
            const int rank = ScanRank(RecordName(records_.Name(i)));
            if (rank >= 0) ranked.emplace_back(rank, i);
        }
        std::stable_sort(ranked.begin(), ranked.end(),
                         [](const auto &a, const auto &b) { return a.first < b.first; });
        for (const auto &[rank, i] : ranked) Queue(i);
    }

    // Reads each queued file once and tries the names it mentions; files
    // named on the way join the queue.
    void ScanQueue()
    {
        while (!queue_.empty() && !Done() && bytes_ < budget_.bytes) {
            const QByteArray name = RecordName(records_.Name(queue_.front()));
            queue_.pop_front();
            QList<QByteArray> candidates;
            const QByteArray folder = ImportFolder(name);
            const QByteArray content = Read(name);
            if (!folder.isEmpty()) AddImports(content, folder, candidates);
            AddRuns(content, candidates);
            Try(candidates);
        }
    }

    const QList<QByteArray> &Found() const { return found_; }

private:
    void Queue(std::size_t i)
    {
        const std::string_view name = records_.Name(i);
        if (ScanRank(RecordName(name)) < 0) return;
        std::string key(name);
        std::transform(key.begin(), key.end(), key.begin(), [](unsigned char c) { return char(std::tolower(c)); });
        if (read_.insert(key).second) queue_.push_back(i);
    }

    // The start of a stored file, as much as the budget leaves.
    QByteArray Read(const QByteArray &name)
    {
        const mpq::StoredFile file = mpq::SFileOpenFileEx(archive_, name.toStdString());
        const std::int64_t size = mpq::SFileGetFileInfo(file.get(), mpq::SFILE_INFO_SIZE);
        const qint64 wanted = std::min({qint64{size}, budget_.perFile, budget_.bytes - bytes_});
        if (!file || wanted <= 0) return {};
        QByteArray content(static_cast<qsizetype>(wanted), Qt::Uninitialized);
        std::uint32_t read = 0;
        mpq::SFileReadFile(file.get(), content.data(), static_cast<std::uint32_t>(wanted), &read, nullptr);
        content.truncate(read);
        bytes_ += wanted;
        return content;
    }

    mpq::MpqHandle archive_;
    mpq::FileList &records_;
    mpq::NamelessRecords nameless_;
    NameScanBudget budget_;
    std::deque<std::size_t> queue_;
    std::unordered_set<std::string> read_;  // lower-cased names of files queued
    QList<QByteArray> found_;
    qint64 tries_ = 0;
    qint64 bytes_ = 0;
};

}  // namespace

QList<QByteArray> CandidateNames(const QByteArray &content, const QByteArray &importPrefix)
{
    QList<QByteArray> candidates;
    if (!importPrefix.isEmpty()) AddImports(content, importPrefix, candidates);
    AddRuns(content, candidates);
    return candidates;
}

QList<QByteArray> RecoverNames(mpq::MpqHandle archive, mpq::FileList &records,
                               const QString &standardNamesPath, const NameScanBudget &budget)
{
    NameSearch search(archive, records, budget);
    if (search.Done()) return {};
    search.QueueNamed();
    search.Try(StandardNames(standardNamesPath));
    search.ScanQueue();
    return search.Found();
}

QList<QByteArray> ScanArchiveNames(const QString &path, const ListingOptions &options, StatusPanel &status,
                                   RecordsRead *read)
{
    RecordsRead ignored = RecordsRead::NoArchive;
    RecordsRead &verdict = read != nullptr ? *read : ignored;
    verdict = RecordsRead::NoArchive;
    if (path.isEmpty() || !IsFile(path)) return {};
    NoEvents events;
    // The answer's first byte says how the opening went: '0' no archive,
    // 'e' empty, 'm' malformed, 'l' listed; the names follow.
    const std::optional<QByteArray> found = RunForResult(
        [&](ChildPorts &ports) {
            const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(path).toStdString());
            if (!archive) return QByteArray("0");
            const std::int64_t n = mpq::SFileGetFileInfo(archive.get(), mpq::SFILE_INFO_HASH_TABLE_SIZE);
            if (n <= 1) return QByteArray("e");
            mpq::FileList records;
            ListingOptions listsAlone = options;
            listsAlone.recoverNames = false;
            BuildFileLists(archive.get(), path, records, listsAlone, ports);
            const bool malformed = mpq::SFileGetFileInfo(archive.get(), mpq::SFILE_INFO_MALFORMED) == 1;
            return (malformed ? QByteArray("m") : QByteArray("l")) +
                   RecoverNames(archive.get(), records, options.standardNames).join('\n');
        },
        status, nullptr, events, ArchiveLimits(path));
    if (!found) {
        verdict = RecordsRead::Damaged;
        return {};
    }
    const char said = found->isEmpty() ? '0' : found->front();
    verdict = said == 'l'   ? RecordsRead::Listed
              : said == 'm' ? RecordsRead::Malformed
              : said == 'e' ? RecordsRead::Empty
                            : RecordsRead::NoArchive;
    if (found->size() <= 1) return {};
    QList<QByteArray> names = found->sliced(1).split('\n');
    std::sort(names.begin(), names.end(), [](const QByteArray &a, const QByteArray &b) {
        return qstricmp(a.constData(), b.constData()) < 0;
    });
    return names;
}
