// What the properties of one stored file show: all of it comes from the row
// as it was listed, and the archive is not opened.
#pragma once

#include <QString>

#include "listing/list_row.h"

// The type of a stored file of the games (a model, a texture, a JASS
// script, terrain, strings, object data...) in the catalogue's words, by its
// extension in any case; empty for other files.
QString GameFileTypeName(const QString &name);

// The type of a stored file: its game type when it has one, else as the
// desktop describes it: the description of
// the class its extension names, or "File " and the extension when no class
// is known. A class without a description gives the empty text.
QString GetFileTypeName(const QString &name);

struct FileProperties {
    QString name;        // the part behind the last "\", and a variant's locale tag in brackets
    QString path;        // the folder part with its closing "\", empty at the top
    QString type;        // GetFileTypeName of the whole name
    QString size;        // the row's texts, as listed
    QString compressed;
    QString ratio;
    QString attributes;
    double share = 0;    // the saved share, 1 - compressed / size; 0 for an empty file
};

// The values of a row. Its name is the row's Tag, cut before a NUL; name,
// folder and type show its control characters as marks (MarkControls).
FileProperties ReadFileProperties(const ListRow &row);
