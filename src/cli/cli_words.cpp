#include "cli_words.h"

#include <cstdio>

#include "base/text_encoding.h"
#include "config/ini_file.h"

namespace {

struct WordsRow {
    Say what;
    const char *key;      // its key in the section [Cli] of a language file
    const char *italian;  // the built-in text
};

// Every message, in the order of Say.
constexpr WordsRow kWords[] = {
    {Say::UsageHint, "UsageHint", "'arcavera-cli --help' elenca i comandi e le opzioni."},
    {Say::NoCommand, "NoCommand", "manca il comando"},
    {Say::UnknownCommand, "UnknownCommand", "comando sconosciuto: %1"},
    {Say::UnknownOption, "UnknownOption", "opzione sconosciuta %1 (metti -- prima dei nomi che iniziano con -)"},
    {Say::NeedsFile, "NeedsFile", "%1 vuole un file"},
    {Say::NeedsFolder, "NeedsFolder", "%1 vuole una cartella"},
    {Say::NeedsValue, "NeedsValue", "%1 vuole un valore"},
    {Say::GivenTwice, "GivenTwice", "%1 è dato due volte"},
    {Say::BelongsTo, "BelongsTo", "%1 è un'opzione di %2"},
    {Say::Takes, "Takes", "%1 vuole %2"},
    {Say::NoSuchLocale, "NoSuchLocale",
     "%1: lingua sconosciuta; dai un codice (%2), neutral, o un LCID esadecimale come 0x407"},
    {Say::NoSuchFile, "NoSuchFile", "%1: file inesistente"},
    {Say::FolderNotArchive, "FolderNotArchive", "%1: è una cartella, non un archivio"},
    {Say::EmptyFile, "EmptyFile", "%1: è vuoto, non contiene un archivio MPQ; lasciato com'è"},
    {Say::NoArchive, "NoArchive", "%1: non contiene un archivio MPQ; lasciato com'è"},
    {Say::ArchiveDamaged, "ArchiveDamaged", "%1: danneggiato, la sua lettura ha fermato il motore; lasciato com'era"},
    {Say::Malformed, "Malformed", "%1: un archivio malformato (una mappa protetta): si legge, ma non si modifica"},
    {Say::ArchiveNotCreatable, "ArchiveNotCreatable", "%1: lì non si può creare l'archivio"},
    {Say::ArchiveNotWritable, "ArchiveNotWritable", "%1: l'archivio non si può scrivere"},
    {Say::ArchiveNotWritten, "ArchiveNotWritten",
     "%1: l'archivio non è stato scritto (il disco è pieno?); è com'era"},
    {Say::FileThere, "FileThere", "%1: lì c'è già un file; lasciato com'è"},
    {Say::NotCompacted, "NotCompacted", "%1: non compattato; è com'era"},
    {Say::NoSuchPath, "NoSuchPath", "%1: file o cartella inesistente"},
    {Say::IsTheArchive, "IsTheArchive", "%1: è l'archivio stesso; lasciato fuori"},
    {Say::NotCreatable, "NotCreatable", "%1: non si può creare né scrivere"},
    {Say::NotStored, "NotStored", "%1: non è nell'archivio"},
    {Say::EngineRefused, "EngineRefused", "%1: rifiutato dal motore"},
    {Say::UnknownCompression, "UnknownCompression", "%1: lasciato fuori, la sua regola ha un tipo di compressione sconosciuto"},
    {Say::NotRead, "NotRead", "%1: non è nell'archivio, o non si legge"},
    {Say::FileDamaged, "FileDamaged", "%1: danneggiato, la sua lettura ha fermato il motore; non scritto"},
    {Say::Outside, "Outside", "%1: rifiutato, sarebbe scritto fuori da %2"},
    {Say::Linked, "Linked", "%1: rifiutato, al suo posto sotto %2 c'è un collegamento"},
    {Say::DiskFailure, "DiskFailure", "%1: non si può scrivere; il lavoro si è fermato lì"},
    {Say::NameStored, "NameStored", "%1: un file con quel nome è già nell'archivio"},
    {Say::Nameless, "Nameless", "%1: non ha un nome con cui riscriverlo"},
    {Say::Compacted, "Compacted", "%1 byte prima, %2 dopo"},
    {Say::NotAnImage, "NotAnImage", "%1: non è un'immagine che Arcavera legge"},
    {Say::ImageUnsupported, "ImageUnsupported", "%1: immagine non supportata: %2"},
    {Say::ImageTooLarge, "ImageTooLarge", "%1: immagine troppo grande: %2"},
    {Say::ImageDamaged, "ImageDamaged", "%1: immagine danneggiata: %2"},
    {Say::NoMapPicture, "NoMapPicture", "%1: non contiene un'anteprima né una minimappa"},
    {Say::FolderNotFile, "FolderNotFile", "%1: è una cartella, non un file"},
    {Say::SameAsSource, "SameAsSource", "%1: è il file da cui si copierebbe"},
    {Say::SameOutputs, "SameOutputs", "%1: --exe e --mpq indicano lo stesso file"},
    {Say::NoExecutablePart, "NoExecutablePart", "%1: è un archivio MPQ semplice, senza una parte eseguibile da separare"},
    {Say::NoArchiveBehind, "NoArchiveBehind", "%1: non contiene un archivio MPQ dietro una parte eseguibile"},
    {Say::NotPlainArchive, "NotPlainArchive", "%1: non è un archivio MPQ semplice (non inizia con la sua intestazione)"},
    {Say::NotExecutable, "NotExecutable", "%1: non è un eseguibile (non inizia con MZ); lasciato com'è"},
    {Say::HasArchive, "HasArchive", "%1: contiene già un archivio MPQ, all'offset %2; lasciato com'è"},
    {Say::NotOpened, "NotOpened", "%1: non si apre; nulla è stato cambiato"},
    {Say::NotReadable, "NotReadable", "%1: non si legge; nulla è stato cambiato"},
    {Say::NotWritten, "NotWritten", "%1: non si scrive; nulla è stato cambiato"},
};
constexpr std::size_t kWordCount = sizeof kWords / sizeof kWords[0];
static_assert(kWordCount == static_cast<std::size_t>(Say::NotWritten) + 1, "a row for every message");

QString (&Loaded())[kWordCount]
{
    static QString texts[kWordCount];
    return texts;
}

}  // namespace

void LoadCliWords(const QString &file)
{
    const IniDocument doc = IniDocument::Load(file);
    for (std::size_t n = 0; n < kWordCount; ++n) {
        Q_ASSERT(static_cast<std::size_t>(kWords[n].what) == n);
        Loaded()[n] = doc.Get(QStringLiteral("Cli"), QLatin1String(kWords[n].key), QString::fromUtf8(kWords[n].italian));
    }
}

QString Words(Say what, const QString &first, const QString &second)
{
    const std::size_t n = static_cast<std::size_t>(what);
    QString text = Loaded()[n].isEmpty() ? QString::fromUtf8(kWords[n].italian) : Loaded()[n];
    // One pass, so that a value holding "%2" stays as it is.
    QString said;
    said.reserve(text.size() + first.size() + second.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('%') && i + 1 < text.size() && (text[i + 1] == QLatin1Char('1') || text[i + 1] == QLatin1Char('2'))) {
            said += text[i + 1] == QLatin1Char('1') ? first : second;
            ++i;
        } else {
            said += text[i];
        }
    }
    return said;
}

void Tell(Say what, const QString &first, const QString &second) { Tell(Words(what, first, second)); }

void Tell(const QString &said) { std::fprintf(stderr, "arcavera-cli: %s\n", EscapeControls(said).toUtf8().constData()); }
