#include "config/app_config.h"

#include "config/catalogue.h"
#include "config/ini_file.h"
#include "config/startup.h"
#include "base/paths.h"
#include "base/scratch_folder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <cmath>
#include <limits>
#include <optional>

namespace {

// A number as the text gives it: blanks around it allowed, a decimal
// fraction rounded to the nearest whole number (halves to even). Nothing when
// the text is no number.
std::optional<qint64> ParseInteger(const QString &text)
{
    const QString trimmed = text.trimmed();
    bool ok = false;
    const qint64 whole = trimmed.toLongLong(&ok, 10);
    if (ok) return whole;
    const double value = QLocale::c().toDouble(trimmed, &ok);
    if (!ok || !std::isfinite(value) || std::fabs(value) > 9.0e18) return std::nullopt;
    return static_cast<qint64>(std::nearbyint(value));
}

std::optional<float> ParseFloat(const QString &text)
{
    bool ok = false;
    const float value = QLocale::c().toFloat(text.trimmed(), &ok);
    if (!ok || !std::isfinite(value)) return std::nullopt;
    return value;
}

// The shortest text that reads back as the same float.
QString FloatText(float value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QString::fromLatin1(buffer, result.ptr - buffer);
}

template <typename T>
T ReadNumber(const IniDocument &doc, const QString &section, const QString &key, T defaultValue,
             qint64 low, qint64 high)
{
    const std::optional<QString> text = doc.Value(section, key);
    if (!text) return defaultValue;
    const std::optional<qint64> value = ParseInteger(*text);
    if (!value || *value < low || *value > high) return defaultValue;
    return static_cast<T>(*value);
}

bool ReadSwitch(const IniDocument &doc, const QString &section, const QString &key,
                bool defaultValue)
{
    const std::optional<QString> text = doc.Value(section, key);
    if (!text) return defaultValue;
    const std::optional<qint64> value = ParseInteger(*text);
    return value ? *value != 0 : defaultValue;
}

float ReadMeasure(const IniDocument &doc, const QString &key, float defaultValue,
                  bool positive)
{
    const std::optional<QString> text = doc.Value(kSectionSetting, key);
    if (!text) return defaultValue;
    const std::optional<float> value = ParseFloat(*text);
    if (!value || (positive && *value <= 0)) return defaultValue;
    return *value;
}

QString NumberedKey(QLatin1String prefix, qsizetype n)
{
    return prefix + QString::number(n);
}

// How many numbered keys "<prefix>1".."<prefix><count>" to read: the count
// key's number (0 when it is no number or negative), cut to the highest
// numbered key of that form that the section really holds. A count the file
// cannot back thus allocates and reads nothing beyond the keys present.
qsizetype NumberedCount(const IniDocument &doc, const QString &section, const QString &countKey,
                        QLatin1String prefix)
{
    const std::optional<qint64> count = ParseInteger(doc.Get(section, countKey, QStringLiteral("0")));
    if (!count || *count <= 0) return 0;
    qint64 highest = 0;
    for (const QString &name : doc.Keys(section)) {
        if (!name.startsWith(prefix, Qt::CaseInsensitive)) continue;
        const QString digits = name.mid(prefix.size());
        bool ok = false;
        const qint64 n = digits.toLongLong(&ok, 10);
        // Only the spelling this program writes ("Ext7", not "Ext07") is a key it reads.
        if (ok && n > highest && n <= *count && digits == QString::number(n)) highest = n;
    }
    return static_cast<qsizetype>(highest);
}

QString Flag(bool on) { return on ? QStringLiteral("1") : QStringLiteral("0"); }

const QLatin1String kExtPrefix{"Ext"};
const QLatin1String kFilePrefix{"File"};

}  // namespace

QString RuleText(const ExtensionRule &rule)
{
    return rule.Extension + u',' + QString::number(rule.CompressionType) + u',' +
           QString::number(rule.CompressionLevel);
}

ExtensionRule ParseRule(const QString &text)
{
    const QStringList fields = text.split(u',');
    const auto field = [&fields](qsizetype i) { return i < fields.size() ? fields[i] : QString(); };
    const auto ranged = [](const QString &value, qint64 high) -> qint16 {
        const std::optional<qint64> n = ParseInteger(value);
        return n && *n >= 0 && *n <= high ? static_cast<qint16>(*n) : qint16(0);
    };
    ExtensionRule rule;
    rule.Extension = field(0).trimmed();
    rule.CompressionType = ranged(field(1), 3);
    rule.CompressionLevel = ranged(field(2), 2);
    return rule;
}

