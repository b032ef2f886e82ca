// The program's texts and the language files that translate them.
//
// Every text that a language file can change has its Italian default in the
// catalogue (catalogue.cpp), a fixed table of section, key and text in the
// order in which a language file is read. LoadLanguage reads every key of
// the table from one file: a key that the file holds sets its text, even an
// empty one; a key that it leaves out gives the Italian default. So the
// program is complete without any language file, and a file that translates
// only part of the texts leaves Italian everywhere else.
//
// The texts live in one MessageStrings record. Core routines read the
// message strings from it when they need them; the windows take their
// captions from it when they are made and again whenever a language has been
// loaded, which LanguageEvents announces.
#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include <span>

struct MessageStrings {
    // Language: a line about the translation, shown last in the credits.
    QString LanguageAuthor;
    // Menu
    QString MenuFile, MenuNew, MenuOpen, MenuClose, MenuRecents, MenuNoRecents, MenuExit;
    QString MenuEdit, MenuSelectAll, MenuSelectNone, MenuInvert, MenuFind, MenuFindNext;
    QString MenuView, MenuToolBar, MenuStatusBar, MenuClassicStyle, MenuExplorerStyle, MenuSort;
    QString MenuName, MenuExt, MenuSize, MenuCompressed, MenuRatio, MenuAttribute, MenuRefresh;
    QString MenuAction, MenuAddFiles, MenuAddDir, MenuExtract, MenuRename, MenuDelete;
    QString MenuTools, MenuMakeEXE, MenuMPQEmbedder, MenuOptions, MenuConfiguration, MenuAbout,
        MenuHomePage;
    QString MenuPopupOpen, MenuPopupExtract, MenuPopupRename, MenuPopupDelete, MenuPopupInfoFile,
        MenuPopupCreateDir;
    // Column
    QString ColumnName, ColumnExt, ColumnSize, ColumnCompressed, ColumnRatio, ColumnAttribute, ColumnLocale;
    // ToolBar: caption and tool tip of each button
    QString ToolBarNew, ToolBarNewToolTip, ToolBarOpen, ToolBarOpenToolTip, ToolBarInfoMPQ,
        ToolBarInfoMPQToolTip, ToolBarAdd, ToolBarAddToolTip, ToolBarExtract, ToolBarExtractToolTip,
        ToolBarDelete, ToolBarDeleteToolTip, ToolBarView, ToolBarViewToolTip, ToolBarInfoFile,
        ToolBarInfoFileToolTip, ToolBarMakeEXE, ToolBarMakeEXEToolTip, ToolBarExit, ToolBarExitToolTip;
    // StatusBar; "%v" stands for the value the caller puts in
    QString StatusBarDelete, StatusBarExtract, StatusBarAdd, StatusBarReady, StatusBarOpen,
        StatusBarReadList, StatusBarAdditionalList,
        StatusBarNotWritten,   // the archive could not be written and was left as it was
        StatusBarNotWritable,  // the archive cannot be opened for a change: nothing was changed
        StatusBarNotOpened,    // "%v": the path, which does not open as an archive
        StatusBarDamaged,      // "%v": the path, whose reading takes the engine down
        StatusBarMalformed,    // "%v": the path, an archive that reads but is never changed
        StatusBarListingStopped,  // "%v": the path, whose listing the user stopped
        StatusBarNotAdded,     // "%v": how many files of an add did not go in
        StatusBarNotStored,    // "%v": a name the archive does not store (any more)
        StatusBarKept,         // "%v": a stored name the archive keeps for itself
        StatusBarNoProgram;    // "%v": a stored name whose copy no program on the desktop opens
    // Message
    QString MessageDelete, MessageRemoveFileList, MessageCreateDir;
    // Compaction: the menu entry, its status texts and why it was not done.
    QString MenuCompact, StatusBarCompacting, StatusBarCompacted, MessageCompactNameless;
    // An archive as a folder and back: the menu entries, the status texts,
    // and why a folder was not packed ("%v": the line or the path).
    QString MenuUnpack, MenuPack, StatusBarUnpacked, StatusBarPacked, MessageFolderNotEmpty, MessageFolderBadLine,
        MessageFolderUnknownLocale, MessageFolderClimbs, MessageFolderMissing, MessageFolderUnlisted,
        MessageFolderCaseClash, MessageFolderBadFront, MessageFolderUnreadable, MessagePackFailed;
    // Extract all: the menu entry and the lines of its summary.
    QString MenuExtractAll, MessageExtractedAll, MessageExtractNotRead, MessageExtractDamaged, MessageExtractOutside, MessageExtractLinked,
        MessageExtractStopped;
    // A stored file saved in another program: the question, and why it is not put back.
    QString MessageWriteBack, MessageWriteBackStale;
    // The new-archive box.
    QString NewArchiveTitle, NewArchiveFormat, NewArchiveFormat1, NewArchiveFormat2, NewArchiveMaxFiles,
        NewArchiveFormat3, NewArchiveFormat4;
    // A batch the user stopped.
    QString MessageCancelled;
    // Verify: the menu entry, the report's lines, the faults, the signature.
    QString MenuVerify, StatusBarVerifying, MessageVerifyChecked, MessageVerifyFaulty, MessageVerifyMore,
        MessageVerifyStopped, FaultNotOpened, FaultNotRead, FaultSectorChecksum, FaultCrc32, FaultMd5, FaultRawMd5,
        FaultEngine,
        SignatureNone, SignatureWeak, SignatureStrong, SignatureMismatch;
    // InfoMPQ: the archive's property dialog
    QString InfoMPQProperty, InfoMPQCompression, InfoMPQPath, InfoMPQName, InfoMPQSize,
        InfoMPQDecompress, InfoMPQNFiles, InfoMPQNFilesView, InfoMPQLast;
    // InfoMPQ: the archive's layout, and the header of a WarCraft III map
    QString InfoMPQFormat, InfoMPQOffset, InfoMPQSectorSize, InfoMPQHashTable, InfoMPQUsedSlots,
        InfoMPQBlockTable, InfoMPQSignature, InfoMPQSignatureNone, InfoMPQSignatureWeak, InfoMPQSignatureStrong,
        InfoMPQMapName, InfoMPQMapFlags;
    // InfoFile: a stored file's property dialog
    QString InfoFileProperty, InfoFileCompression, InfoFileName, InfoFileType, InfoFileSize,
        InfoFileCompress, InfoFileRatio, InfoFileAttribute, InfoFilePath;
    // Configuration; "FileList" captions both the third tab and the label above the lists
    QString ConfigConfiguration, ConfigGeneral, ConfigCompression, ConfigFileListTab, ConfigLanguage;
    QString ConfigMaxFiles, ConfigEncrypt, ConfigAssociate, ConfigStandard, ConfigDefault, ConfigDeflate;
    QString ConfigCustom, ConfigExtension, ConfigCompressionType, ConfigAudio, ConfigLowest, ConfigMedium,
        ConfigHighest, ConfigAddExt, ConfigRemoveExt;
    QString ConfigFileList, ConfigAddList, ConfigRemoveList, ConfigUseList, ConfigAutoDetectFile, ConfigRecoverNames,
        ConfigSelectLanguage, ConfigOk, ConfigCancel;
    // Various: words of the credits
    QString VariousVersion, VariousThisProgramUse;
    // MPQEmbedder: the verdicts on the file shown, then the captions
    QString EmbedderNoFile, EmbedderOkMPQ, EmbedderKoMPQ, EmbedderNoMPQ, EmbedderIsMPQ, EmbedderNoEXE;
    QString EmbedderFileName, EmbedderInformation, EmbedderAdd, EmbedderExportEXE, EmbedderExportMPQ,
        EmbedderClose;
    // Filter: the descriptions of the file-dialog filters
    QString FilterMpqText, FilterAllText, FilterExeText, FilterScmText, FilterW3mText, FilterW3nText,
        FilterAllMpqText;
    // The messages of failures, read after everything above: a file that
    // could not be opened, read or written, an export onto its own source,
    // and a new archive's name that is taken already. "%v" is the file.
    QString EmbedderOpenFailed, EmbedderReadFailed, EmbedderWriteFailed, EmbedderSameFile;
    QString MessageFileExists;
    // The preview pane, a map's details, and the game's file types.
    QString MenuPreview;
    QString PreviewEmpty, PreviewReading, PreviewLeave, PreviewLeft, PreviewHead, PreviewNotRead, PreviewDamaged, PreviewNotStored, PreviewDamagedImage, PreviewUnsupportedImage, PreviewLargeImage, PreviewPlay, PreviewStop, PreviewSoundFailed, PreviewFit, PreviewNoMap;
    QString MapTitle, MapName, MapAuthor, MapDescription, MapPlayers, MapSize, MapTileset;
    QString FileTypeModel, FileTypeModelText, FileTypeTexture, FileTypeDds, FileTypeJass, FileTypeAi, FileTypeLua, FileTypeGalaxy, FileTypeTerrain, FileTypeStrings, FileTypeObjects, FileTypeDoodads, FileTypeMapInfo, FileTypePathing, FileTypeShadows, FileTypeMinimap, FileTypeRegions, FileTypeCameras, FileTypeSounds, FileTypeTriggers, FileTypeTriggerText, FileTypeImports, FileTypeSlk, FileTypeFrames, FileTypeFrameList, FileTypeScenario, FileTypeWc3Map, FileTypeCampaign, FileTypeCampaignInfo, FileTypeScMap;

