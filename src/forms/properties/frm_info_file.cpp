#include "properties/frm_info_file.h"

#include <QLabel>

#include "config/catalogue.h"
#include "properties/file_properties.h"

frmInfoFile::frmInfoFile(QWidget *parent) : frmProperties(parent)
{
    setObjectName(QStringLiteral("frmInfoFile"));
    lblName = AddLine(0, 0, "lblName", QStringLiteral("%NOME%"));
    lblType = AddLine(1, 1, "lblType", QStringLiteral("%TIPO%"));
    lblSize = AddLine(2, 2, "lblSize", QStringLiteral("%DIMENSIONE%"));
    lblCompress = AddLine(3, 3, "lblCompress", QStringLiteral("%COMPRESSO%"));
    lblRatio2 = AddLine(4, 4, "lblRatio2", QStringLiteral("%PERCENTUALE%"));
    lblAttibutes = AddLine(5, 5, "lblAttibutes", QStringLiteral("%ATTRIBUTI%"));
    lblPath = AddLine(6, 6, "lblPath", QStringLiteral("%PERCORSO%"));
    connect(&LanguageEvents::Instance(), &LanguageEvents::Loaded, this, &frmInfoFile::ApplyTexts);
    ApplyTexts();
}

void frmInfoFile::ApplyTexts()
{
    const MessageStrings &t = Texts();
    SetCaptions(t.InfoFileProperty, t.InfoFileCompression,
                {t.InfoFileName, t.InfoFileType, t.InfoFileSize, t.InfoFileCompress, t.InfoFileRatio,
                 t.InfoFileAttribute, t.InfoFilePath});
}

void frmInfoFile::ShowRow(const ListRow &row)
{
    const FileProperties p = ReadFileProperties(row);
    lblName->setText(p.name);
    lblPath->setText(p.path);
    lblType->setText(p.type);
    lblSize->setText(p.size);
    lblCompress->setText(p.compressed);
    lblRatio()->setText(p.ratio);
    lblRatio2->setText(p.ratio);
    lblAttibutes->setText(p.attributes);
    SetSavingBar(p.share);
}
