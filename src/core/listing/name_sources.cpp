#include "listing/name_sources.h"

#include "listing/content_type.h"
#include "listing/name_scanner.h"
#include "listing/text_encoding.h"
#include "listing/type_detection.h"

QByteArray FormListText(bool internalListFound, const QByteArray &internalList, qint16 useLists,
                        const QString &listFiles)
{
    if (!internalListFound) return PathBytes(listFiles);
    if (useLists == 1) return internalList;
    return internalList + "\r\n" + PathBytes(listFiles);
}

void BuildFileLists(mpq::MpqHandle archive, const QString &archivePath,
                    std::vector<mpq::FileListEntry> &records, const ListingOptions &options,
                    StatusPanel &status)
{
    const mpq::StoredFile listFile = mpq::SFileOpenFileEx(archive, "(ListFile)");
    const std::int64_t size = mpq::SFileGetFileInfo(listFile.get(), mpq::SFILE_INFO_SIZE);
    const bool found = size >= 0;
    QByteArray internalList;
    if (found) {
        status.SetStatusText(ListingOptions::Put(options.readingList, archivePath));
        internalList.resize(static_cast<qsizetype>(size));
        std::uint32_t read = 0;
        if (size > 0)
            mpq::SFileReadFile(listFile.get(), internalList.data(), static_cast<std::uint32_t>(size), &read, nullptr);
        internalList.truncate(read);
    } else {
        status.SetStatusText(options.additionalList);
    }
    const QByteArray listText = FormListText(found, internalList, options.useLists, options.listFiles);
    mpq::SFileListFiles(archive, std::string_view(listText.constData(), static_cast<std::size_t>(listText.size())), records, 0);
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
