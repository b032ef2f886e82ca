// libFuzzer target: an archive made of the input goes through what opening
// it in Arcavera does, in this process: the naming of its records (names
// from the internal list, the standard names and the archive's own files,
// type detection of the nameless), then a read of every listed file, as an
// extraction reads it;
// and the input once more as a file whose bytes mention names. The engine opens paths, so the input is written to a
// file of this process first.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "config/app_config.h"
#include "config/listing_setup.h"
#include "listing/classic_listing.h"
#include "listing/name_scanner.h"
#include "mpq/mpq_guards.h"
#include "mpq/mpq_library.h"

namespace {

const std::string &ArchivePath()
{
    static const std::string path = [] {
        const char *tmp = std::getenv("TMPDIR");
        return std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/arcavera-fuzz-" +
               std::to_string(::getpid()) + ".mpq";
    }();
    return path;
}

bool WriteInput(const std::uint8_t *data, std::size_t size)
{
    std::FILE *file = std::fopen(ArchivePath().c_str(), "wb");
    if (file == nullptr) return false;
    const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

// Reads a stored file to its end in pieces, as far as the engine gives it.
void ReadWhole(mpq::MpqHandle archive, const QByteArray &name)
{
    const mpq::StoredFile file = mpq::SFileOpenFileEx(archive, name.toStdString());
    if (!file) return;
    static std::vector<char> buffer(1 << 16);
    std::uint32_t read = 0;
    while (mpq::SFileReadFile(file.get(), buffer.data(), static_cast<std::uint32_t>(buffer.size()), &read, nullptr) &&
           read == buffer.size()) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (!WriteInput(data, size)) return 0;
    const QString path = QString::fromLocal8Bit(ArchivePath().c_str());
    AppConfig config;  // the first start's settings: internal list, type detection on
    CollectingPorts ports;
    ListingOptions options = ListingOptionsOf(config);  // names recovered from the archive's own files too
    options.standardNames = QStringLiteral(ARCAVERA_STANDARD_NAMES);
    // The same bytes as a file that mentions names: text, an import list.
    CandidateNames(QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)),
                   QByteArrayLiteral("war3mapImported\\"));
    // The program lists and reads in a child process, which a fault of the
    // engine only ends; here the same work runs in this process, so that
    // the fuzzer sees both the paths it takes and the faults it meets.
    // StormLib's Huffman decoder crashes on damaged streams, a known fault
    // that the child process takes: such files are passed by here.
    static const bool passByHuffman = (mpq::guards::RefuseHuffmanReads(), true);
    (void)passByHuffman;
    const mpq::Archive archive = mpq::SFileOpenArchive(ArchivePath());
    if (!archive) return 0;
    mpq::FileList records;
    NameArchiveRecordsHere(archive.get(), path, options, ports, ports, records, nullptr);
    for (std::size_t i = 0; i < records.size(); ++i) {
        const std::string_view name = records.Name(i);
        ReadWhole(archive.get(), QByteArray(name.data(), static_cast<qsizetype>(name.size())));
    }
    return 0;
}
