// The properties of the open archive as a whole.
#pragma once

#include <vector>

#include "properties/archive_properties.h"
#include "properties/frm_properties.h"

class frmInfoMPQ : public frmProperties {
    Q_OBJECT
public:
    explicit frmInfoMPQ(QWidget *parent = nullptr);

    // Sets every value anew, and the saving bar. A file that has gone shows
    // no length, no date and no percentage; a file that holds no archive the
    // engine opens, no layout.
    void ShowArchive(const ArchiveProperties &properties);

    QLabel *lblPath = nullptr;
    QLabel *lblName = nullptr;
    QLabel *lblSize = nullptr;
    QLabel *lblDecompress = nullptr;
    QLabel *lblNFiles = nullptr;
    QLabel *lblFilesView = nullptr;
    QLabel *lblLast = nullptr;
    // The layout as the engine reads it, and a WarCraft III map's header
    // (its two lines are hidden when the file begins with none).
    QLabel *lblFormat = nullptr;
    QLabel *lblOffset = nullptr;
    QLabel *lblSectorSize = nullptr;
    QLabel *lblHashTable = nullptr;
    QLabel *lblUsedSlots = nullptr;
    QLabel *lblBlockTable = nullptr;
    QLabel *lblSignature = nullptr;
    QLabel *lblMapName = nullptr;
    QLabel *lblMapFlags = nullptr;
    // A WarCraft III map's details (name, author, description, players,
    // size, tileset), under its header; hidden with it.
    static constexpr int kMapDetailLines = 6;
    const std::vector<QLabel *> &MapDetailLabels() const { return mapDetails_; }

private:
    void ApplyTexts();
    ArchiveSignature signature_ = ArchiveSignature::None;  // shown in the language in force
    bool detailsShown_ = false;
    std::vector<QLabel *> mapDetails_;
};
