// The registry: keys and values in the Windows path syntax, kept in a small
// store of the program's own.
//
// A path is one string with the hive spelled out ("HKEY_CLASSES_ROOT\",
// "HKEY_CURRENT_USER\", "HKEY_LOCAL_MACHINE\", "HKEY_USERS\",
// "HKEY_CURRENT_CONFIG\", or the short forms HKCR, HKCU, HKLM) and then the
// subkeys, separated by backslashes. A path that ends in a backslash names a
// key, and its value is the key's default value; a path without it names the
// value after the last backslash, inside the key before it. A path must name
// at least one subkey below the hive, and no name may be empty. Key and value
// names compare without regard to case and keep the case they were first
// written with.
//
// The store is a file in the form of a Windows ".reg" export, written as
// UTF-8: "[HKEY_...\Sub\Key]" sections with "@=" default values and
// "\"Name\"=" values, text in double quotes with backslash and double quote
// escaped by a backslash, numbers as "dword:xxxxxxxx", expandable text (and
// text that holds a line break) as "hex(2):" or "hex(1):" UTF-16 bytes.
// Every call reads the whole file afresh; nothing is cached between calls. A
// damaged file gives what can be parsed and the rest is ignored (and dropped
// at the next write); a UTF-16 export with its byte order mark reads too.
//
// Reads of "HKEY_CLASSES_ROOT\.ext\" and "HKEY_CLASSES_ROOT\type/name\" that
// the store does not answer are answered from the desktop's MIME database:
// the name of the MIME type that a file with that extension has by its name,
// and a MIME type's description in the user's language.
#pragma once

#include <QString>

// The file that holds the store; set once at start-up. Without one, every
// write is refused and only the MIME database answers reads.
void SetRegistryStorePath(const QString &path);
QString RegistryStorePath();

// Stores `value` at the key or value that `key` names, creating the keys on
// the way. `type` is empty or "REG_SZ" for text, "REG_EXPAND_SZ" for text
// whose %NAME% references are kept as written, "REG_DWORD" for a whole number
// 0..4294967295 given in decimal. False when the write is refused: no store,
// a store that cannot be read or written, a malformed path, an unknown hive or
// type, or a number that does not fit.
bool WriteRegistry(const QString &key, const QString &value, const QString &type = QString());

// The text of the value (a number in decimal), or the empty string on any
// failure, a missing key or value among them.
QString ReadRegistry(const QString &key);

// Deletes the value, or the key with its values. A key that still holds
// subkeys stays as it is. A missing key or value, or a store that cannot be
// written, is ignored.
void DeleteRegistry(const QString &key);
