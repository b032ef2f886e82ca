// The one place that reads StormLib's archive and file structures (see
// mpq_storm.h). The structures are declared in StormLib.h as version 9.22
// lays them out; the functions below are exported by the library though its
// header does not declare them.
#include "mpq/mpq_storm.h"

#include <algorithm>
#include <cstdlib>

// StormLib's sector buffer and sector table loaders, its sector position,
// and its loader of "(attributes)" into the file table.
DWORD AllocateSectorBuffer(TMPQFile *hf);
DWORD AllocateSectorOffsets(TMPQFile *hf, bool bLoadFromFile);
ULONGLONG CalculateRawSectorOffset(TMPQFile *hf, DWORD dwSectorOffset);
int SAttrLoadAttributes(TMPQArchive *ha);

namespace mpq::stormlib {

namespace {

TMPQArchive *ArchiveOf(HANDLE storm) { return static_cast<TMPQArchive *>(storm); }
TMPQFile *FileOf(HANDLE file) { return static_cast<TMPQFile *>(file); }

Entry EntryFrom(const TFileEntry &file)
{
    return {file.szFileName, file.ByteOffset, file.dwCmpSize, file.dwFileSize, file.dwFlags};
}

}  // namespace

ArchiveFacts Facts(HANDLE storm)
{
    ArchiveFacts facts;
    const TMPQArchive *ha = ArchiveOf(storm);
    if (ha == nullptr) return facts;
    const TMPQHeader *header = ha->pHeader;
    facts.formatVersion = header->wFormatVersion;
    facts.headerSize = header->dwHeaderSize;
    facts.rawChunkSize = header->dwRawChunkSize;
    facts.headerAt = ha->MpqPos;
    facts.hasUserData = ha->pUserData != nullptr;
    facts.userDataAt = ha->UserDataPos;
    facts.sectorSize = ha->dwSectorSize;
    facts.hasFileTable = ha->pFileTable != nullptr;
    facts.fileTableSize = ha->dwFileTableSize;
    facts.maxFileCount = ha->dwMaxFileCount;
    facts.reservedFiles = ha->dwReservedFiles;
    facts.hasHashTable = ha->pHashTable != nullptr;
    facts.hashTableSize = facts.hasHashTable ? header->dwHashTableSize : 0;
    facts.blockTableSize = header->dwBlockTableSize;
    facts.malformed = (ha->dwFlags & MPQ_FLAG_MALFORMED) != 0;
    facts.blockTableCut = (ha->dwFlags & MPQ_FLAG_BLOCK_TABLE_CUT) != 0;
    facts.hashTableCut = (ha->dwFlags & MPQ_FLAG_HASH_TABLE_CUT) != 0;
    return facts;
}

std::size_t FileEntries(HANDLE storm, std::uint32_t first, std::span<Entry> out)
{
    const TMPQArchive *ha = ArchiveOf(storm);
    if (ha == nullptr || ha->pFileTable == nullptr || first >= ha->dwFileTableSize) return 0;
    const std::size_t count = std::min<std::size_t>(out.size(), ha->dwFileTableSize - first);
    const TFileEntry *files = ha->pFileTable + first;
    for (std::size_t i = 0; i < count; ++i) out[i] = EntryFrom(files[i]);
    return count;
}

std::size_t HashSlots(HANDLE storm, std::uint32_t first, std::span<HashSlot> out)
{
    const TMPQArchive *ha = ArchiveOf(storm);
    if (ha == nullptr || ha->pHashTable == nullptr || first >= ha->pHeader->dwHashTableSize) return 0;
    const std::size_t count = std::min<std::size_t>(out.size(), ha->pHeader->dwHashTableSize - first);
    const TMPQHash *hashes = ha->pHashTable + first;
    const TFileEntry *files = ha->pFileTable;
    const DWORD fileTableSize = files != nullptr ? ha->dwFileTableSize : 0;
    for (std::size_t i = 0; i < count; ++i) {
        const TMPQHash &hash = hashes[i];
        HashSlot &slot = out[i];
        slot.key = (std::uint64_t{hash.dwName1} << 32) | hash.dwName2;
        slot.blockIndex = hash.dwBlockIndex;
        slot.locale = hash.lcLocale;
        slot.platform = hash.Platform;
        const DWORD index = hash.dwBlockIndex & BLOCK_INDEX_MASK;
        slot.used = index < fileTableSize && (files[index].dwFlags & MPQ_FILE_EXISTS) != 0;
        slot.file = slot.used ? EntryFrom(files[index]) : Entry{};
    }
    return count;
}

OpenedFile Opened(HANDLE file)
{
    OpenedFile opened;
    const TMPQFile *hf = FileOf(file);
    if (hf == nullptr || hf->pFileEntry == nullptr || hf->ha == nullptr) return opened;
    opened.known = true;
    opened.archive = hf->ha;
    opened.index = static_cast<std::uint32_t>(hf->pFileEntry - hf->ha->pFileTable);
    opened.entry = EntryFrom(*hf->pFileEntry);
    opened.rawAt = hf->RawFilePos;
    opened.dataSize = hf->dwDataSize;
    opened.key = hf->dwFileKey;
    return opened;
}

SectorTable LoadSectorTable(HANDLE file)
{
    SectorTable table;
    TMPQFile *hf = FileOf(file);
    if (hf->pbFileSector == nullptr && (AllocateSectorBuffer(hf) != ERROR_SUCCESS || hf->pbFileSector == nullptr))
        return table;
    if (hf->SectorOffsets == nullptr && (AllocateSectorOffsets(hf, true) != ERROR_SUCCESS || hf->SectorOffsets == nullptr))
        return table;
    table.loaded = true;
    table.key = hf->dwFileKey;
    table.sectorSize = hf->dwSectorSize;
    table.count = hf->dwSectorCount;
    // The loader allocates at least this much; a longer table it reads
    // holds nothing the engine looks at.
    const std::size_t length = std::size_t{table.count} + 1 + ((hf->pFileEntry->dwFlags & MPQ_FILE_SECTOR_CRC) ? 1 : 0);
    table.offsets.assign(hf->SectorOffsets, hf->SectorOffsets + length);
    return table;
}

std::uint64_t RawSectorAt(HANDLE file, std::uint32_t position) { return CalculateRawSectorOffset(FileOf(file), position); }

void LoadAttributes(HANDLE storm) { SAttrLoadAttributes(ArchiveOf(storm)); }

FileChecksums Checksums(HANDLE file)
{
    FileChecksums sums;
    const TMPQFile *hf = FileOf(file);
    if (hf == nullptr || hf->pFileEntry == nullptr) return sums;
    sums.crc32 = hf->pFileEntry->dwCrc32;
    std::copy(std::begin(hf->pFileEntry->md5), std::end(hf->pFileEntry->md5), sums.md5.begin());
    return sums;
}

void CheckSectorChecksums(HANDLE file, bool check) { FileOf(file)->bCheckSectorCRCs = check; }

void ForgetChanges(HANDLE storm)
{
    ArchiveOf(storm)->dwFlags &= ~(MPQ_FLAG_CHANGED | MPQ_FLAG_LISTFILE_NEW | MPQ_FLAG_ATTRIBUTES_NEW | MPQ_FLAG_SIGNATURE_NEW);
}

void AddListOnClose(HANDLE storm)
{
    TMPQArchive *ha = ArchiveOf(storm);
    if (ha->dwFileFlags1 != 0) return;
    ha->dwFileFlags1 = MPQ_FILE_EXISTS;
    ha->dwFlags |= MPQ_FLAG_LISTFILE_NEW;
    ha->dwReservedFiles++;
}

void ForgetName(HANDLE storm, std::uint32_t index)
{
    TMPQArchive *ha = ArchiveOf(storm);
    if (ha == nullptr || ha->pFileTable == nullptr || index >= ha->dwFileTableSize) return;
    // StormLib allocates names with malloc, and frees them with free.
    std::free(ha->pFileTable[index].szFileName);
    ha->pFileTable[index].szFileName = nullptr;
}

}  // namespace mpq::stormlib
