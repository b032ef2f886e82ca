#include "cli_words.h"

#include <QStringList>

#include <array>
#include <cstdio>

#include "base/text_encoding.h"
#include "config/ini_file.h"

namespace {

// Every message as a language file's section [Cli] writes it, a line each
// in the order of Say: the key, "=", the built-in Italian.
constexpr char kItalian[] = R"(UsageHint='arcavera-cli --help' elenca i comandi e le opzioni.
NoCommand=manca il comando
UnknownCommand=comando sconosciuto: %1
UnknownOption=opzione sconosciuta %1 (metti -- prima dei nomi che iniziano con -)
NeedsFile=%1 vuole un file
NeedsFolder=%1 vuole una cartella
NeedsValue=%1 vuole un valore
GivenTwice=%1 è dato due volte
BelongsTo=%1 è un'opzione di %2
Takes=%1 vuole %2
NoSuchLocale=%1: lingua sconosciuta; dai un codice (%2), neutral, o un LCID esadecimale come 0x407
NoSuchFile=%1: file inesistente
FolderNotArchive=%1: è una cartella, non un archivio
EmptyFile=%1: è vuoto, non contiene un archivio MPQ; lasciato com'è
NoArchive=%1: non contiene un archivio MPQ; lasciato com'è
ArchiveDamaged=%1: danneggiato, la sua lettura ha fermato il motore; lasciato com'era
Malformed=%1: un archivio malformato (una mappa protetta): si legge, ma non si modifica
ArchiveNotCreatable=%1: lì non si può creare l'archivio
ArchiveNotWritable=%1: l'archivio non si può scrivere
ArchiveNotWritten=%1: l'archivio non è stato scritto (il disco è pieno?); è com'era
FileThere=%1: lì c'è già un file; lasciato com'è
NotCompacted=%1: non compattato; è com'era
NoSuchPath=%1: file o cartella inesistente
IsTheArchive=%1: è l'archivio stesso; lasciato fuori
NotCreatable=%1: non si può creare né scrivere
NotStored=%1: non è nell'archivio
EngineRefused=%1: rifiutato dal motore
UnknownCompression=%1: lasciato fuori, la sua regola ha un tipo di compressione sconosciuto
NotRead=%1: non è nell'archivio, o non si legge
FileDamaged=%1: danneggiato, la sua lettura ha fermato il motore; non scritto
Outside=%1: rifiutato, sarebbe scritto fuori da %2
Linked=%1: rifiutato, al suo posto sotto %2 c'è un collegamento
DiskFailure=%1: non si può scrivere; il lavoro si è fermato lì
NameStored=%1: un file con quel nome è già nell'archivio
Nameless=%1: non ha un nome con cui riscriverlo
Compacted=%1 byte prima, %2 dopo
NotAnImage=%1: non è un'immagine che Arcavera legge
ImageUnsupported=%1: immagine non supportata: %2
ImageTooLarge=%1: immagine troppo grande: %2
ImageDamaged=%1: immagine danneggiata: %2
NoMapPicture=%1: non contiene un'anteprima né una minimappa
FolderNotFile=%1: è una cartella, non un file
SameAsSource=%1: è il file da cui si copierebbe
SameOutputs=%1: --exe e --mpq indicano lo stesso file
NoExecutablePart=%1: è un archivio MPQ semplice, senza una parte eseguibile da separare
NoArchiveBehind=%1: non contiene un archivio MPQ dietro una parte eseguibile
NotPlainArchive=%1: non è un archivio MPQ semplice (non inizia con la sua intestazione)
NotExecutable=%1: non è un eseguibile (non inizia con MZ); lasciato com'è
HasArchive=%1: contiene già un archivio MPQ, all'offset %2; lasciato com'è
NotOpened=%1: non si apre; nulla è stato cambiato
NotReadable=%1: non si legge; nulla è stato cambiato
NotWritten=%1: non si scrive; nulla è stato cambiato)";

constexpr std::size_t LineCount(const char *text)
{
    std::size_t lines = 1;
    for (; *text; ++text) lines += *text == '\n';
    return lines;
}
constexpr std::size_t kWordCount = static_cast<std::size_t>(Say::NotWritten) + 1;
static_assert(LineCount(kItalian) == kWordCount, "a line for every message");

struct Word {
    QString key, italian, loaded;
};

std::array<Word, kWordCount> &Table()
{
    static std::array<Word, kWordCount> words = [] {
        std::array<Word, kWordCount> read;
        const QStringList lines = QString::fromUtf8(kItalian).split(QLatin1Char('\n'));
        for (std::size_t n = 0; n < kWordCount; ++n) {
            const QString &line = lines[static_cast<qsizetype>(n)];
            const qsizetype equals = line.indexOf(QLatin1Char('='));
            read[n] = {line.left(equals), line.mid(equals + 1), {}};
        }
        return read;
    }();
    return words;
}

}  // namespace

void LoadCliWords(const QString &file)
{
    const IniDocument doc = IniDocument::Load(file);
    for (Word &word : Table()) word.loaded = doc.Get(QStringLiteral("Cli"), word.key, word.italian);
}

QString Words(Say what, const QString &first, const QString &second)
{
    const Word &word = Table()[static_cast<std::size_t>(what)];
    const QString &text = word.loaded.isEmpty() ? word.italian : word.loaded;
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
