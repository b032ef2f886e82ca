#include "properties/frm_info_mpq.h"

#include <QLabel>

#include "config/catalogue.h"
#include "listing/classic_listing.h"
#include "preview/preview_content.h"

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
    lblFormat = AddLine(7, 7, "lblFormat", QStringLiteral("%FORMATO%"));
    lblOffset = AddLine(8, 8, "lblOffset", QStringLiteral("%INIZIO%"));
    lblSectorSize = AddLine(9, 9, "lblSectorSize", QStringLiteral("%SETTORE%"));
    lblHashTable = AddLine(10, 10, "lblHashTable", QStringLiteral("%HASH%"));
    lblUsedSlots = AddLine(11, 11, "lblUsedSlots", QStringLiteral("%USATE%"));
    lblBlockTable = AddLine(12, 12, "lblBlockTable", QStringLiteral("%BLOCCHI%"));
    lblSignature = AddLine(13, 13, "lblSignature", QStringLiteral("%FIRMA%"));
    lblMapName = AddLine(14, 14, "lblMapName", QStringLiteral("%NOMEMAPPA%"));
    lblMapFlags = AddLine(15, 15, "lblMapFlags", QStringLiteral("%FLAGMAPPA%"));
    // A WarCraft III map's details, from its war3map.w3i.
    const char *detailNames[kMapDetailLines] = {"lblMapTitle",   "lblMapAuthor", "lblMapDescription",
                                                "lblMapPlayers", "lblMapSize",   "lblMapTileset"};
    for (int i = 0; i < kMapDetailLines; ++i) mapDetails_.push_back(AddLine(16 + i, 16 + i, detailNames[i], QString()));
    connect(&LanguageEvents::Instance(), &LanguageEvents::Loaded, this, &frmInfoMPQ::ApplyTexts);
    ApplyTexts();
}

void frmInfoMPQ::ApplyTexts()
{
    const MessageStrings &t = Texts();
    SetCaptions(t.InfoMPQProperty, t.InfoMPQCompression,
                {t.InfoMPQPath, t.InfoMPQName, t.InfoMPQSize, t.InfoMPQDecompress, t.InfoMPQLast, t.InfoMPQNFiles,
                 t.InfoMPQNFilesView, t.InfoMPQFormat, t.InfoMPQOffset, t.InfoMPQSectorSize, t.InfoMPQHashTable,
                 t.InfoMPQUsedSlots, t.InfoMPQBlockTable, t.InfoMPQSignature, t.InfoMPQMapName, t.InfoMPQMapFlags, t.MapName,
                 t.MapAuthor, t.MapDescription, t.MapPlayers, t.MapSize, t.MapTileset});
    const QString signatures[] = {t.InfoMPQSignatureNone, t.InfoMPQSignatureWeak, t.InfoMPQSignatureStrong};
    lblSignature->setText(detailsShown_ ? signatures[static_cast<int>(signature_)] : QString());
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

    const ArchiveDetails d = p.details.value_or(ArchiveDetails{});
    const auto number = [&](qint64 value) { return p.details ? FormatLength(value) : QString(); };
    lblFormat->setText(p.details ? QString::number(d.formatVersion) : QString());
    lblOffset->setText(number(d.headerOffset));
    lblSectorSize->setText(number(d.sectorSize));
    lblHashTable->setText(number(d.hashTableSize));
    lblUsedSlots->setText(number(d.usedSlots));
    lblBlockTable->setText(number(d.blockTableSize));
    signature_ = d.signature;
    detailsShown_ = p.details.has_value();
    ApplyTexts();
    lblMapName->setText(p.mapHeader ? p.mapHeader->name : QString());
    lblMapFlags->setText(p.mapHeader ? QStringLiteral("0x%1").arg(p.mapHeader->flags, 8, 16, QLatin1Char('0')) : QString());
    for (int index : {14, 15}) lblLabel(index)->setVisible(p.mapHeader.has_value());
    for (QLabel *value : {lblMapName, lblMapFlags}) value->setVisible(p.mapHeader.has_value());
    // The details follow the map header's lines, so they show with it.
    const bool details = p.mapHeader && p.mapDetails;
    const QList<std::pair<QString, QString>> lines = details ? MapDetailLines(*p.mapDetails, true) : decltype(lines){};
    for (int i = 0; i < kMapDetailLines; ++i) {
        QLabel *value = mapDetails_[static_cast<std::size_t>(i)];
        // One line each: a description's line breaks become spaces, and the
        // whole text is the tip.
        const QString text = details ? lines[i].second : QString();
        value->setText(QString(text).replace(QLatin1Char('\n'), QLatin1Char(' ')));
        value->setToolTip(text);
        value->setVisible(details);
        lblLabel(16 + i)->setVisible(details);
    }
    FitLines(details ? 16 + kMapDetailLines : p.mapHeader ? 16 : 14);

    // With nothing listed there is no saving to show: the bar is empty and
    // the percentage goes back to nothing saved. A file that has gone has no
    // length to compare, and its percentage is left blank.
    const std::optional<double> saving = ArchiveSaving(p);
    if (saving) lblRatio()->setText(FormatSaving(*saving));
    else lblRatio()->setText(p.onDisk ? FormatPercent(0) : QString());
    SetSavingBar(saving.value_or(0));
}
