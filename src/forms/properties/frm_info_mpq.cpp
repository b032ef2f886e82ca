#include "properties/frm_info_mpq.h"

#include <QLabel>

#include "config/catalogue.h"
#include "listing/classic_listing.h"

frmInfoMPQ::frmInfoMPQ(QWidget *parent) : frmProperties(parent)
{
    setObjectName(QStringLiteral("frmInfoMPQ"));
    lblPath = AddLine(0, 0, "lblPath", QStringLiteral("%POSIZIONE%"));
    lblName = AddLine(1, 1, "lblName", QStringLiteral("%NOME%"));
    lblSize = AddLine(2, 2, "lblSize", QStringLiteral("%DIMENSIONE%"));
    lblDecompress = AddLine(3, 3, "lblDecompress", QStringLiteral("%DECOMPRESSO%"));
    lblNFiles = AddLine(4, 5, "lblNFiles", QStringLiteral("%NUMEROFILES%"));
    lblFilesView =
        AddLine(5, 6, "lblFilesView", QStringLiteral("%FILESVISUALIZZATI%"));
    lblLast = AddLine(6, 4, "lblLast", QStringLiteral("%ULTIMAMODIFICA%"));
    connect(&LanguageEvents::Instance(), &LanguageEvents::Loaded, this, &frmInfoMPQ::ApplyTexts);
    ApplyTexts();
}

void frmInfoMPQ::ApplyTexts()
{
    const MessageStrings &t = Texts();
    SetCaptions(t.InfoMPQProperty, t.InfoMPQCompression,
                {t.InfoMPQPath, t.InfoMPQName, t.InfoMPQSize, t.InfoMPQDecompress, t.InfoMPQLast, t.InfoMPQNFiles,
                 t.InfoMPQNFilesView});
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
