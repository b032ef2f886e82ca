#include "properties/frm_info_file.h"

#include <QLabel>

#include "properties/file_properties.h"

frmInfoFile::frmInfoFile(QWidget *parent) : frmProperties(parent)
{
    setObjectName(QStringLiteral("frmInfoFile"));
    setWindowTitle(QStringLiteral("Proprietà"));
    lblName = AddLine(0, 0, QStringLiteral("Nome:"), "lblName", QStringLiteral("%NOME%"));
    lblType = AddLine(1, 1, QStringLiteral("Tipo:"), "lblType", QStringLiteral("%TIPO%"));
    lblSize = AddLine(2, 2, QStringLiteral("Dimensione:"), "lblSize", QStringLiteral("%DIMENSIONE%"));
    lblCompress = AddLine(3, 3, QStringLiteral("Compresso:"), "lblCompress", QStringLiteral("%COMPRESSO%"));
    lblRatio2 = AddLine(4, 4, QStringLiteral("Percentuale:"), "lblRatio2", QStringLiteral("%PERCENTUALE%"));
    lblAttibutes = AddLine(5, 5, QStringLiteral("Attributi:"), "lblAttibutes", QStringLiteral("%ATTRIBUTI%"));
    lblPath = AddLine(6, 6, QStringLiteral("Percorso:"), "lblPath", QStringLiteral("%PERCORSO%"));
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