void LoadAppConfig(AppConfig &config, QStringList *listPathsOut)
{
    const IniDocument doc = IniDocument::Load(config.IniPath);

    const qsizetype ruleCount = NumberedCount(doc, kSectionConfig, QStringLiteral("ExtCount"), kExtPrefix);
    config.ExtensionRules.clear();
    config.ExtensionRules.reserve(ruleCount + 1);
    config.ExtensionRules.append(ExtensionRule{});
    for (qsizetype n = 1; n <= ruleCount; ++n)
        config.ExtensionRules.append(ParseRule(doc.Get(kSectionConfig, NumberedKey(kExtPrefix, n), {})));

    config.DefaultMaxFiles = ReadNumber<qint32>(doc, kSectionConfig, QStringLiteral("DefaultMaxFiles"),
                                                1024, 0, std::numeric_limits<qint32>::max());
    config.Encrypt = ReadSwitch(doc, kSectionConfig, QStringLiteral("Encrypt"), false);
    config.DefaultCompression =
        ReadNumber<qint16>(doc, kSectionConfig, QStringLiteral("DefaultCompression"), 0, 0, 1);
    config.DefaultDeflateLevel =
        ReadNumber<qint16>(doc, kSectionConfig, QStringLiteral("DefaultDeflateLevel"), 0, 0, 10);

    // A list file named by a relative path is looked for from the settings'
    // folder, wherever the current folder stands.
    const QDir settingsFolder = QFileInfo(config.IniPath).absoluteDir();
    QStringList paths;
    const qsizetype listCount = NumberedCount(doc, kSectionLists, QStringLiteral("Count"), kFilePrefix);
    for (qsizetype n = 1; n <= listCount; ++n) {
        const QString path = doc.Get(kSectionLists, NumberedKey(kFilePrefix, n), {});
        if (!path.isEmpty() && IsFile(settingsFolder.filePath(path))) paths.append(settingsFolder.filePath(path));
    }
    config.ListFiles = ListFilesText(paths);
    if (listPathsOut) *listPathsOut = paths;

    config.UseLists = ReadNumber<qint16>(doc, kSectionConfig, QStringLiteral("UseLists"), 1, 0, 1);
    config.AutoDetectFile =
        ReadNumber<qint16>(doc, kSectionConfig, QStringLiteral("AutoDetectFile"), 1, 0, 1);
    config.RecoverNames = ReadNumber<qint16>(doc, kSectionConfig, QStringLiteral("RecoverNames"), 1, 0, 1);
}

void SaveAppConfig(const AppConfig &config, const QStringList &listPaths, bool associate,
                   const QString &languageFile)
{
    IniDocument doc = IniDocument::Load(config.IniPath);
    doc.Set(kSectionConfig, QStringLiteral("DefaultCompression"), QString::number(config.DefaultCompression));
    doc.Set(kSectionConfig, QStringLiteral("DefaultDeflateLevel"), QString::number(config.DefaultDeflateLevel));
    doc.Set(kSectionConfig, QStringLiteral("DefaultMaxFiles"), QString::number(config.DefaultMaxFiles));
    doc.Set(kSectionConfig, QStringLiteral("Associate"), Flag(associate));
    doc.Set(kSectionConfig, QStringLiteral("Encrypt"), Flag(config.Encrypt));

    // Entry 0 is the spare; a vector without it counts no rules.
    const qsizetype ruleCount = std::max<qsizetype>(config.ExtensionRules.size() - 1, 0);
    doc.Set(kSectionConfig, QStringLiteral("ExtCount"), QString::number(ruleCount));
    for (qsizetype n = 1; n <= ruleCount; ++n)
        doc.Set(kSectionConfig, NumberedKey(kExtPrefix, n), RuleText(config.ExtensionRules[n]));

    doc.Set(kSectionConfig, QStringLiteral("Language"), languageFile);
    doc.Set(kSectionConfig, QStringLiteral("UseLists"), QString::number(config.UseLists));

    const QStringList kept = ExistingFiles(listPaths);
    for (qsizetype n = 1; n <= kept.size(); ++n)
        doc.Set(kSectionLists, NumberedKey(kFilePrefix, n), kept[n - 1]);
    doc.Set(kSectionLists, QStringLiteral("Count"), QString::number(kept.size()));

    doc.Set(kSectionConfig, QStringLiteral("AutoDetectFile"), QString::number(config.AutoDetectFile));
    doc.Set(kSectionConfig, QStringLiteral("RecoverNames"), QString::number(config.RecoverNames));
    doc.Save(config.IniPath);
}

