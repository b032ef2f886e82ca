#include "tools/mpq_header.h"

#include <QFile>

#include "mpq/mpq_header.h"

static_assert(kHeaderAlignment == qint64(mpq::kHeaderStep));

namespace {

std::string NativePath(const QString &path) { return QFile::encodeName(path).toStdString(); }

}  // namespace

qint64 FindMPQHeader(const QString &path) { return mpq::FindHeaderSignature(NativePath(path)); }

qint64 GetMPQFileCount(const QString &path) { return mpq::HeaderFileCount(NativePath(path)); }

bool IsExecutable(const QString &path) { return mpq::StartsAsExecutable(NativePath(path)); }
