// The program's texts. Every text has its Italian default here; a language
// file replaces them section by section.
#pragma once

#include <QString>

struct MessageStrings {
    // Menu
    QString MenuFile = QStringLiteral("&File");
    QString MenuNew = QStringLiteral("&Nuovo Archivio");
    QString MenuOpen = QStringLiteral("&Apri Archivio...");
    QString MenuClose = QStringLiteral("&Chiudi Archivio");
    QString MenuRecents = QStringLiteral("File &Recenti");
    QString MenuNoRecents = QStringLiteral("Nessun file recente");
    QString MenuExit = QStringLiteral("&Esci");
    QString MenuEdit = QStringLiteral("&Modifica");
    QString MenuSelectAll = QStringLiteral("Seleziona &tutto");
    QString MenuSelectNone = QStringLiteral("&Deseleziona tutto");
    QString MenuInvert = QStringLiteral("Inverti selezione");
    QString MenuFind = QStringLiteral("Trova...");
    QString MenuFindNext = QStringLiteral("Trova successivo");
    QString MenuView = QStringLiteral("&Visualizza");
    QString MenuToolBar = QStringLiteral("&Barra strumenti");
    QString MenuStatusBar = QStringLiteral("Barra di &stato");
    QString MenuClassicStyle = QStringLiteral("Stile &classico");
    QString MenuExplorerStyle = QStringLiteral("Stile &Esplora risorse");
    QString MenuSort = QStringLiteral("D&isponi gli oggetti per...");
    QString MenuName = QStringLiteral("&Nome");
    QString MenuExt = QStringLiteral("&Estensione");
    QString MenuSize = QStringLiteral("&Dimensione");
    QString MenuCompressed = QStringLiteral("Dimensioni &compresse");
    QString MenuRatio = QStringLiteral("&Percentuale");
    QString MenuAttribute = QStringLiteral("&Attributi");
    QString MenuRefresh = QStringLiteral("&Aggiorna");
    QString MenuAction = QStringLiteral("&Azioni");
    QString MenuAddFiles = QStringLiteral("&Aggiungi files...");
    QString MenuAddDir = QStringLiteral("A&ggiungi cartella...");
    QString MenuExtract = QStringLiteral("&Estrai...");
    QString MenuRename = QStringLiteral("&Rinomina");
    QString MenuDelete = QStringLiteral("&Cancella");
    QString MenuTools = QStringLiteral("&Strumenti");
    QString MenuMakeEXE = QStringLiteral("&Crea file eseguibile...");
    QString MenuMPQEmbedder = QStringLiteral("&MPQ Embedder...");
    QString MenuOptions = QStringLiteral("&Opzioni");
    QString MenuConfiguration = QStringLiteral("&Configurazione...");
    QString MenuAbout = QStringLiteral("&Informazioni su...");
    QString MenuHomePage = QStringLiteral("Visita il sito di &Arcavera...");
    QString MenuPopupOpen = QStringLiteral("Apri");
    QString MenuPopupExtract = QStringLiteral("Estrai...");
    QString MenuPopupRename = QStringLiteral("Rinomina");
    QString MenuPopupDelete = QStringLiteral("Cancella");
    QString MenuPopupInfoFile = QStringLiteral("Proprietà file...");
    QString MenuPopupCreateDir = QStringLiteral("Crea cartella...");
    // Column
    QString ColumnName = QStringLiteral("Nome");
    QString ColumnExt = QStringLiteral("Est.");
    QString ColumnSize = QStringLiteral("Dimensione");
    QString ColumnCompressed = QStringLiteral("Dim. Compresse");
    QString ColumnRatio = QStringLiteral("Percentuale");
    QString ColumnAttribute = QStringLiteral("Attributi");
    // ToolBar
    QString ToolBarNew = QStringLiteral("Nuovo");
    QString ToolBarNewToolTip = QStringLiteral("Crea nuovo archivio MPQ...");
    QString ToolBarOpen = QStringLiteral("Apri");
    QString ToolBarOpenToolTip = QStringLiteral("Apri un archivio esistente...");
    QString ToolBarInfoMPQ = QStringLiteral("Info MPQ");
    QString ToolBarInfoMPQToolTip = QStringLiteral("Mostra le proprietà dell archivio...");
    QString ToolBarAdd = QStringLiteral("Aggiungi");
    QString ToolBarAddToolTip = QStringLiteral("Aggiungi file all'archivio...");
    QString ToolBarExtract = QStringLiteral("Estrai");
    QString ToolBarExtractToolTip = QStringLiteral("Estrai file dall'archivio...");
    QString ToolBarDelete = QStringLiteral("Cancella");
    QString ToolBarDeleteToolTip = QStringLiteral("Cancella file nell'archivio");
    QString ToolBarView = QStringLiteral("Visualizza");
    QString ToolBarViewToolTip = QStringLiteral("Visualizza file all'interno dell'archivio");
    QString ToolBarInfoFile = QStringLiteral("Info File");
    QString ToolBarInfoFileToolTip = QStringLiteral("Mostra le proprietà del file selezionato...");
    QString ToolBarMakeEXE = QStringLiteral("Crea EXE");
    QString ToolBarMakeEXEToolTip = QStringLiteral("Crea un file eseguibile con MPQDraft...");
    QString ToolBarExit = QStringLiteral("Esci");
    QString ToolBarExitToolTip = QStringLiteral("Esci da Arcavera");
    // StatusBar
    QString StatusBarDelete = QStringLiteral("Eliminazione file %v");
    QString StatusBarExtract = QStringLiteral("Estrazione file %v");
    QString StatusBarAdd = QStringLiteral("Aggiunta file %v");
    QString StatusBarReady = QStringLiteral("Pronto");
    QString StatusBarOpen = QStringLiteral("Apertura archivio MPQ - %v");
    QString StatusBarReadList = QStringLiteral("Estrazione lista da %v");
    QString StatusBarAdditionalList = QStringLiteral("Lettura lista esterna");
    // Message
    QString MessageDelete = QStringLiteral("Sei sicuro di volere eliminare i files?");
    QString MessageRemoveFileList = QStringLiteral("Vuoi eliminare la lista?");
    QString MessageCreateDir = QStringLiteral("Nuova cartella");
    // MPQEmbedder: the verdicts of the embedder on the file it shows
    QString EmbedderNoFile = QStringLiteral("Nessun file aperto.");
    QString EmbedderOkMPQ = QStringLiteral("Il file selezionato contiene un archivio MPQ.");
    QString EmbedderKoMPQ = QStringLiteral(
        "Il file selezionato contiene un archivio MPQ, ma gli altri programmi potrebbero non leggerlo.");
    QString EmbedderNoMPQ = QStringLiteral("Il file selezionato non contiene un archivio MPQ.");
    QString EmbedderIsMPQ = QStringLiteral("Il file selezionato è un archivio MPQ.");
    QString EmbedderNoEXE = QStringLiteral("Il file selezionato non è un file eseguibile.");
    // Filter: description NUL pattern NUL ..., no NUL after the last pattern.
    QString FilterMPQ;
    QString FilterEXE;
    QString FilterArchives;

    MessageStrings();
};

// The strings in force.
MessageStrings &Texts();

// `text` with every "%v" replaced by `value`, from the first character on.
QString ReplaceValue(const QString &text, const QString &value);
