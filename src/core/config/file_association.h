// The association of MPQ archives and maps with Arcavera.
//
// The association is a fixed set of registry entries (config/registry.h):
// ".mpq" names the class "Mpq.Archive", whose entries give its description,
// its icon and the command that opens a file, and "ShellNew" lets a New menu
// create an empty archive. On the desktop the same association is registered
// the freedesktop way, for every type of the program's MIME package (MPQ
// archives, WarCraft III maps and campaigns, StarCraft maps), in the user's
// data folder ($XDG_DATA_HOME, else ~/.local/share) and configuration folder
// ($XDG_CONFIG_HOME, else ~/.config):
//
// - the desktop entry applications/io.github.arcavera.Arcavera.desktop: the
//   installed program's own entry, with the executable's full path in its
//   Exec line and, when no icon theme holds the program's icon, the path of
//   the association's icon in its Icon line. Under the installed entry's name
//   it stands in for that entry, so a menu shows the program once;
// - the MIME package mime/packages/io.github.arcavera.Arcavera.xml, the
//   installed one, after which the user's MIME database is rebuilt with
//   update-mime-database when that is installed;
// - a line "TYPE=io.github.arcavera.Arcavera.desktop" for each type in the
//   section "[Default Applications]" of mimeapps.list, which makes Arcavera
//   the default application; every other line of that file stays as it was.
//
// Both files are built into the program from the ones installed beside it,
// so the types are listed once, in the MIME package. Earlier versions wrote
// arcavera.desktop and arcavera-mpq.xml and named arcavera.desktop in
// mimeapps.list; writing and removing take those away as well.
//
// Writing and removing can be repeated: a second write gives the same
// entries, and removing what is not there changes nothing. A file that
// cannot be written is left as it is, without a message; when the desktop
// entry cannot be written, nothing else is written on the desktop side.
#pragma once

#include <QLatin1String>
#include <QString>

inline constexpr QLatin1String kDesktopEntryName{"io.github.arcavera.Arcavera.desktop"};

// The icon the association names: MPQFile.ico beside the executable, else in
// the installed data folder; the one beside the executable when neither has
// it.
QString AssociationIconPath(const QString &programFolder);

// The command that opens an archive, in the quoted form the start-up reads:
// "<folder>/<executable>" "%1".
QString AssociationOpenCommand(const QString &programFolder, const QString &executableName);

// Writes the eight registry entries in order, from ".mpq" down to the open
// command, then registers the association with the desktop.
void WriteAssociation(const QString &programFolder, const QString &executableName);

// Deletes the eight registry entries, children before parents. A key that
// someone else has extended with a subkey of their own stays, and the later
// deletions still run. Then the desktop registration is removed: the desktop
// entry, the MIME package, and each default application line of our types
// while it still names Arcavera.
void RemoveAssociation();
