// Profile files: the settings file and the language files.
//
// The form is the classic one: "[Section]" lines, each followed by
// "key=value" lines. Section and key names match without regard to case.
// A value loses the blanks around it and one pair of enclosing double
// quotes. Lines whose first non-blank character is ";" are comments; other
// lines without "=" are ignored; keys before the first section belong to no
// section. When a section name or a key appears twice, the first one counts.
//
// Files are bytes: names and values are decoded as UTF-8 where valid, else
// as Windows-1252, and written as UTF-8. A write changes only the line of its
// key (or adds lines), so comments, unknown keys, blank lines and line ends
// stay exactly as they were. Writes go through a temporary file that replaces
// the old one only when complete; a file that cannot be written or read loses
// the write without a word.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// One profile file in memory: parse once, read and change many keys, save.
class IniDocument
{
public:
    // An empty document, as a file that does not exist yet.
    IniDocument();

    // Reads the file. A missing file gives an empty document; so does a file
    // that exists but cannot be read, which Save() then refuses to replace.
    static IniDocument Load(const QString &file);
    static IniDocument FromBytes(const QByteArray &bytes);

    // The value of the key, or nothing when the section or the key is absent.
    std::optional<QString> Value(const QString &section, const QString &key) const;
    QString Get(const QString &section, const QString &key, const QString &defaultValue) const;
    // The key names of the section, in file order, each once.
    QStringList Keys(const QString &section) const;

    // Replaces the key's value in place, or adds the key at the end of its
    // section (before the blank lines that close it), or adds the section at
    // the end of the document. A value holding a line break keeps only the
    // text before it; a value that would lose blanks or quotes on reading is
    // written inside double quotes, so it reads back as given.
    void Set(const QString &section, const QString &key, const QString &value);

    QByteArray ToBytes() const;
    // Writes the document to the file safely. False when nothing was written.
    bool Save(const QString &file) const;

private:
    struct Line {
        QByteArray text;    // without its line end
        QByteArray ending;  // "\r\n", "\n" or empty for a last line without one
    };
    struct SectionIndex {
        qsizetype header = 0;          // line of "[Section]"
        qsizetype end = 0;             // one past the last line of the section
        QHash<QString, qsizetype> keys;  // folded key name -> line
        QStringList names;             // key names in file order
    };

    void Reindex();
    QByteArray NewLine() const;
    void EndLastLine();

    QList<Line> lines_;
    QHash<QString, SectionIndex> sections_;  // folded name -> first section of that name
    bool unreadable_ = false;
};

// The value of the key, or defaultValue when the file, the section or the key
// is absent. A key present with an empty value gives the empty text.
// Replaces the whole content of `file` in one step, making its folder: the
// old content stays until the new one is complete. False when nothing was
// written.
bool WriteWholeFile(const QString &file, const QByteArray &bytes);

QString ReadIni(const QString &section, const QString &key, const QString &file,
                const QString &defaultValue);

// Stores the value, creating the file and the section when needed.
void WriteIni(const QString &section, const QString &key, const QString &value,
              const QString &file);
