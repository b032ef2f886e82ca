#include "config/catalogue.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QPointer>
#include <QStringList>
#include <QTranslator>

#include "config/ini_file.h"
#include "base/file_walk.h"
#include "config/startup.h"

namespace {

using M = MessageStrings;

// The catalogue. A row's place is the order of the lookups; its text is the
// Italian default.
const CatalogueEntry kCatalogue[] = {
    {"Language", "Author", &M::LanguageAuthor, ""},

    {"Menu", "File", &M::MenuFile, "&File"},
    {"Menu", "New", &M::MenuNew, "&Nuovo Archivio"},
    {"Menu", "Open", &M::MenuOpen, "&Apri Archivio..."},
    {"Menu", "Close", &M::MenuClose, "&Chiudi Archivio"},
    {"Menu", "Recents", &M::MenuRecents, "File &Recenti"},
    {"Menu", "NoRecents", &M::MenuNoRecents, "Nessun file recente"},
    {"Menu", "Exit", &M::MenuExit, "&Esci"},
    {"Menu", "Edit", &M::MenuEdit, "&Modifica"},
    {"Menu", "SelectAll", &M::MenuSelectAll, "Seleziona &tutto"},
    {"Menu", "SelectNone", &M::MenuSelectNone, "&Deseleziona tutto"},
    {"Menu", "Invert", &M::MenuInvert, "Inverti selezione"},
    {"Menu", "Find", &M::MenuFind, "Trova..."},
    {"Menu", "FindNext", &M::MenuFindNext, "Trova successivo"},
    {"Menu", "View", &M::MenuView, "&Visualizza"},
    {"Menu", "ToolBar", &M::MenuToolBar, "&Barra strumenti"},
    {"Menu", "StatusBar", &M::MenuStatusBar, "Barra di &stato"},
    {"Menu", "ClassicStyle", &M::MenuClassicStyle, "Stile &classico"},
    {"Menu", "ExplorerStyle", &M::MenuExplorerStyle, "Stile &Esplora risorse"},
    {"Menu", "Sort", &M::MenuSort, "D&isponi gli oggetti per..."},
    {"Menu", "Name", &M::MenuName, "&Nome"},
    {"Menu", "Ext", &M::MenuExt, "&Estensione"},
    {"Menu", "Size", &M::MenuSize, "&Dimensione"},
    {"Menu", "Compressed", &M::MenuCompressed, "Dimensioni &compresse"},
    {"Menu", "Ratio", &M::MenuRatio, "&Percentuale"},
    {"Menu", "Attribute", &M::MenuAttribute, "&Attributi"},
    {"Menu", "Refresh", &M::MenuRefresh, "&Aggiorna"},
    {"Menu", "Action", &M::MenuAction, "&Azioni"},
    {"Menu", "AddFiles", &M::MenuAddFiles, "&Aggiungi files..."},
    {"Menu", "AddDir", &M::MenuAddDir, "A&ggiungi cartella..."},
    {"Menu", "Extract", &M::MenuExtract, "&Estrai..."},
    {"Menu", "Rename", &M::MenuRename, "&Rinomina"},
    {"Menu", "Delete", &M::MenuDelete, "&Cancella"},
    {"Menu", "Compact", &M::MenuCompact, "Co&mpatta archivio"},
    {"Menu", "ExtractAll", &M::MenuExtractAll, "Estrai &tutto..."},
    {"Menu", "Tools", &M::MenuTools, "&Strumenti"},
    {"Menu", "MakeEXE", &M::MenuMakeEXE, "&Crea file eseguibile..."},
    {"Menu", "MPQEmbedder", &M::MenuMPQEmbedder, "&MPQ Embedder..."},
    {"Menu", "Options", &M::MenuOptions, "&Opzioni"},
    {"Menu", "Configuration", &M::MenuConfiguration, "&Configurazione..."},
    {"Menu", "About", &M::MenuAbout, "&Informazioni su..."},
    {"Menu", "HomePage", &M::MenuHomePage, "Visita il sito di &Arcavera..."},
    {"Menu", "PopupOpen", &M::MenuPopupOpen, "Apri"},
    {"Menu", "PopupExtract", &M::MenuPopupExtract, "Estrai..."},
    {"Menu", "PopupRename", &M::MenuPopupRename, "Rinomina"},
    {"Menu", "PopupDelete", &M::MenuPopupDelete, "Cancella"},
    {"Menu", "PopupInfoFile", &M::MenuPopupInfoFile, "Proprietà file..."},
    {"Menu", "PopupCreateDir", &M::MenuPopupCreateDir, "Crea cartella..."},

    {"Column", "Name", &M::ColumnName, "Nome"},
    {"Column", "Ext", &M::ColumnExt, "Est."},
    {"Column", "Size", &M::ColumnSize, "Dimensione"},
    {"Column", "Compressed", &M::ColumnCompressed, "Dim. Compresse"},
    {"Column", "Ratio", &M::ColumnRatio, "Percentuale"},
    {"Column", "Attribute", &M::ColumnAttribute, "Attributi"},
    {"Column", "Locale", &M::ColumnLocale, "Lingua"},

    {"ToolBar", "New", &M::ToolBarNew, "Nuovo"},
    {"ToolBar", "NewToolTip", &M::ToolBarNewToolTip, "Crea nuovo archivio MPQ..."},
    {"ToolBar", "Open", &M::ToolBarOpen, "Apri"},
    {"ToolBar", "OpenToolTip", &M::ToolBarOpenToolTip, "Apri un archivio esistente..."},
    {"ToolBar", "InfoMPQ", &M::ToolBarInfoMPQ, "Info MPQ"},
    {"ToolBar", "InfoMPQToolTip", &M::ToolBarInfoMPQToolTip, "Mostra le proprietà dell archivio..."},
    {"ToolBar", "Add", &M::ToolBarAdd, "Aggiungi"},
    {"ToolBar", "AddToolTip", &M::ToolBarAddToolTip, "Aggiungi file all'archivio..."},
    {"ToolBar", "Extract", &M::ToolBarExtract, "Estrai"},
    {"ToolBar", "ExtractToolTip", &M::ToolBarExtractToolTip, "Estrai file dall'archivio..."},
    {"ToolBar", "Delete", &M::ToolBarDelete, "Cancella"},
    {"ToolBar", "DeleteToolTip", &M::ToolBarDeleteToolTip, "Cancella file nell'archivio"},
    {"ToolBar", "View", &M::ToolBarView, "Visualizza"},
    {"ToolBar", "ViewToolTip", &M::ToolBarViewToolTip, "Visualizza file all'interno dell'archivio"},
    {"ToolBar", "InfoFile", &M::ToolBarInfoFile, "Info File"},
    {"ToolBar", "InfoFileToolTip", &M::ToolBarInfoFileToolTip, "Mostra le proprietà del file selezionato..."},
    {"ToolBar", "MakeEXE", &M::ToolBarMakeEXE, "Crea EXE"},
    {"ToolBar", "MakeEXEToolTip", &M::ToolBarMakeEXEToolTip, "Crea un file eseguibile con MPQDraft..."},
    {"ToolBar", "Exit", &M::ToolBarExit, "Esci"},
    {"ToolBar", "ExitToolTip", &M::ToolBarExitToolTip, "Esci da Arcavera"},

    {"StatusBar", "Delete", &M::StatusBarDelete, "Eliminazione file %v"},
    {"StatusBar", "Extract", &M::StatusBarExtract, "Estrazione file %v"},
    {"StatusBar", "Add", &M::StatusBarAdd, "Aggiunta file %v"},
    {"StatusBar", "Ready", &M::StatusBarReady, "Pronto"},
    {"StatusBar", "Open", &M::StatusBarOpen, "Apertura archivio MPQ - %v"},
    {"StatusBar", "ReadList", &M::StatusBarReadList, "Estrazione lista da %v"},
    {"StatusBar", "AdditionalList", &M::StatusBarAdditionalList, "Lettura lista esterna"},

    {"Message", "Delete", &M::MessageDelete, "Sei sicuro di volere eliminare i files?"},
    {"Message", "RemoveFileList", &M::MessageRemoveFileList, "Vuoi eliminare la lista?"},
    {"Message", "CreateDir", &M::MessageCreateDir, "Nuova cartella"},

    {"InfoMPQ", "Property", &M::InfoMPQProperty, "Proprietà"},
    {"InfoMPQ", "Compression", &M::InfoMPQCompression, "Compressione"},
    {"InfoMPQ", "Path", &M::InfoMPQPath, "Percorso:"},
    {"InfoMPQ", "Name", &M::InfoMPQName, "Nome:"},
    {"InfoMPQ", "Size", &M::InfoMPQSize, "Dimensione:"},
    {"InfoMPQ", "Decompress", &M::InfoMPQDecompress, "Decompresso:"},
    {"InfoMPQ", "NFiles", &M::InfoMPQNFiles, "Files in archivio:"},
    {"InfoMPQ", "NFilesView", &M::InfoMPQNFilesView, "Files visualizzati:"},
    {"InfoMPQ", "Last", &M::InfoMPQLast, "Ultima modifica:"},
    {"InfoMPQ", "Format", &M::InfoMPQFormat, "Formato:"},
    {"InfoMPQ", "Offset", &M::InfoMPQOffset, "Inizio archivio:"},
    {"InfoMPQ", "SectorSize", &M::InfoMPQSectorSize, "Settore (byte):"},
    {"InfoMPQ", "HashTable", &M::InfoMPQHashTable, "Tabella hash:"},
    {"InfoMPQ", "UsedSlots", &M::InfoMPQUsedSlots, "Voci usate:"},
    {"InfoMPQ", "BlockTable", &M::InfoMPQBlockTable, "Tabella blocchi:"},
    {"InfoMPQ", "Signature", &M::InfoMPQSignature, "Firma:"},
    {"InfoMPQ", "SignatureNone", &M::InfoMPQSignatureNone, "Nessuna"},
    {"InfoMPQ", "SignatureWeak", &M::InfoMPQSignatureWeak, "Debole"},
    {"InfoMPQ", "SignatureStrong", &M::InfoMPQSignatureStrong, "Forte"},
    {"InfoMPQ", "MapName", &M::InfoMPQMapName, "Nome mappa:"},
    {"InfoMPQ", "MapFlags", &M::InfoMPQMapFlags, "Flag mappa:"},

    {"InfoFile", "Property", &M::InfoFileProperty, "Proprietà"},
    {"InfoFile", "Compression", &M::InfoFileCompression, "Compressione"},
    {"InfoFile", "Name", &M::InfoFileName, "Nome:"},
    {"InfoFile", "Type", &M::InfoFileType, "Tipo:"},
    {"InfoFile", "Size", &M::InfoFileSize, "Dimensione:"},
    {"InfoFile", "Compress", &M::InfoFileCompress, "Compresso:"},
    {"InfoFile", "Ratio", &M::InfoFileRatio, "Percentuale:"},
    {"InfoFile", "Attribute", &M::InfoFileAttribute, "Attributi:"},
    {"InfoFile", "Path", &M::InfoFilePath, "Percorso:"},

    {"Configuration", "Configuration", &M::ConfigConfiguration, "Configurazioni"},
    {"Configuration", "General", &M::ConfigGeneral, "Generale"},
    {"Configuration", "Compression", &M::ConfigCompression, "Compressione"},
    {"Configuration", "FileList", &M::ConfigFileListTab, "Liste Files"},
    {"Configuration", "Language", &M::ConfigLanguage, "Lingua"},
    {"Configuration", "MaxFiles", &M::ConfigMaxFiles,
     "Numero massimo di file per un nuovo archivio: (non può essere modificato per un archivio esistente)"},
    {"Configuration", "Encrypt", &M::ConfigEncrypt, "Cripta i files nell'archivio MPQ"},
    {"Configuration", "Associate", &M::ConfigAssociate, "Associa Arcavera agli archivi MPQ"},
    {"Configuration", "Standard", &M::ConfigStandard, "Predefiniti"},
    {"Configuration", "Default", &M::ConfigDefault, "Compressione Standard"},
    {"Configuration", "Deflate", &M::ConfigDeflate, "Livello Compressione Deflate"},
    {"Configuration", "Custom", &M::ConfigCustom, "Definisci"},
    {"Configuration", "Extension", &M::ConfigExtension, "Estensione"},
    {"Configuration", "CompressionType", &M::ConfigCompressionType, "Tipo Compressione"},
    {"Configuration", "Audio", &M::ConfigAudio, "Compressione Audio"},
    {"Configuration", "Lowest", &M::ConfigLowest, "Minima (qualità migliore)"},
    {"Configuration", "Medium", &M::ConfigMedium, "Normale"},
    {"Configuration", "Highest", &M::ConfigHighest, "Massima (dimensioni minime)"},
    {"Configuration", "AddExt", &M::ConfigAddExt, "Agg."},
    {"Configuration", "RemoveExt", &M::ConfigRemoveExt, "Elimina"},
    {"Configuration", "FileList", &M::ConfigFileList, "Liste Files"},
    {"Configuration", "AddList", &M::ConfigAddList, "Aggiungi Lista..."},
    {"Configuration", "RemoveList", &M::ConfigRemoveList, "Rimuovi Lista"},
    {"Configuration", "UseList", &M::ConfigUseList, "Non usare le liste se viene trovata nell'archivio"},
    {"Configuration", "AutoDetectFile", &M::ConfigAutoDetectFile,
     "Prova a determinare automaticamente il tipo dei file"},
    {"Configuration", "RecoverNames", &M::ConfigRecoverNames, "Recupera i nomi dai file dell'archivio stesso"},
    {"Configuration", "SelectLanguage", &M::ConfigSelectLanguage, "Seleziona una lingua:"},
    {"Configuration", "Ok", &M::ConfigOk, "Ok"},
    {"Configuration", "Cancel", &M::ConfigCancel, "Annulla"},

    {"Various", "Version", &M::VariousVersion, "Versione"},
    {"Various", "ThisProgramUse", &M::VariousThisProgramUse, "Questo programma utilizza"},

    {"MPQEmbedder", "NoFile", &M::EmbedderNoFile, "Nessun file aperto."},
    {"MPQEmbedder", "OkMPQ", &M::EmbedderOkMPQ, "Il file selezionato contiene un archivio MPQ."},
    {"MPQEmbedder", "KoMPQ", &M::EmbedderKoMPQ,
     "Il file selezionato contiene un archivio MPQ, ma gli altri programmi potrebbero non leggerlo."},
    {"MPQEmbedder", "NoMPQ", &M::EmbedderNoMPQ, "Il file selezionato non contiene un archivio MPQ."},
    {"MPQEmbedder", "IsMPQ", &M::EmbedderIsMPQ, "Il file selezionato è un archivio MPQ."},
    {"MPQEmbedder", "NoEXE", &M::EmbedderNoEXE, "Il file selezionato non è un file eseguibile."},
    {"MPQEmbedder", "FileName", &M::EmbedderFileName, "Inserisci il nome del file:"},
    {"MPQEmbedder", "Information", &M::EmbedderInformation, "Informazioni"},
    {"MPQEmbedder", "Add", &M::EmbedderAdd, "Aggiungi MPQ..."},
    {"MPQEmbedder", "ExportEXE", &M::EmbedderExportEXE, "Esporta EXE..."},
    {"MPQEmbedder", "ExportMPQ", &M::EmbedderExportMPQ, "Esporta MPQ..."},
    {"MPQEmbedder", "Close", &M::EmbedderClose, "Chiudi"},

    {"Filter", "mpq", &M::FilterMpqText, "Archivi MPQ (*.mpq)"},
    {"Filter", "all", &M::FilterAllText, "Tutti i files (*.*)"},
    {"Filter", "exe", &M::FilterExeText, "File eseguibili (*.exe)"},
    {"Filter", "scm", &M::FilterScmText, "Mappe di StarCraft (*.scm;*.scx;*.SC2Map;*.s2ma)"},
    {"Filter", "w3m", &M::FilterW3mText, "Mappe di WarCraft3 (*.w3m;*.w3x)"},
    {"Filter", "w3n", &M::FilterW3nText, "Campagne di WarCraft3 (*.w3n)"},
    {"Filter", "allmpq", &M::FilterAllMpqText,
     "Tutti gli archivi MPQ (*.mpq;*.exe;*.snp;*.scm;*.scx;*.w3m;*.w3x;*.w3n;*.SC2Replay;*.SC2Map;*.s2ma)"},

    {"MPQEmbedder", "OpenFailed", &M::EmbedderOpenFailed, "Impossibile aprire il file \"%v\"."},
    {"MPQEmbedder", "ReadFailed", &M::EmbedderReadFailed, "Impossibile leggere il file \"%v\"."},
    {"MPQEmbedder", "WriteFailed", &M::EmbedderWriteFailed, "Impossibile scrivere il file \"%v\"."},
    {"MPQEmbedder", "SameFile", &M::EmbedderSameFile,
     "Il file \"%v\" è il file di partenza: scegline un altro."},
    {"Message", "FileExists", &M::MessageFileExists, "Il file %v esiste già. Vuoi sostituirlo?"},
    {"StatusBar", "NotWritten", &M::StatusBarNotWritten,
     "Impossibile scrivere l'archivio: è rimasto com'era."},
    {"StatusBar", "NotWritable", &M::StatusBarNotWritable,
     "Impossibile scrivere l'archivio: nulla è stato cambiato."},
    {"StatusBar", "NotOpened", &M::StatusBarNotOpened, "Impossibile aprire %v come archivio MPQ"},
    {"StatusBar", "Damaged", &M::StatusBarDamaged, "%v è danneggiato: la sua lettura ha fermato il motore"},
    {"StatusBar", "ListingStopped", &M::StatusBarListingStopped,
     "Lettura di %v interrotta: Aggiorna la riprende"},
    {"StatusBar", "Malformed", &M::StatusBarMalformed,
     "%v è un archivio malformato (una mappa protetta): si legge, ma non si modifica"},
    {"StatusBar", "NotAdded", &M::StatusBarNotAdded, "File non aggiunti all'archivio: %v"},
    {"StatusBar", "NotStored", &M::StatusBarNotStored, "%v non è nell'archivio: nulla è stato cambiato."},
    {"StatusBar", "Kept", &M::StatusBarKept,
     "%v non si può eliminare né rinominare: l'archivio lo tiene per sé."},
    {"StatusBar", "NoProgram", &M::StatusBarNoProgram, "Nessun programma apre %v: estrailo e aprilo con un programma a scelta."},
    {"StatusBar", "Compacting", &M::StatusBarCompacting, "Compattazione dell'archivio..."},
    {"StatusBar", "Compacted", &M::StatusBarCompacted, "Archivio compattato: %v byte recuperati"},
    {"Message", "CompactNameless", &M::MessageCompactNameless,
     "%v file non hanno un nome con cui riscriverli: l'archivio non è stato compattato."},
    {"Message", "WriteBack", &M::MessageWriteBack, "Il file %v è stato modificato. Vuoi rimetterlo nell'archivio?"},
    {"Message", "WriteBackStale", &M::MessageWriteBackStale,
     "Il file %v è stato salvato, ma l'archivio è stato chiuso o modificato dopo la sua apertura: non è stato "
     "rimesso nell'archivio."},
    {"Folder", "Unpack", &M::MenuUnpack, "Estrai in una &cartella con il manifesto..."},
    {"Folder", "Pack", &M::MenuPack, "Crea un archivio da una cartella..."},
    {"Folder", "Unpacked", &M::StatusBarUnpacked, "File estratti con il manifesto: %v"},
    {"Folder", "Packed", &M::StatusBarPacked, "Archivio creato con %v file"},
    {"Folder", "NotEmpty", &M::MessageFolderNotEmpty, "La cartella %v non è vuota: scegline una vuota o nuova."},
    {"Folder", "BadLine", &M::MessageFolderBadLine, "Il manifesto non si legge alla riga %v: nessun archivio creato."},
    {"Folder", "UnknownLocale", &M::MessageFolderUnknownLocale,
     "Il manifesto nomina una lingua sconosciuta alla riga %v: nessun archivio creato."},
    {"Folder", "Climbs", &M::MessageFolderClimbs, "Il percorso %v esce dalla cartella: nessun archivio creato."},
    {"Folder", "Missing", &M::MessageFolderMissing,
     "Il manifesto nomina %v, che manca nella cartella: nessun archivio creato."},
    {"Folder", "Unlisted", &M::MessageFolderUnlisted,
     "%v è nella cartella ma non nel manifesto: nessun archivio creato."},
    {"Folder", "CaseClash", &M::MessageFolderCaseClash,
     "%v darebbe lo stesso nome di un altro file (maiuscole e minuscole non contano): nessun archivio creato."},
    {"Folder", "BadFront", &M::MessageFolderBadFront,
     "I dati davanti all'archivio (%v) mancano o non sono in blocchi di 512 byte: nessun archivio creato."},
    {"Folder", "Unreadable", &M::MessageFolderUnreadable, "%v non si legge: nessun archivio creato."},
    {"Folder", "PackFailed", &M::MessagePackFailed, "L'archivio non è stato creato: %v"},
    {"Menu", "Verify", &M::MenuVerify, "&Verifica archivio"},
    {"Verify", "Checked", &M::MessageVerifyChecked, "File controllati: %v"},
    {"Verify", "Faulty", &M::MessageVerifyFaulty, "File con difetti: %v"},
    {"Verify", "More", &M::MessageVerifyMore, "... e altri %v"},
    {"Verify", "Stopped", &M::MessageVerifyStopped, "Verifica interrotta: %v file e la firma non sono stati controllati"},
    {"StatusBar", "Verifying", &M::StatusBarVerifying, "Verifica dell'archivio..."},
    {"Verify", "NotOpened", &M::FaultNotOpened, "non si apre"},
    {"Verify", "NotRead", &M::FaultNotRead, "non si legge per intero"},
    {"Verify", "SectorChecksum", &M::FaultSectorChecksum, "checksum di un settore errato"},
    {"Verify", "Crc32", &M::FaultCrc32, "CRC32 diverso da (attributes)"},
    {"Verify", "Md5", &M::FaultMd5, "MD5 diverso da (attributes)"},
    {"Verify", "RawMd5", &M::FaultRawMd5, "MD5 dei dati memorizzati errato"},
    {"Verify", "Engine", &M::FaultEngine, "danneggiato: la sua lettura ha fermato il motore"},
    {"Verify", "SignatureNone", &M::SignatureNone, "Firma: nessuna"},
    {"Verify", "SignatureWeak", &M::SignatureWeak, "Firma: debole, valida"},
    {"Verify", "SignatureStrong", &M::SignatureStrong, "Firma: forte, valida"},
    {"Verify", "SignatureMismatch", &M::SignatureMismatch, "Firma: non corrisponde all'archivio"},
    {"NewArchive", "Title", &M::NewArchiveTitle, "Nuovo archivio"},
    {"NewArchive", "Format", &M::NewArchiveFormat, "Formato:"},
    {"NewArchive", "Format1", &M::NewArchiveFormat1, "1 - StarCraft, Diablo II, WarCraft III e le loro mappe"},
    {"NewArchive", "Format2", &M::NewArchiveFormat2, "2 - World of Warcraft: The Burning Crusade, archivi oltre 4 GB"},
    {"NewArchive", "MaxFiles", &M::NewArchiveMaxFiles, "Numero massimo di file:"},
    {"NewArchive", "Format3", &M::NewArchiveFormat3, "3 - beta di World of Warcraft: Cataclysm"},
    {"NewArchive", "Format4", &M::NewArchiveFormat4, "4 - World of Warcraft da Cataclysm, StarCraft II"},
    {"Message", "Cancelled", &M::MessageCancelled, "Interrotto: il resto non è stato fatto."},
    {"Message", "ExtractedAll", &M::MessageExtractedAll, "File estratti: %v"},
    {"Message", "ExtractNotRead", &M::MessageExtractNotRead, "Non leggibili nell'archivio: %v"},
    {"Message", "ExtractDamaged", &M::MessageExtractDamaged, "Danneggiati, la loro lettura ha fermato il motore: %v"},
    {"Message", "ExtractOutside", &M::MessageExtractOutside, "Rifiutati perché finirebbero fuori dalla cartella: %v"},
    {"Message", "ExtractLinked", &M::MessageExtractLinked, "Rifiutati perché al loro posto c'è un link: %v"},
    {"Message", "ExtractStopped", &M::MessageExtractStopped, "Impossibile scrivere %v: l'estrazione si è fermata lì."},
    {"Menu", "Preview", &M::MenuPreview, "&Anteprima"},
    {"Preview", "Empty", &M::PreviewEmpty, "Seleziona un file per vederne il contenuto."},
    {"Preview", "Reading", &M::PreviewReading, "Lettura di %v..."},
    {"Preview", "Leave", &M::PreviewLeave, "Lascia"},
    {"Preview", "Left", &M::PreviewLeft, "Lettura lasciata: selezionalo di nuovo per riprenderla."},
    {"Preview", "Head", &M::PreviewHead, "Sono mostrati i primi %v KB del file."},
    {"Preview", "NotRead", &M::PreviewNotRead, "Il file non si legge per intero."},
    {"Preview", "Damaged", &M::PreviewDamaged, "Il file è danneggiato: la sua lettura ha fermato il motore."},
    {"Preview", "NotStored", &M::PreviewNotStored, "Il file non è più nell'archivio."},
    {"Preview", "DamagedImage", &M::PreviewDamagedImage, "Immagine danneggiata: %v"},
    {"Preview", "UnsupportedImage", &M::PreviewUnsupportedImage, "Immagine di un tipo non supportato: %v"},
    {"Preview", "LargeImage", &M::PreviewLargeImage, "Immagine troppo grande: %v"},
    {"Preview", "Play", &M::PreviewPlay, "Riproduci"},
    {"Preview", "Stop", &M::PreviewStop, "Ferma"},
    {"Preview", "SoundFailed", &M::PreviewSoundFailed, "Il suono non si riproduce: %v"},
    {"Preview", "Fit", &M::PreviewFit, "Adatta"},
    {"Preview", "NoMap", &M::PreviewNoMap, "Nessun dettaglio della mappa: %v"},
    {"Map", "Title", &M::MapTitle, "Dettagli della mappa"},
    {"Map", "Name", &M::MapName, "Nome"},
    {"Map", "Author", &M::MapAuthor, "Autore"},
    {"Map", "Description", &M::MapDescription, "Descrizione"},
    {"Map", "Players", &M::MapPlayers, "Giocatori consigliati"},
    {"Map", "Size", &M::MapSize, "Area giocabile"},
    {"Map", "Tileset", &M::MapTileset, "Ambientazione"},
    {"FileType", "mdx", &M::FileTypeModel, "Modello 3D"},
    {"FileType", "mdl", &M::FileTypeModelText, "Modello 3D (testo)"},
    {"FileType", "blp", &M::FileTypeTexture, "Texture BLP"},
    {"FileType", "dds", &M::FileTypeDds, "Texture DDS"},
    {"FileType", "j", &M::FileTypeJass, "Script JASS"},
    {"FileType", "ai", &M::FileTypeAi, "Script dell'intelligenza artificiale (JASS)"},
    {"FileType", "lua", &M::FileTypeLua, "Script Lua"},
    {"FileType", "galaxy", &M::FileTypeGalaxy, "Script Galaxy"},
    {"FileType", "w3e", &M::FileTypeTerrain, "Terreno della mappa"},
    {"FileType", "wts", &M::FileTypeStrings, "Stringhe della mappa"},
    {"FileType", "objects", &M::FileTypeObjects, "Dati degli oggetti"},
    {"FileType", "doo", &M::FileTypeDoodads, "Decorazioni (doodad)"},
    {"FileType", "w3i", &M::FileTypeMapInfo, "Informazioni sulla mappa"},
    {"FileType", "wpm", &M::FileTypePathing, "Mappa dei percorsi"},
    {"FileType", "shd", &M::FileTypeShadows, "Mappa delle ombre"},
    {"FileType", "mmp", &M::FileTypeMinimap, "Icone della minimappa"},
    {"FileType", "w3r", &M::FileTypeRegions, "Regioni"},
    {"FileType", "w3c", &M::FileTypeCameras, "Telecamere"},
    {"FileType", "w3s", &M::FileTypeSounds, "Suoni della mappa"},
    {"FileType", "wtg", &M::FileTypeTriggers, "Trigger"},
    {"FileType", "wct", &M::FileTypeTriggerText, "Testo personalizzato dei trigger"},
    {"FileType", "imp", &M::FileTypeImports, "Elenco dei file importati"},
    {"FileType", "slk", &M::FileTypeSlk, "Tabella SLK"},
    {"FileType", "fdf", &M::FileTypeFrames, "Definizione dell'interfaccia (FDF)"},
    {"FileType", "toc", &M::FileTypeFrameList, "Elenco delle interfacce (TOC)"},
    {"FileType", "chk", &M::FileTypeScenario, "Scenario di StarCraft"},
    {"FileType", "w3m", &M::FileTypeWc3Map, "Mappa di WarCraft III"},
    {"FileType", "w3n", &M::FileTypeCampaign, "Campagna di WarCraft III"},
    {"FileType", "w3f", &M::FileTypeCampaignInfo, "Informazioni sulla campagna"},
    {"FileType", "scm", &M::FileTypeScMap, "Mappa di StarCraft"},
};

QString Filter(std::initializer_list<std::pair<const QString *, const char *>> pairs)
{
    QStringList parts;
    for (const auto &[description, pattern] : pairs) parts << *description << QLatin1String(pattern);
    return parts.join(QChar(0));
}

}  // namespace

