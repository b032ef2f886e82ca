// arcavera-cli's exit status and words for each reason the core gives for a
// refusal: one table, so that every command says a reason alike.
#pragma once

#include <QString>

#include "base/refusal.h"
#include "tools/embed_archive.h"

// Bad usage: an unknown option or command, an argument too many or too few.
constexpr int kUsageStatus = 1;
// verify: a faulty file, or a signature that does not match.
constexpr int kFaultsFoundStatus = 6;
// pack: a folder that does not make an archive (its manifest does not parse
// or does not match it).
constexpr int kFolderStatus = 8;

// The exit status of `why`; None gives 0. A command that meets several
// refusals exits with the highest of their statuses.
int ExitStatus(Refusal why);

// What a refusal is about: the archive (or the folder or file a command
// makes) as a whole, or one name or path of a batch.
enum class About { Archive, Item };

// Says why `subject` was refused, on standard error, and returns the exit
// status; `folder` is the folder an extraction writes below. None says
// nothing and gives 0.
int Refuse(Refusal why, About about, const QString &subject, const QString &folder = {});

// The exit status of embed and split: 2 a file named twice, 3 no archive
// where one must be (or one where none may be), 5 a file that could not be
// opened, read or written.
int ExitStatus(EmbedStatus status);
// Says the failure of embed or split, of `path`, and returns its exit status.
int Refuse(EmbedStatus status, const QString &path);