    // The file-dialog filters built from the descriptions: description NUL
    // pattern NUL ..., no NUL after the last pattern. The patterns are fixed.
    QString FilterMPQ;       // mpq, all
    QString FilterEXE;       // exe, all
    QString FilterArchives;  // mpq, scm, w3m, w3n, exe, allmpq, all

    // Every text at its Italian default.
    MessageStrings();
    // Builds the three filters from the descriptions.
    void BuildFilters();
};

// One text of the catalogue: where a language file keeps it, where the
// program keeps it, and its Italian default (UTF-8).
struct CatalogueEntry {
    const char *section;
    const char *key;
    QString MessageStrings::*field;
    const char *italian;
};

// The catalogue in the order of its lookups: Language's Author, then the
// sections Menu, Column, ToolBar, StatusBar, Message, InfoMPQ, InfoFile,
// Configuration, Various, MPQEmbedder and Filter, then the failure messages
// and the texts added since.
std::span<const CatalogueEntry> Catalogue();

// The texts in force.
MessageStrings &Texts();

// Announces each LoadLanguage, so that the windows can take their captions
// anew.
class LanguageEvents : public QObject {
    Q_OBJECT
public:
    static LanguageEvents &Instance();
signals:
    void Loaded();
};

// Reads every text of the catalogue from the language file `file` into
// Texts(), puts Qt's own texts (the buttons of message boxes, the file
// dialogs) in the language that the key QtLocale of its section Language
// names ("en", "pt_BR"; Italian when absent or no locale's name), from Qt's
// translations, then announces it. A file that is missing, unreadable or
// empty, or a folder, gives every text its Italian default. A language Qt
// has no translation for leaves Qt's texts in Qt's own English.
void LoadLanguage(const QString &file);

