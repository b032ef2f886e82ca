#include "editing/helpers/shell_open.h"

#include <utility>

namespace {

ShellOpener &Installed()
{
    static ShellOpener opener;
    return opener;
}

}  // namespace

ShellOpener SetShellOpener(ShellOpener opener) { return std::exchange(Installed(), std::move(opener)); }

void ShellOpen(const QUrl &url, const NoProgram &noProgram)
{
    if (Installed()) Installed()(url, noProgram);
}
