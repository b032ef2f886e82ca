#include "config/catalogue.h"

#include <QStringList>

namespace {

QString Filter(const QStringList &pairs)
{
    return pairs.join(QChar(0));
}

}  // namespace

MessageStrings::MessageStrings()
{
    const QString mpq = QStringLiteral("Archivi MPQ (*.mpq)");
    const QString all = QStringLiteral("Tutti i files (*.*)");
    const QString exe = QStringLiteral("File eseguibili (*.exe)");
    const QString scm = QStringLiteral("Mappe di StarCraft (*.scm;*.scx)");
    const QString w3m = QStringLiteral("Mappe di WarCraft3 (*.w3m;*.w3x)");
    const QString w3n = QStringLiteral("Campagne di WarCraft3 (*.w3n)");
    const QString allmpq =
        QStringLiteral("Tutti gli archivi MPQ (*.mpq;*.exe;*.snp;*.scm;*.scx;*.w3m;*.w3x;*.w3n)");
    FilterMPQ = Filter({mpq, QStringLiteral("*.mpq"), all, QStringLiteral("*.*")});
    FilterEXE = Filter({exe, QStringLiteral("*.exe"), all, QStringLiteral("*.*")});
    FilterArchives = Filter({mpq, QStringLiteral("*.mpq"), scm, QStringLiteral("*.scm;*.scx"), w3m,
                             QStringLiteral("*.w3m;*.w3x"), w3n, QStringLiteral("*.w3n"), exe,
                             QStringLiteral("*.exe"), allmpq,
                             QStringLiteral("*.mpq;*.exe;*.snp;*.scm;*.scx;*.w3m;*.w3x;*.w3n"), all,
                             QStringLiteral("*.*")});
}

MessageStrings &Texts()
{
    static MessageStrings strings;
    return strings;
}

QString ReplaceValue(const QString &text, const QString &value)
{
    QString result = text;
    return result.replace(QStringLiteral("%v"), value);
}
