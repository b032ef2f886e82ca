// The program's texts. Every text has its Italian default here; a language
// file replaces them section by section.
#pragma once

#include <QString>

struct MessageStrings {
    // StatusBar
    QString StatusBarOpen = QStringLiteral("Apertura archivio MPQ - %v");
    QString StatusBarReadList = QStringLiteral("Estrazione lista da %v");
    QString StatusBarAdditionalList = QStringLiteral("Lettura lista esterna");
    QString StatusBarReady = QStringLiteral("Pronto");
    // Column
    QString ColumnName = QStringLiteral("Nome");
    QString ColumnExt = QStringLiteral("Est.");
    QString ColumnSize = QStringLiteral("Dimensione");
    QString ColumnCompressed = QStringLiteral("Dim. Compresse");
    QString ColumnRatio = QStringLiteral("Percentuale");
    QString ColumnAttribute = QStringLiteral("Attributi");
};

// The strings in force.
MessageStrings &Texts();

// `text` with every "%v" replaced by `value`, from the first character on.
QString ReplaceValue(const QString &text, const QString &value);