MessageStrings::MessageStrings()
{
    for (const CatalogueEntry &entry : kCatalogue) this->*entry.field = QString::fromUtf8(entry.italian);
    BuildFilters();
}

void MessageStrings::BuildFilters()
{
    FilterMPQ = Filter({{&FilterMpqText, "*.mpq"}, {&FilterAllText, "*.*"}});
    FilterEXE = Filter({{&FilterExeText, "*.exe"}, {&FilterAllText, "*.*"}});
    FilterArchives = Filter({{&FilterMpqText, "*.mpq"},
                             {&FilterScmText, "*.scm;*.scx;*.SC2Map;*.s2ma"},
                             {&FilterW3mText, "*.w3m;*.w3x"},
                             {&FilterW3nText, "*.w3n"},
                             {&FilterExeText, "*.exe"},
                             {&FilterAllMpqText, "*.mpq;*.exe;*.snp;*.scm;*.scx;*.w3m;*.w3x;*.w3n;*.SC2Replay;*.SC2Map;*.s2ma"},
                             {&FilterAllText, "*.*"}});
}

std::span<const CatalogueEntry> Catalogue() { return kCatalogue; }

MessageStrings &Texts()
{
    static MessageStrings strings;
    return strings;
}

LanguageEvents &LanguageEvents::Instance()
{
    static LanguageEvents events;
    return events;
}

