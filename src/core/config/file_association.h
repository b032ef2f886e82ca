// The association of ".mpq" files with Arcavera.
//
// The association is a fixed set of registry entries (config/registry.h):
// ".mpq" names the class "Mpq.Archive", whose entries give its description,
// its icon and the command that opens a file, and "ShellNew" lets a New menu
// create an empty archive. On the desktop the same association is registered
// the freedesktop way, in the user's data folder ($XDG_DATA_HOME, else
// ~/.local/share) and configuration folder ($XDG_CONFIG_HOME, else ~/.config):
//
// - the desktop entry applications/arcavera.desktop, which opens files of
//   type application/x-mpq with the executable;
// - the MIME package mime/packages/arcavera-mpq.xml, which defines
//   application/x-mpq ("MPQ Archive", files "*.mpq"), after which the user's
//   MIME database is rebuilt with update-mime-database when that is
//   installed;
// - the line "application/x-mpq=arcavera.desktop" in the section
//   "[Default Applications]" of mimeapps.list, which makes Arcavera the
//   default application; every other line of that file stays as it was.
//
// Writing and removing can be repeated: a second write gives the same
// entries, and removing what is not there changes nothing. A file that
// cannot be written is left as it is, without a message.
#pragma once

#include <QLatin1String>
#include <QString>

inline constexpr QLatin1String kMpqMimeType{"application/x-mpq"};
inline constexpr QLatin1String kDesktopEntryName{"arcavera.desktop"};

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
// entry, the MIME package, and the default application line while it still
// names Arcavera.
void RemoveAssociation();
