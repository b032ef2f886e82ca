#include "config/catalogue.h"

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