namespace {

// A locale's name: two or three ASCII letters, then parts of two to eight
// ASCII letters or digits, each behind a "_" or a "-".
bool IsLocaleName(const QString &name)
{
    const auto letter = [](QChar c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); };
    qsizetype part = 0, length = 0;
    for (qsizetype i = 0; i <= name.size(); ++i) {
        if (i == name.size() || name[i] == u'_' || name[i] == u'-') {
            if (part == 0 ? (length < 2 || length > 3) : (length < 2 || length > 8)) return false;
            ++part;
            length = 0;
        } else if (letter(name[i]) || (part > 0 && name[i] >= u'0' && name[i] <= u'9')) {
            ++length;
        } else {
            return false;
        }
    }
    return true;
}

// The language of Qt's own texts that a language file names.
QString QtLocaleOf(const IniDocument &languageFile)
{
    const QString locale = languageFile.Get(QStringLiteral("Language"), QStringLiteral("QtLocale"), {}).trimmed();
    if (!IsLocaleName(locale)) return QStringLiteral("it");
    return QString(locale).replace(u'-', u'_');
}

// Qt's translation for `locale` in place of the one before; none when Qt has
// none for it. A translator removed or installed makes every widget take its
// texts anew.
void UseQtTranslation(const QString &locale)
{
    QCoreApplication *application = QCoreApplication::instance();
    if (!application) return;
    static QPointer<QTranslator> installed;
    static QString installedLocale;
    if (installed && installedLocale == locale) return;
    delete installed.data();  // which takes it out of the application
    auto *translator = new QTranslator(application);
    if (!translator->load(QStringLiteral("qtbase_") + locale, QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        delete translator;
        return;
    }
    QCoreApplication::installTranslator(translator);
    installed = translator;
    installedLocale = locale;
}

}  // namespace

