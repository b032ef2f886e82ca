// The properties of the open archive as a whole.
#pragma once

#include "properties/archive_properties.h"
#include "properties/frm_properties.h"

class frmInfoMPQ : public frmProperties {
    Q_OBJECT
public:
    explicit frmInfoMPQ(QWidget *parent = nullptr);

    // Sets every value anew, and the saving bar. A file that has gone shows
    // no length, no date and no percentage.
    void ShowArchive(const ArchiveProperties &properties);

    QLabel *lblPath = nullptr;
    QLabel *lblName = nullptr;
    QLabel *lblSize = nullptr;
    QLabel *lblDecompress = nullptr;
    QLabel *lblNFiles = nullptr;
    QLabel *lblFilesView = nullptr;
    QLabel *lblLast = nullptr;

private:
    void ApplyTexts();
};
