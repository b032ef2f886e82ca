#include "pane/code_highlighter.h"

#include <QColor>
#include <QFont>
#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <span>

namespace {

using Qt::Literals::StringLiterals::operator""_L1;

constexpr QLatin1String kJassKeywords[] = {
    "function"_L1, "endfunction"_L1, "takes"_L1, "returns"_L1, "return"_L1, "local"_L1, "set"_L1, "call"_L1,
    "if"_L1, "then"_L1, "else"_L1, "elseif"_L1, "endif"_L1, "loop"_L1, "endloop"_L1, "exitwhen"_L1,
    "globals"_L1, "endglobals"_L1, "constant"_L1, "native"_L1, "type"_L1, "extends"_L1, "array"_L1,
    "and"_L1, "or"_L1, "not"_L1, "nothing"_L1, "true"_L1, "false"_L1, "null"_L1, "debug"_L1};

// The base types and the handle types that scripts name most.
constexpr QLatin1String kJassTypes[] = {
    "integer"_L1, "real"_L1, "boolean"_L1, "string"_L1, "handle"_L1, "code"_L1, "agent"_L1, "widget"_L1,
    "unit"_L1, "item"_L1, "destructable"_L1, "player"_L1, "force"_L1, "group"_L1, "trigger"_L1,
    "triggeraction"_L1, "triggercondition"_L1, "event"_L1, "boolexpr"_L1, "conditionfunc"_L1,
    "filterfunc"_L1, "timer"_L1, "location"_L1, "rect"_L1, "region"_L1, "effect"_L1, "sound"_L1,
    "dialog"_L1, "button"_L1, "multiboard"_L1, "leaderboard"_L1, "texttag"_L1, "lightning"_L1, "image"_L1,
    "ubersplat"_L1, "quest"_L1, "hashtable"_L1, "framehandle"_L1, "fogmodifier"_L1, "gamecache"_L1};

constexpr QLatin1String kLuaKeywords[] = {
    "and"_L1, "break"_L1, "do"_L1, "else"_L1, "elseif"_L1, "end"_L1, "false"_L1, "for"_L1, "function"_L1,
    "goto"_L1, "if"_L1, "in"_L1, "local"_L1, "nil"_L1, "not"_L1, "or"_L1, "repeat"_L1, "return"_L1,
    "then"_L1, "true"_L1, "until"_L1, "while"_L1};

bool IsCodeDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool IsCodeHexDigit(char16_t c) { return IsCodeDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F'); }
bool IsCodeWordStart(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_'; }
bool IsCodeWordChar(char16_t c) { return IsCodeWordStart(c) || IsCodeDigit(c); }

bool CodeWordIn(QStringView word, std::span<const QLatin1String> list)
{
    return std::any_of(list.begin(), list.end(), [&](QLatin1String entry) { return word == entry; });
}

char16_t CodeCharAt(QStringView line, int at) { return at < line.size() ? line[at].unicode() : u'\0'; }

// The level (count of '=') of a Lua long bracket "[==[" opening at `at`, or
// -1 where none opens.
int LuaLongBracketLevel(QStringView line, int at)
{
    if (CodeCharAt(line, at) != u'[') return -1;
    int level = 0;
    while (CodeCharAt(line, at + 1 + level) == u'=') ++level;
    return CodeCharAt(line, at + 1 + level) == u'[' ? level : -1;
}

// Where the long bracket of `level` closes from `from` on (just past it), or
// -1 when it stays open past the line.
int LuaLongBracketEnd(QStringView line, int from, int level)
{
    for (int at = from; at < line.size(); ++at) {
        if (line[at] != u']') continue;
        int equals = 0;
        while (CodeCharAt(line, at + 1 + equals) == u'=') ++equals;
        if (equals == level && CodeCharAt(line, at + 1 + equals) == u']') return at + 2 + equals;
    }
    return -1;
}

// Just past the quote that closes the one at `at`, skipping backslash
// escapes; the end of the line when it is not closed.
int CodeQuotedEnd(QStringView line, int at)
{
    const char16_t quote = line[at].unicode();
    for (++at; at < line.size(); ++at) {
        if (line[at] == u'\\')
            ++at;
        else if (line[at] == quote)
            return at + 1;
    }
    return int(line.size());
}

// Decimal, reals and exponents, and hex written "0x1F" (both) or "$1F"
// (JASS). Letters stuck to a number belong to it, as a compiler reads them.
int CodeNumberEnd(QStringView line, int at)
{
    bool hex = line[at] == u'$';
    if (line[at] == u'0' && (CodeCharAt(line, at + 1) == u'x' || CodeCharAt(line, at + 1) == u'X')) {
        hex = true;
        ++at;
    }
    for (++at; at < line.size(); ++at) {
        const char16_t c = line[at].unicode();
        const bool exponent = hex ? (c == u'p' || c == u'P') : (c == u'e' || c == u'E');
        if (exponent && (CodeCharAt(line, at + 1) == u'+' || CodeCharAt(line, at + 1) == u'-'))
            ++at;
        else if (!IsCodeWordChar(c) && c != u'.')
            break;
    }
    return at;
}

// An open long bracket is kept in the state as 1 + 2 * level, plus one for a
// comment.
int LuaLongState(int level, bool comment) { return 1 + 2 * level + (comment ? 1 : 0); }

}  // namespace

QList<CodeToken> ScanCodeLine(QStringView line, CodeLanguage language, int &state)
{
    QList<CodeToken> tokens;
    const bool lua = language == CodeLanguage::Lua;
    if (!lua) state = 0;
    if (language == CodeLanguage::None) return tokens;
    const int size = int(line.size());
    auto add = [&](int start, int end, CodeTokenKind kind) {
        if (end > start) tokens.append({start, end - start, kind});
    };
    // Runs the long bracket of `state` from `start` (its opening, or the
    // line's start) to its close or the end of the line.
    auto longBracket = [&](int start, int from) {
        const CodeTokenKind kind = (state - 1) % 2 == 1 ? CodeTokenKind::Comment : CodeTokenKind::String;
        const int end = LuaLongBracketEnd(line, from, (state - 1) / 2);
        add(start, end < 0 ? size : end, kind);
        if (end >= 0) state = 0;
        return end < 0 ? size : end;
    };
    int at = state > 0 ? longBracket(0, 0) : 0;
    while (at < size) {
        const char16_t c = line[at].unicode();
        const char16_t next = CodeCharAt(line, at + 1);
        if ((!lua && c == u'/' && next == u'/') || (lua && c == u'-' && next == u'-')) {
            const int level = lua ? LuaLongBracketLevel(line, at + 2) : -1;
            if (level < 0) {
                add(at, size, CodeTokenKind::Comment);
                break;
            }
            state = LuaLongState(level, true);
            at = longBracket(at, at + 4 + level);
        } else if (lua && LuaLongBracketLevel(line, at) >= 0) {
            const int level = LuaLongBracketLevel(line, at);
            state = LuaLongState(level, false);
            at = longBracket(at, at + 2 + level);
        } else if (c == u'"' || c == u'\'') {
            // A JASS single quote holds a four-character code ('hfoo'), an integer.
            const int end = CodeQuotedEnd(line, at);
            add(at, end, lua || c == u'"' ? CodeTokenKind::String : CodeTokenKind::Number);
            at = end;
        } else if (IsCodeDigit(c) || (c == u'.' && IsCodeDigit(next)) || (!lua && c == u'$' && IsCodeHexDigit(next))) {
            const int end = CodeNumberEnd(line, at);
            add(at, end, CodeTokenKind::Number);
            at = end;
        } else if (IsCodeWordStart(c)) {
            int end = at + 1;
            while (end < size && IsCodeWordChar(line[end].unicode())) ++end;
            const QStringView word = line.mid(at, end - at);
            if (lua ? CodeWordIn(word, kLuaKeywords) : CodeWordIn(word, kJassKeywords))
                add(at, end, CodeTokenKind::Keyword);
            else if (!lua && CodeWordIn(word, kJassTypes))
                add(at, end, CodeTokenKind::Type);
            at = end;
        } else {
            ++at;
        }
    }
    return tokens;
}

CodeHighlighter::CodeHighlighter(QTextDocument *document, CodeLanguage language)
    : QSyntaxHighlighter(document), language_(language)
{
    struct Look {
        QRgb light, dark;
        bool bold, italic;
    };
    // By CodeTokenKind; darker shades on a light page, paler ones on a dark.
    static constexpr Look kLooks[] = {
        {0x1F3FA8, 0x82AAFF, true, false},   // keyword
        {0x0F7A7A, 0x4EC9B0, false, false},  // type
        {0x9A4A00, 0xE5A45A, false, false},  // number
        {0xA31515, 0xE08A7A, false, false},  // string
        {0x3A7D2C, 0x7FB069, false, true},   // comment
    };
    const bool dark = QGuiApplication::palette().color(QPalette::Base).lightness() < 128;
    for (std::size_t i = 0; i < formats_.size(); ++i) {
        formats_[i].setForeground(QColor::fromRgb(dark ? kLooks[i].dark : kLooks[i].light));
        if (kLooks[i].bold) formats_[i].setFontWeight(QFont::Bold);
        formats_[i].setFontItalic(kLooks[i].italic);
    }
}

void CodeHighlighter::highlightBlock(const QString &text)
{
    int state = std::max(previousBlockState(), 0);
    for (const CodeToken &token : ScanCodeLine(text, language_, state))
        setFormat(token.start, token.length, formats_[static_cast<std::size_t>(token.kind)]);
    setCurrentBlockState(state);
}
