// The pattern language of Find: "*" any run of characters, "?" any one
// character, "#" any one digit, "[list]" any one character of the list and
// "[!list]" any one character not in it, with "a-z" a range inside a list.
// Every other character fits itself; comparison is by character code.
//
// Inside a list "*", "?", "#" and "[" are plain characters; "-" is plain at
// the start or the end of the list, "!" anywhere but at its start. "[]"
// fits no character at all and so is passed over. A pattern with a "["
// that is never closed, or with a range whose ends are the wrong way round
// ("[z-a]"), is no valid pattern and fits no text.
#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

class LikePattern {
public:
    explicit LikePattern(const QString &pattern);

    bool IsValid() const { return valid_; }
    // True when the whole of `text` fits the whole pattern.
    bool Matches(const QString &text) const;

private:
    struct Token {
        enum Kind { Literal, AnyRun, AnyOne, Digit, List } kind = Literal;
        char16_t ch = 0;                                  // Literal
        bool negated = false;                             // List
        std::vector<std::pair<char16_t, char16_t>> ranges;  // List: inclusive ranges
        bool Fits(char16_t c) const;
    };
    std::vector<Token> tokens_;
    bool valid_ = true;
};

// The pattern of a find for `findText`: the text lower-cased, with "*" on
// either side, so that it may stand anywhere in a name.
LikePattern FindPattern(const QString &findText);
// Whether a stored name (its exact bytes, as a row's Tag holds them) is
// found by `pattern`: the whole name, folder part included, lower-cased.
bool StoredNameMatches(const LikePattern &pattern, const QByteArray &storedName);