void LoadLanguage(const QString &file)
{
    // One reading of the file answers every lookup; each lookup keeps the
    // rule of a single read: absent gives the default, present gives its
    // value, empty or not.
    const IniDocument doc = IniDocument::Load(file);
    MessageStrings &texts = Texts();
    for (const CatalogueEntry &entry : kCatalogue)
        texts.*entry.field = doc.Get(QLatin1String(entry.section), QLatin1String(entry.key),
                                     QString::fromUtf8(entry.italian));
    texts.BuildFilters();
    UseQtTranslation(QtLocaleOf(doc));
    emit LanguageEvents::Instance().Loaded();
}

QString ReplaceValue(const QString &text, const QString &value)
{
    QString result = text;
    return result.replace(QStringLiteral("%v"), value);
}

QString LanguagesFolder(const QString &programFolder)
{
    const QString found = ProgramDataPath(programFolder, QStringLiteral("Languages"));
    return found.isEmpty() ? QDir(programFolder).filePath(QStringLiteral("Languages")) : found;
}

QString LanguageFilePath(const QString &languagesFolder, const QString &name)
{
    return name.isEmpty() ? languagesFolder : QDir(languagesFolder).filePath(name);
}

LanguageList ListLanguages(const QString &languagesFolder, const QString &configuredName)
{
    LanguageList list;
    list.items.append({QString::fromUtf8(kBuiltInLanguageName), QString(), QStringLiteral("it")});
    const QString found = ScanFiles(languagesFolder, QStringLiteral("*.lng"), kAttributeHidden | kAttributeSystem,
                                    true, QStringLiteral("|"));
    QStringList paths = found.split(u'|');
    if (!paths.isEmpty()) paths.removeLast();  // the empty piece behind the last separator
    for (const QString &path : std::as_const(paths)) {
        const QString fileName = QFileInfo(path).fileName();
        const IniDocument doc = IniDocument::Load(path);
        QString name = doc.Get(QStringLiteral("Language"), QStringLiteral("Name"), QString());
        if (name.isEmpty()) name = fileName;
        list.items.append({name, fileName, QtLocaleOf(doc)});
        if (fileName.toLower() == configuredName.toLower()) list.selected = list.items.size() - 1;
    }
    return list;
}

qsizetype LanguageOfLocale(const LanguageList &list, const QString &systemLocale)
{
    const QString name = QString(systemLocale).replace(u'-', u'_');
    const QString language = name.section(u'_', 0, 0);
    for (const bool whole : {true, false}) {
        for (qsizetype i = 0; i < list.items.size(); ++i) {
            const QString &locale = list.items[i].locale;
            if (locale.compare(name, Qt::CaseInsensitive) == 0 ||
                (!whole && locale.section(u'_', 0, 0).compare(language, Qt::CaseInsensitive) == 0))
                return i;
        }
    }
    return 0;
}
