#include "listing/name_sources.h"

#include <algorithm>
#include <vector>

#include "listing/content_type.h"
#include "listing/name_scanner.h"
#include "base/text_encoding.h"
#include "listing/type_detection.h"

std::string FormListText(bool internalListFound, std::string internalList, qint16 useLists,
                         const QString &listFiles)
{
    const QByteArray paths = PathBytes(listFiles);
    if (!internalListFound) return paths.toStdString();
    if (useLists != 1) internalList.append("\r\n").append(paths.constData(), static_cast<std::size_t>(paths.size()));
    return internalList;
}

void BuildFileLists(mpq::MpqHandle archive, const QString &archivePath, mpq::FileList &records,
                    const ListingOptions &options, StatusPanel &status)
{
    const mpq::StoredFile listFile = mpq::SFileOpenFileEx(archive, "(ListFile)");
    const std::int64_t size = mpq::SFileGetFileInfo(listFile.get(), mpq::SFILE_INFO_SIZE);
    const bool found = size >= 0;
    std::string internalList;
    if (found) {
        status.SetStatusText(ListingOptions::Put(options.readingList, archivePath));
        // Room for the external lists' paths as well, taken once: the text
        // is never copied on its way to the engine. It fills chunk by chunk,
        // so a list that is shorter than it claims costs what it holds.
        internalList.reserve(static_cast<std::size_t>(size) + 2 + static_cast<std::size_t>(options.listFiles.size()) * 3);
        std::vector<char> chunk(std::min<std::size_t>(static_cast<std::size_t>(size), std::size_t{1} << 16));
        for (std::size_t left = static_cast<std::size_t>(size); left > 0;) {
            std::uint32_t read = 0;
            const auto wanted = static_cast<std::uint32_t>(std::min(left, chunk.size()));
            if (!mpq::SFileReadFile(listFile.get(), chunk.data(), wanted, &read, nullptr) && read == 0) break;
            internalList.append(chunk.data(), read);
            if (read < wanted) break;
            left -= read;
        }
    } else {
        status.SetStatusText(options.additionalList);
    }
    mpq::SFileListFiles(archive, FormListText(found, std::move(internalList), options.useLists, options.listFiles), records);
    if (options.recoverNames) RecoverNames(archive, records, options.standardNames);
}

QByteArray ProbeUnknownEntry(mpq::MpqHandle archive, const QByteArray &storedName, bool autoDetect, bool wide)
{
    if (!autoDetect || !storedName.contains("~unknowns")) return storedName;
    const mpq::StoredFile file = mpq::SFileOpenFileEx(archive, storedName.toStdString());
    const std::int64_t size = mpq::SFileGetFileInfo(file.get(), mpq::SFILE_INFO_SIZE);
    if (!file || size < 0) return storedName;
    QByteArray head(wide ? kContentHeadSize : 3, '\0');
    std::uint32_t read = 0;
    mpq::SFileReadFile(file.get(), head.data(), static_cast<std::uint32_t>(head.size()), &read, nullptr);
    QString extension = DetectExtension(head);
    if (wide && extension.isEmpty()) extension = DetectContentExtension(head.left(read), size);
    return storedName + extension.toLatin1();
}