bool ReadAssociate(const QString &iniPath)
{
    return ReadSwitch(IniDocument::Load(iniPath), kSectionConfig, QStringLiteral("Associate"), false);
}

bool ReadPreviewShown(const QString &iniPath)
{
    return ReadSwitch(IniDocument::Load(iniPath), QStringLiteral("Preview"), QStringLiteral("Shown"), false);
}

void WritePreviewShown(bool shown, const QString &iniPath)
{
    // A user who never showed the pane keeps the file as it was.
    if (!shown && !IniDocument::Load(iniPath).Value(QStringLiteral("Preview"), QStringLiteral("Shown"))) return;
    WriteIni(QStringLiteral("Preview"), QStringLiteral("Shown"), shown ? QStringLiteral("1") : QStringLiteral("0"),
             iniPath);
}

QString ReadLanguage(const QString &iniPath)
{
    return ReadIni(kSectionConfig, QStringLiteral("Language"), iniPath, {});
}

QString CommandLineLanguage(const QString &languagesFolder, const QString &iniPath, const QString &locale)
{
    if (const std::optional<QString> named = IniDocument::Load(iniPath).Value(kSectionConfig, QStringLiteral("Language")))
        return LanguageFilePath(languagesFolder, *named);
    const LanguageList languages = ListLanguages(languagesFolder, {});
    const QString name = locale.section(u'.', 0, 0).section(u'@', 0, 0);
    qsizetype chosen = LanguageOfLocale(languages, name);
    const QString spoken = languages.items.value(chosen).locale.section(u'_', 0, 0);
    if (spoken.compare(name.section(u'_', 0, 0), Qt::CaseInsensitive) != 0)
        chosen = LanguageOfLocale(languages, QStringLiteral("en"));
    return LanguageFilePath(languagesFolder, languages.items.value(chosen).tag);
}

QStringList ExistingFiles(const QStringList &paths)
{
    QStringList kept;
    for (const QString &path : paths)
        if (IsFile(path)) kept.append(path);
    return kept;
}

QString ListFilesText(const QStringList &paths)
{
    QString text;
    for (const QString &path : paths) text += path + QStringLiteral("\r\n");
    return text;
}

namespace {

const char *const kFirstRules[] = {".bik,0,0", ".smk,0,0", ".mp3,0,0", ".mpq,0,0",
                                   ".w3m,0,0", ".w3x,0,0", ".wav,3,1"};

}  // namespace

QVector<ExtensionRule> FirstRunRules()
{
    QVector<ExtensionRule> rules{ExtensionRule{}};
    for (const char *rule : kFirstRules) rules.append(ParseRule(QString::fromLatin1(rule)));
    return rules;
}

bool SeedFirstRun(const QString &iniPath)
{
    if (IsFile(iniPath)) return false;
    IniDocument doc = IniDocument::Load(iniPath);
    doc.Set(kSectionConfig, QStringLiteral("ExtCount"), QString::number(std::size(kFirstRules)));
    qsizetype n = 0;
    for (const char *rule : kFirstRules)
        doc.Set(kSectionConfig, NumberedKey(kExtPrefix, ++n), QString::fromLatin1(rule));
    doc.Save(iniPath);
    return true;
}

namespace {

// The user's settings folder: $XDG_CONFIG_HOME, or ~/.config when that is
// unset or relative, and "arcavera" below it.
QString UserSettingsFolder()
{
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (!QDir::isAbsolutePath(base)) base = QDir::homePath() + QStringLiteral("/.config");
    return QDir::cleanPath(base + QStringLiteral("/arcavera"));
}

// Whether a settings file can be written at `path`: the file itself when it
// is there, and its folder, or else the nearest folder above it that is
// there, since the write makes the missing ones. The file is written by a
// rename, so its folder must take new files.
bool CanWrite(const QString &path)
{
    const QFileInfo file(path);
    if (file.exists() && (file.isDir() || !file.isWritable())) return false;
    QFileInfo folder(file.absolutePath());
    while (!folder.exists() && !folder.isSymLink() && !folder.isRoot()) folder = QFileInfo(folder.absolutePath());
    return folder.isDir() && folder.isWritable();
}

}  // namespace