// `text` with every "%v" replaced by `value`, from the first character on.
QString ReplaceValue(const QString &text, const QString &value);

// The language files of the program.
inline constexpr const char *kBuiltInLanguageName = "Italiano (default)";

// The folder of the language files: "Languages" beside the program, else in
// the installed data folder; the one beside the program when neither exists.
QString LanguagesFolder(const QString &programFolder);
// The file that a configured name stands for. An empty name gives the folder
// itself, which holds no texts: the built-in Italian.
QString LanguageFilePath(const QString &languagesFolder, const QString &name);

// One item of the language list: the text shown and the file name it stands
// for (empty for the built-in Italian).
struct LanguageItem {
    QString text;
    QString tag;
    QString locale;  // the file's QtLocale; "it" for the built-in Italian
};
struct LanguageList {
    QList<LanguageItem> items;  // in the order they were found, the built-in one first
    qsizetype selected = 0;     // the item of the configured name, else the first
};
// The built-in Italian, then every "*.lng" file in the folder and below it,
// hidden ones too, each under its "Name" of section "Language", else its file
// name. The configured name selects the item whose file name equals it
// without regard to case; the last such item wins.
LanguageList ListLanguages(const QString &languagesFolder, const QString &configuredName);
// The item that speaks the language of the system's locale `systemLocale`
// ("en_GB"): the first whose locale is that name, else the first of its
// language ("en"); the built-in Italian when none does.
qsizetype LanguageOfLocale(const LanguageList &list, const QString &systemLocale);
