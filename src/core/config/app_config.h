// The settings of Arcavera and their file, Arcavera.ini.
//
// The file has four sections. "Setting" holds the main window's placement
// and view choices and "Recent" the four recent archives; both are read at
// start-up and written at shutdown. "Config" holds the compression rules and
// the options of the configuration dialog, and "Lists" the external list
// files; both are read into AppConfig when the dialog loads and written by
// its OK.
//
// A missing file gives every key its default. A hand-edited value that is not
// of its form gives that value's default: a count that is no number or is
// negative counts 0; a number out of its range gives the default. Counts are
// never trusted to size anything by themselves: a list is read only up to the
// highest numbered key that the file really holds, so "ExtCount=99999999"
// costs no more than the keys that are there. Nothing here reports a failure;
// a file that cannot be written keeps its old content.
#pragma once

#include <QLatin1String>
#include <QString>
#include <QStringList>
#include <QVector>

inline constexpr QLatin1String kIniFileName{"Arcavera.ini"};

inline constexpr QLatin1String kSectionSetting{"Setting"};
inline constexpr QLatin1String kSectionRecent{"Recent"};
inline constexpr QLatin1String kSectionConfig{"Config"};
inline constexpr QLatin1String kSectionLists{"Lists"};

// One per-extension compression rule; in the file "ext,type,level".
struct ExtensionRule {
    QString Extension;             // with its leading "."
    qint16 CompressionType = 0;    // 0 None, 1 Standard, 2 Deflate, 3 Audio
    qint16 CompressionLevel = 0;   // audio quality, used by type 3 only: 0, 1 or 2

    friend bool operator==(const ExtensionRule &, const ExtensionRule &) = default;
};

// The settings that the other parts of the program consult while they work.
struct AppConfig {
    // Rules 1 to n in file order; entry 0 is a spare that is never written,
    // so an empty rule set has one entry.
    QVector<ExtensionRule> ExtensionRules{ExtensionRule{}};
    qint16 DefaultCompression = 0;   // for a file no rule matches: 0 Standard, 1 Deflate
    qint16 DefaultDeflateLevel = 0;  // list index 0..10; the library level is this minus 1
    qint32 DefaultMaxFiles = 1024;   // hash table size for a new or updated archive
    qint16 UseLists = 1;             // 1: skip external lists when the archive has its own
    QString ListFiles;               // external list files, each followed by "\r\n"
    qint16 AutoDetectFile = 1;       // 1: guess the type of unnamed entries
    qint16 RecoverNames = 1;         // 1: name what the lists leave nameless from the archive's own files
    bool Encrypt = false;            // add files encrypted
    QString IniPath;                 // full path of Arcavera.ini
};

// "ext,type,level". ParseRule splits at every comma and ignores fields after
// the third; a missing field, or a type outside 0..3 or a level outside 0..2,
// gives 0. Blanks around each field are dropped.
QString RuleText(const ExtensionRule &rule);
ExtensionRule ParseRule(const QString &text);

// Fills config from config.IniPath: the rules, DefaultMaxFiles, Encrypt,
// DefaultCompression, DefaultDeflateLevel, the list files, UseLists,
// AutoDetectFile and RecoverNames. Only list files that exist now are taken;
// they also go to listPathsOut, for the dialog's list.
void LoadAppConfig(AppConfig &config, QStringList *listPathsOut = nullptr);

// Writes what the configuration dialog's OK stores, in this order:
// DefaultCompression, DefaultDeflateLevel, DefaultMaxFiles, Associate,
// Encrypt, ExtCount and Ext1.., Language, UseLists, the list files File1..
// and Count, AutoDetectFile, RecoverNames. Only list paths that are files now
// are written (ExistingFiles gives the caller the same list). Shorter lists
// leave their higher numbered keys in the file.
void SaveAppConfig(const AppConfig &config, const QStringList &listPaths, bool associate,
                   const QString &languageFile);

// The keys of section Config that AppConfig does not hold.
bool ReadAssociate(const QString &iniPath);    // "Associate", default false
QString ReadLanguage(const QString &iniPath);  // "Language", default empty (built-in texts)
// The language file a run of the command-line tool speaks: the one the
// settings file `iniPath` names when it has the key (empty: the built-in
// Italian), else the one of the terminal's locale `locale` (as LC_ALL,
// LC_MESSAGES or LANG give it: "it_IT.UTF-8", "C"): the built-in Italian for
// Italian, the file of another language when one ships, and English for the
// rest ("C" and no locale among them), as terminal tools speak by default.
QString CommandLineLanguage(const QString &languagesFolder, const QString &iniPath, const QString &locale);
// The preview pane beside the list: section "Preview", key "Shown", off when
// absent. Written only once the pane has been shown.
bool ReadPreviewShown(const QString &iniPath);
void WritePreviewShown(bool shown, const QString &iniPath);

// The paths that name an existing file (not a folder), in their order, and
// the same paths as AppConfig::ListFiles holds them.
QStringList ExistingFiles(const QStringList &paths);
QString ListFilesText(const QStringList &paths);

// When no file is at iniPath, writes the first run's rules to Config (ExtCount
// 7, then .bik .smk .mp3 .mpq .w3m .w3x stored uncompressed and .wav as audio
// at level 1) and answers true.
bool SeedFirstRun(const QString &iniPath);
// The same rules in memory, entry 0 the spare, for a face that writes no
// settings file.
QVector<ExtensionRule> FirstRunRules();

// Where Arcavera.ini lives. A portable copy of the program keeps it beside
// the program: a folder that holds Arcavera.ini already, or a build folder
// (CMakeCache.txt beside the program). Every other copy keeps it in the
// user's settings folder, $XDG_CONFIG_HOME/arcavera/ (~/.config/arcavera/
// when XDG_CONFIG_HOME is unset or relative); so does a portable copy whose
// Arcavera.ini cannot be written. When that folder cannot be made, a folder
// of the user's own in the temporary folder ($TMPDIR/Arcavera-<uid>-settings)
// keeps them. The place chosen, when it holds no settings yet, starts as a
// copy of the file it was chosen over, which is read and never written.
QString LocateIniPath(const QString &programFolder);

// Section Setting. Measures are twips.
struct WindowSettings {
    float Width = 8400;
    float Height = 5000;
    float Left = 0;     // default: centred on the screen with Width
    float Top = 0;      // default: centred on the screen with Height
    float Splitter = 3000;
    bool ToolBar = true;
    bool StatusBar = true;
    qint16 SortKey = 0;     // column 0..5
    qint32 SortOrder = 0;   // 0 ascending, 1 descending
    bool ExplorerStyle = false;
};

// A width or height that is no positive number, a measure that is no number,
// a SortKey outside 0..5 or a SortOrder outside 0..1 gives its default. A
// switch is off at 0 and on at any other number; one that is no number keeps
// its default.
WindowSettings ReadWindowSettings(const QString &iniPath, double screenWidthTwips,
                                  double screenHeightTwips);
// Writes the ten keys in the order of the struct; switches as "1" or "0".
void WriteWindowSettings(const WindowSettings &settings, const QString &iniPath);

// Section Recent, keys "1" to "4": always four entries, empty where unused.
QStringList ReadRecentFiles(const QString &iniPath);
void WriteRecentFiles(const QStringList &files, const QString &iniPath);