QString LocateIniPath(const QString &programFolder)
{
    const QDir program(programFolder);
    const QString beside = program.filePath(kIniFileName);
    QStringList places;
    if (IsFile(beside) || IsFile(program.filePath(QStringLiteral("CMakeCache.txt")))) places.append(beside);
    places.append(QDir(UserSettingsFolder()).filePath(kIniFileName));
    auto chosen = std::find_if(places.cbegin(), places.cend(), CanWrite);
    QString path = chosen != places.cend() ? *chosen : QString();
    if (path.isEmpty()) {
        // No settings folder can be made: a folder of this user's own in
        // the temporary folder keeps them, at least until the machine stops.
        const QString spare = ComputeTempPath() + QStringLiteral("-settings");
        path = QDir(spare).filePath(kIniFileName);
        // Nowhere to write at all: the settings are read, changes fail.
        if (!EnsureScratchFolder(spare) || !CanWrite(path)) return places.front();
    }
    // A place that holds no settings yet starts as a copy of those it was
    // chosen over, so that nothing set there is lost.
    if (!IsFile(path)) {
        for (const QString &earlier : std::as_const(places)) {
            if (earlier == path) break;
            QFile source(earlier);
            if (source.open(QIODevice::ReadOnly)) {
                WriteWholeFile(path, source.readAll());
                break;
            }
        }
    }
    return path;
}

WindowSettings ReadWindowSettings(const QString &iniPath, double screenWidthTwips,
                                  double screenHeightTwips)
{
    const IniDocument doc = IniDocument::Load(iniPath);
    WindowSettings s;
    s.Width = ReadMeasure(doc, QStringLiteral("Width"), s.Width, true);
    s.Height = ReadMeasure(doc, QStringLiteral("Height"), s.Height, true);
    s.Left = ReadMeasure(doc, QStringLiteral("Left"),
                         static_cast<float>((screenWidthTwips - s.Width) / 2), false);
    s.Top = ReadMeasure(doc, QStringLiteral("Top"),
                        static_cast<float>((screenHeightTwips - s.Height) / 2), false);
    s.Splitter = ReadMeasure(doc, QStringLiteral("Splitter"), s.Splitter, false);
    s.ToolBar = ReadSwitch(doc, kSectionSetting, QStringLiteral("ToolBar"), s.ToolBar);
    s.StatusBar = ReadSwitch(doc, kSectionSetting, QStringLiteral("StatusBar"), s.StatusBar);
    s.SortKey = ReadNumber<qint16>(doc, kSectionSetting, QStringLiteral("SortKey"), 0, 0, 5);
    s.SortOrder = ReadNumber<qint32>(doc, kSectionSetting, QStringLiteral("SortOrder"), 0, 0, 1);
    s.ExplorerStyle = ReadSwitch(doc, kSectionSetting, QStringLiteral("ExplorerStyle"), s.ExplorerStyle);
    return s;
}

void WriteWindowSettings(const WindowSettings &settings, const QString &iniPath)
{
    IniDocument doc = IniDocument::Load(iniPath);
    doc.Set(kSectionSetting, QStringLiteral("Width"), FloatText(settings.Width));
    doc.Set(kSectionSetting, QStringLiteral("Height"), FloatText(settings.Height));
    doc.Set(kSectionSetting, QStringLiteral("Left"), FloatText(settings.Left));
    doc.Set(kSectionSetting, QStringLiteral("Top"), FloatText(settings.Top));
    doc.Set(kSectionSetting, QStringLiteral("Splitter"), FloatText(settings.Splitter));
    doc.Set(kSectionSetting, QStringLiteral("ToolBar"), Flag(settings.ToolBar));
    doc.Set(kSectionSetting, QStringLiteral("StatusBar"), Flag(settings.StatusBar));
    doc.Set(kSectionSetting, QStringLiteral("SortKey"), QString::number(settings.SortKey));
    doc.Set(kSectionSetting, QStringLiteral("SortOrder"), QString::number(settings.SortOrder));
    doc.Set(kSectionSetting, QStringLiteral("ExplorerStyle"), Flag(settings.ExplorerStyle));
    doc.Save(iniPath);
}

QStringList ReadRecentFiles(const QString &iniPath)
{
    const IniDocument doc = IniDocument::Load(iniPath);
    QStringList files;
    for (int n = 1; n <= 4; ++n) files.append(doc.Get(kSectionRecent, QString::number(n), {}));
    return files;
}

void WriteRecentFiles(const QStringList &files, const QString &iniPath)
{
    IniDocument doc = IniDocument::Load(iniPath);
    for (int n = 1; n <= 4; ++n)
        doc.Set(kSectionRecent, QString::number(n), n <= files.size() ? files[n - 1] : QString());
    doc.Save(iniPath);
}
