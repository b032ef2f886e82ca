#include "properties/frm_info_mpq.h"

#include <QLabel>

#include "listing/classic_listing.h"

frmInfoMPQ::frmInfoMPQ(QWidget *parent) : frmProperties(parent)
{
    setObjectName(QStringLiteral("frmInfoMPQ"));
    setWindowTitle(QStringLiteral("Proprietà"));
    lblPath = AddLine(0, 0, QStringLiteral("Percorso:"), "lblPath", QStringLiteral("%POSIZIONE%"));
    lblName = AddLine(1, 1, QStringLiteral("Nome:"), "lblName", QStringLiteral("%NOME%"));
    lblSize = AddLine(2, 2, QStringLiteral("Dimensione:"), "lblSize", QStringLiteral("%DIMENSIONE%"));
    lblDecompress = AddLine(3, 3, QStringLiteral("Decompresso:"), "lblDecompress", QStringLiteral("%DECOMPRESSO%"));
    lblNFiles = AddLine(4, 5, QStringLiteral("Files in archivio:"), "lblNFiles", QStringLiteral("%NUMEROFILES%"));
    lblFilesView =
        AddLine(5, 6, QStringLiteral("Files visualizzati:"), "lblFilesView", QStringLiteral("%FILESVISUALIZZATI%"));
    lblLast = AddLine(6, 4, QStringLiteral("Ultima modifica:"), "lblLast", QStringLiteral("%ULTIMAMODIFICA%"));
}

void frmInfoMPQ::ShowArchive(const ArchiveProperties &p)
{
    lblName->setText(p.name);
    lblPath->setText(p.folder);
    lblSize->setText(p.onDisk ? FormatLength(p.size) : QString());
    lblDecompress->setText(FormatLength(p.unpacked));
    lblFilesView->setText(QString::number(p.rowsShown));
    lblNFiles->setText(QString::number(p.headerCount));
    lblLast->setText(p.onDisk ? FormatGeneralDate(p.lastChange) : QString());

    // With nothing listed there is no saving to show: the bar is empty and
    // the percentage goes back to nothing saved. A file that has gone has no
    // length to compare, and its percentage is left blank.
    const std::optional<double> saving = ArchiveSaving(p);
    if (saving) lblRatio()->setText(FormatSaving(*saving));
    else lblRatio()->setText(p.onDisk ? FormatPercent(0) : QString());
    SetSavingBar(saving.value_or(0));
}
