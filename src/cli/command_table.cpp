#include "cli_commands.h"

#include <cstdio>

#include "cli_words.h"
#include "exit_status.h"

namespace {

constexpr CliCommand kCommands[] = {
    {"list", {}, "ARCHIVE", 1, 1, true, ListCommand,
     "Print one line per stored file: name, extension, size,\n"
     "compressed size, saving, attributes and locale (empty for\n"
     "a neutral file, a tag such as de-DE for a variant),\n"
     "separated by tabs, in the order the Arcavera window shows\n"
     "them.\n"},
    {"add", {"--prefix", "--locale"}, "ARCHIVE PATH... [--prefix PREFIX] [--locale TAG] [--verbose]", 2, -1, false, AddCommand,
     "Add files and folders, compressed by the rules of the\n"
     "settings. A file is stored under its own name; a folder's\n"
     "files (hidden ones too) under their paths relative to that\n"
     "folder. PREFIX (folders separated by \\ or /) goes before\n"
     "every name. The archive is made when it does not exist or\n"
     "is empty; a stored file of the same name is replaced. A\n"
     "PATH that does not exist is named and the others are\n"
     "still added. The archive itself is never added.\n"},
    {"extract", {"--to", "--locale"}, "ARCHIVE [NAME...] --to FOLDER [--locale TAG] [--verbose]", 1, -1, true, ExtractCommand,
     "Write the named stored files (all of them when no name is\n"
     "given) below FOLDER, which is made when missing. Names use\n"
     "\\ between folders, as the list prints them, and are taken\n"
     "as UTF-8. Nothing is written outside FOLDER, nor through\n"
     "a link below it. Of several locale variants of a name,\n"
     "the neutral one (else the first) has the plain path and\n"
     "the others their tag before the extension\n"
     "(war3map.de-DE.wts).\n"},
    {"delete", {"--locale"}, "ARCHIVE NAME... [--locale TAG] [--verbose]", 2, -1, false, DeleteCommand,
     "Delete the named stored files. A NAME that is not stored\n"
     "is named and the others are still deleted. The room of\n"
     "deleted files is not given back. Names are taken as\n"
     "extract takes them; an empty file is no archive to delete\n"
     "from.\n"},
    {"rename", {"--locale"}, "ARCHIVE OLD NEW [--locale TAG]", 3, 3, false, RenameCommand,
     "Store the file OLD under the name NEW instead. A NEW that\n"
     "is stored already is refused, OLD itself included; names\n"
     "that differ only in case are the same name.\n"
     "Names are taken as extract takes them; an empty file is no\n"
     "archive to rename in.\n"},
    {"names", {}, "ARCHIVE", 1, 1, true, NamesCommand,
     "Print the names that Arcavera recovers for the files that no\n"
     "list names (from its standard names of map files and the\n"
     "archive's own import lists, scripts, data and models), one\n"
     "a line, sorted: saved to a file, they serve as an external\n"
     "list file.\n"},
    {"info", {}, "ARCHIVE", 1, 1, true, InfoCommand,
     "Print the archive's properties, a line each, the name and\n"
     "the value separated by a tab: folder, name, size (the\n"
     "whole file's length, an executable part included),\n"
     "unpacked (the sum of the listed files' sizes), files (the\n"
     "entry count of the archive's header), rows (the files\n"
     "list prints), modified (local time, ISO 8601), saving\n"
     "(1 - size / unpacked, in percent; - when nothing is\n"
     "listed), then as the engine reads the archive: format\n"
     "(1 to 4), offset (of its header in the file), sector size\n"
     "(in bytes), hash table (slots), used slots, block table\n"
     "(entries), map name and map flags (of a WarCraft III\n"
     "map's header, when the file begins with one) and\n"
     "signature (none, weak or strong; not checked); for a\n"
     "WarCraft III map, then the details its war3map.w3i gives:\n"
     "map title, author, description, players, playable size\n"
     "and tileset.\n"},
    {"compact", {}, "ARCHIVE", 1, 1, true, CompactCommand,
     "Rewrite the archive without the room that deleted and\n"
     "replaced files left, into a new file beside it that then\n"
     "takes its place; a failure leaves it as it was. In format\n"
     "1 or 2 the stored files move as they are, named or not;\n"
     "only one encrypted with a key that follows its place\n"
     "needs a name list prints, unless its first bytes give\n"
     "the key. In format 3 or 4 every file needs one. With a\n"
     "file that lacks it (~unknowns) nothing is done.\n"},
    {"create", {"--format", "--max-files"}, "ARCHIVE [--format 1|2|3|4] [--max-files N]", 1, 1, false, CreateCommand,
     "Make an archive with no files: format 1 (the default,\n"
     "what StarCraft, Diablo II and WarCraft III read), 2\n"
     "(archives over 4 GiB, World of Warcraft from The\n"
     "Burning Crusade on), 3 (World of Warcraft's Cataclysm\n"
     "beta) or 4 (World of Warcraft from Cataclysm on,\n"
     "StarCraft II), with room for N files (default: the\n"
     "settings' maximum). A file with content there is left as\n"
     "it is.\n"},
    {"verify", {}, "ARCHIVE", 1, 1, true, VerifyCommand,
     "Check every file the list would print: read whole, and\n"
     "compared with the checksums the archive keeps of it (of\n"
     "its sectors, and its CRC32 and MD5 in (attributes)); then\n"
     "the archive's signature. Prints the report the window\n"
     "shows: the files checked, the files with faults, a line\n"
     "per faulty file (NAME: and its faults separated by \"; \"),\n"
     "and the signature.\n"},
    {"cat", {}, "ARCHIVE NAME", 2, 2, true, CatCommand,
     "Write the stored file NAME to standard output as it is.\n"},
    {"convert", {}, "ARCHIVE NAME OUT.png", 3, 3, true, ConvertCommand,
     "Decode the stored image NAME (BLP, DDS, TGA, PNG, JPEG,\n"
     "BMP) and write it to OUT.png at its full size.\n"},
    {"thumbnail", {"--size"}, "ARCHIVE OUT.png [--size N]", 2, 2, true, ThumbnailCommand,
     "Write the map's picture to OUT.png, scaled down to fit N\n"
     "pixels each way (default 256): war3mapPreview.tga, else\n"
     "war3mapMap.blp, else a StarCraft II map's Minimap.tga.\n"},
    {"unpack", {}, "ARCHIVE FOLDER [--verbose]", 2, 2, true, UnpackCommand,
     "Write every stored file below FOLDER, which must be new\n"
     "or empty, under its path (\\ becomes /), and beside them\n"
     "the manifest .arcavera-manifest: per file its stored name,\n"
     "hash slot, locale, flags, compression and time, in the\n"
     "archive's order; per archive its format, sector size,\n"
     "hash table and internal files. The bytes in front of the\n"
     "archive (a map's header, a replay's data) go to\n"
     ".arcavera-front.bin, files no list names to\n"
     ".arcavera-nameless/ under their hashes. Of the locale\n"
     "variants of a name, the neutral one has the plain path\n"
     "and the others their tag before the extension\n"
     "(war3map.de-DE.wts), as extract writes them.\n"},
    {"pack", {}, "FOLDER ARCHIVE [--verbose]", 2, 2, false, PackCommand,
     "Build ARCHIVE from FOLDER: by its manifest, the archive\n"
     "unpack read, with the same files, names, locales, flags,\n"
     "format and bytes in front; without one, every file under\n"
     "its path (/ becomes \\), by the compression rules of the\n"
     "settings, in format 1 with (listfile) and (attributes),\n"
     "and a map's header made from war3map.w3i when the folder\n"
     "holds one. Folders of version control (.git, .svn, .hg)\n"
     "are left out. The same folder always gives the same\n"
     "bytes. ARCHIVE is written whole beside its place, then\n"
     "renamed into it.\n"},
    {"embed", {}, "EXE ARCHIVE", 2, 2, false, EmbedCommand,
     "Append ARCHIVE, a plain MPQ archive (its header at its\n"
     "start), to EXE in place: zero bytes up to the next\n"
     "multiple of 512, then the archive byte for byte. EXE must\n"
     "begin with MZ and hold no archive yet.\n"},
    {"split", {"--exe", "--mpq"}, "FILE [--exe OUT] [--mpq OUT]", 1, 1, false, SplitCommand,
     "Cut a file whose archive stands behind an executable part:\n"
     "the bytes before the archive's header (padding included)\n"
     "go to the --exe file, the archive from its header to the\n"
     "end to the --mpq file; one of them or both. An existing\n"
     "OUT is replaced only once its copy is complete.\n"},
};

constexpr char kHelpHead[] =
    "Usage: arcavera-cli [--ini FILE] COMMAND ARGUMENTS\n"
    "       arcavera-cli --help | --version\n"
    "\n"
    "Commands:\n";

constexpr char kHelpTail[] =
    "Options:\n"
    "  --ini FILE      Use FILE as settings instead of the user's Arcavera.ini\n"
    "                  (compression rules, external list files, type detection,\n"
    "                  the recovery of names, sort order). Without a settings\n"
    "                  file, add uses the rules of a first start: .bik .smk .mp3\n"
    "                  .mpq .w3m .w3x stored plain, .wav compressed as audio, the\n"
    "                  rest compressed.\n"
    "  -v, --verbose   Print a line per file added, extracted or deleted.\n"
    "  --locale TAG    add, extract, delete, rename: the variant of that locale\n"
    "                  (a tag such as de-DE, neutral, or an LCID in hex such as\n"
    "                  0x407) instead of the neutral one; extract without names:\n"
    "                  every file of that locale.\n"
    "  --no-scan       List without recovering names from the archive's own\n"
    "                  files, whatever the settings say.\n"
    "  -h, --help      Show this help.\n"
    "  --version       Print the name and version of arcavera-cli.\n"
    "  --              Take every later argument as a path or name, even one\n"
    "                  beginning with -.\n"
    "\n"
    "Language: the messages speak the language the settings name (the\n"
    "window's choice); without one, that of LC_ALL, LC_MESSAGES or LANG:\n"
    "Italian for Italian, a language file's language when one matches, English\n"
    "otherwise. This help is in English.\n"
    "\n"
    "Attributes: C compressed, E encrypted, X key adjusted to the position.\n"
    "Files that no list names are shown as ~unknowns\\...; names are printed as\n"
    "UTF-8, with control characters (tabs and line breaks among them) written\n"
    "out as \\x and two hex digits, such as \\x1b for escape.\n"
    "\n"
    "Exit status:\n"
    "  0  done\n"
    "  1  bad usage\n"
    "  2  a path that does not exist, is the wrong kind (a folder given as\n"
    "     archive, a file as the folder to extract to), or cannot be made or\n"
    "     written\n"
    "  3  the file holds no MPQ archive (it is left as it is)\n"
    "  4  some files could not be added, extracted or deleted, or the file to\n"
    "     rename is not stored: each is named on standard error, the others\n"
    "     were done (a disk failure during extraction ends it there); cat,\n"
    "     convert, thumbnail: the file is not stored, cannot be read, or is no\n"
    "     image that decodes (\"damaged image: \" and the reason)\n"
    "  5  rename: the new name is stored already; nothing was renamed; create:\n"
    "     a file with content is there already\n"
    "  6  verify: a file is faulty, or the signature does not match (an\n"
    "     archive without a signature is no fault)\n"
    "  7  compact: a stored file has no name to be rewritten under; the\n"
    "     archive is as it was\n"
    "  8  pack: the manifest does not parse or does not match the folder (a\n"
    "     file it names is missing, a file it does not name is there, a path\n"
    "     climbs out, two names differ only in case); no archive is written\n"
    "For embed and split:\n"
    "  2  a path that does not exist or is a folder, an ARCHIVE that is EXE\n"
    "     itself, an OUT that is FILE itself or both OUTs one file\n"
    "  3  EXE does not begin with MZ, ARCHIVE has no header at its start, or\n"
    "     FILE holds no archive behind an executable part\n"
    "  4  EXE holds an archive already\n"
    "  5  a file cannot be read or written; the file that failed is left as it\n"
    "     was (EXE keeps its old length, OUT its old bytes)\n";

// The column where the help's descriptions start.
constexpr int kHelpIndent = 18;

}  // namespace

std::span<const CliCommand> Commands() { return kCommands; }

const CliCommand *FindCommand(const QString &name)
{
    for (const CliCommand &command : kCommands)
        if (name == QLatin1String(command.name)) return &command;
    return nullptr;
}

QString HelpText()
{
    QString help = QLatin1String(kHelpHead);
    const QString indent(kHelpIndent, QLatin1Char(' '));
    for (const CliCommand &command : kCommands) {
        help += QStringLiteral("  %1 %2\n").arg(QLatin1String(command.name), QLatin1String(command.synopsis));
        for (const QString &line : QString::fromUtf8(command.help).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            help += indent + line + QLatin1Char('\n');
    }
    return help + QLatin1Char('\n') + QLatin1String(kHelpTail);
}

int UsageError(Say what, const QString &first, const QString &second)
{
    Tell(what, first, second);
    std::fprintf(stderr, "%s\n", Words(Say::UsageHint).toUtf8().constData());
    return kUsageStatus;
}

int CommandRun::WrongArguments() const
{
    return UsageError(Say::Takes, QLatin1String(command.name), QLatin1String(command.synopsis));
}
