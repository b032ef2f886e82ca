// The locales of stored files as users write them: tags such as "de-DE" for
// the Windows LCIDs that archives store, or the LCID in hex.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>

// The tag of a locale: empty for neutral (0), the tag for a known LCID, and
// the LCID in hex ("0x0c1a") for another.
QString LocaleTag(std::uint16_t locale);

// The locale a user wrote: a known tag in any case ("de-DE", "de-de"), or an
// LCID in hex from "0x1" to "0xffff"; "0", "0x0" and "neutral" are neutral.
// False for anything else.
bool ParseLocale(const QString &text, std::uint16_t &locale);

// The tags ParseLocale knows, for the message that refuses another.
QStringList KnownLocaleTags();

// The stored name of a list row without the locale of its variant, and that
// locale (0 for a neutral name).
QByteArray BareName(const QByteArray &storedName);
std::uint16_t NameLocale(const QByteArray &storedName);
// A stored name as messages and reports name it: its text, and the tag of a
// locale variant in brackets after it ("war3map.wts [de-DE]").
QString ShownName(const QByteArray &storedName);
// The stored name of the variant `locale` of `name`.
QByteArray VariantName(const QByteArray &name, std::uint16_t locale);
// The path of a locale variant that cannot have its name's own path: the
// tag before the extension of its last level ("war3map.de-DE.wts"), levels
// separated by "/" or "\".
QString VariantPath(const QString &path, std::uint16_t locale);
