// Making a self-executing archive with the outside tool MPQDraft: the open
// archive's paths go where the tool's wizards read them, then the tool runs
// and the program waits for it.
#pragma once

#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

inline const QString kSelfExecutableTool = QStringLiteral("MPQDraft.exe");

// The values the tool's wizards start from, in the order of writing: a
// registry path and its text. A path that ends in "\" is a key.
std::vector<std::pair<QString, QString>> SelfExecutableValues(const QString &fileName);

// Writes those values with WriteRegistry, each as a plain text.
void WriteSelfExecutableValues(const QString &fileName);

// The command line that starts the tool: its path, unquoted, with no
// argument. The tool is looked for beside the program, then in the
// installed data folder.
QString SelfExecutableCommandLine(const QString &programFolder);

// A Windows program run through Wine reads Wine's registry: the values in
// the form of a registry file for Wine's regedit, the paths as Wine's Z:
// drive names them.
QByteArray WineRegistryFile(const std::vector<std::pair<QString, QString>> &values);

// The whole command: the values written, handed to Wine's registry when
// the tool runs through Wine, then the tool started and waited for.
// Nothing is reported, whatever fails.
void MakeSelfExecutable(const QString &fileName, const QString &programFolder, const QString &tempPath);
