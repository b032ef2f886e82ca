// arcavera-cli's exit status for each reason the core gives for a refusal.
#pragma once

#include "base/refusal.h"
#include "tools/embed_archive.h"

// Bad usage: an unknown option or command, an argument too many or too few.
constexpr int kUsageStatus = 1;

// verify: a faulty file, or a signature that does not match.
constexpr int kFaultsFoundStatus = 6;
// compact: a stored file has no name to be rewritten under (Refusal::Nameless).

// The exit status of `why`; None gives 0. A command that meets several
// refusals exits with the highest of their statuses.
int ExitStatus(Refusal why);

// The exit status of embed and split: 2 a file named twice, 3 no archive
// where one must be (or one where none may be), 5 a file that could not be
// opened, read or written.
int ExitStatus(EmbedStatus status);
