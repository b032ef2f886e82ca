// Signing. An archive that carries a weak signature is signed anew when an
// update or a compaction closes it, by StormLib with libtomcrypt's RSA. The
// private-key operation blinds itself with random numbers: from the math
// descriptor's random call and from a registered pseudo-random generator.
// Debian's StormLib sets the descriptor from a declaration shorter than the
// one of the libtomcrypt it runs with, which leaves that call empty, and
// registers no generator: the signing then jumps to address zero. Both are
// made whole here, once, before any archive is written.
#include "mpq/mpq_handle.h"

#define LTM_DESC
#include <tomcrypt.h>

#include <mutex>

namespace mpq {

void PrepareSigning()
{
    static std::once_flag once;
    std::call_once(once, [] {
        ltc_mp = ltm_desc;
        register_prng(&sprng_desc);
    });
}

}  // namespace mpq
