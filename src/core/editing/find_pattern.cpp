#include "editing/find_pattern.h"

#include "base/text_encoding.h"

bool LikePattern::Token::Fits(char16_t c) const
{
    switch (kind) {
    case Literal: return c == ch;
    case AnyOne: return true;
    case Digit: return c >= u'0' && c <= u'9';
    case List: {
        bool inList = false;
        for (const auto &[low, high] : ranges)
            if (c >= low && c <= high) {
                inList = true;
                break;
            }
        return inList != negated;
    }
    case AnyRun: break;
    }
    return false;
}

LikePattern::LikePattern(const QString &pattern)
{
    const qsizetype n = pattern.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = pattern[i].unicode();
        Token token;
        if (c == u'*') {
            // A run of stars is one star.
            if (!tokens_.empty() && tokens_.back().kind == Token::AnyRun) continue;
            token.kind = Token::AnyRun;
        } else if (c == u'?') {
            token.kind = Token::AnyOne;
        } else if (c == u'#') {
            token.kind = Token::Digit;
        } else if (c == u'[') {
            const qsizetype close = pattern.indexOf(QLatin1Char(']'), i + 1);
            if (close < 0) {
                valid_ = false;
                tokens_.clear();
                return;
            }
            qsizetype j = i + 1;
            token.kind = Token::List;
            if (j < close && pattern[j] == QLatin1Char('!')) {
                token.negated = true;
                ++j;
            }
            if (j == close && !token.negated) {  // "[]" fits nothing and takes no character
                i = close;
                continue;
            }
            while (j < close) {
                const char16_t low = pattern[j].unicode();
                if (j + 2 < close && pattern[j + 1] == QLatin1Char('-')) {
                    const char16_t high = pattern[j + 2].unicode();
                    if (high < low) {
                        valid_ = false;
                        tokens_.clear();
                        return;
                    }
                    token.ranges.emplace_back(low, high);
                    j += 3;
                } else {
                    token.ranges.emplace_back(low, low);
                    ++j;
                }
            }
            i = close;
        } else {
            token.kind = Token::Literal;
            token.ch = c;
        }
        tokens_.push_back(std::move(token));
    }
}

bool LikePattern::Matches(const QString &text) const
{
    if (!valid_) return false;
    // Single-character tokens and stars: walk both, and on a mismatch go
    // back to the last star and let it take one character more.
    const qsizetype n = text.size();
    const std::size_t m = tokens_.size();
    qsizetype t = 0;
    std::size_t p = 0;
    std::size_t starToken = m;  // none yet
    qsizetype starText = 0;
    while (t < n) {
        if (p < m && tokens_[p].kind == Token::AnyRun) {
            starToken = p++;
            starText = t;
        } else if (p < m && tokens_[p].Fits(text[t].unicode())) {
            ++p;
            ++t;
        } else if (starToken < m) {
            p = starToken + 1;
            t = ++starText;
        } else {
            return false;
        }
    }
    while (p < m && tokens_[p].kind == Token::AnyRun) ++p;
    return p == m;
}

LikePattern FindPattern(const QString &findText)
{
    return LikePattern(QLatin1Char('*') + findText.toLower() + QLatin1Char('*'));
}

bool StoredNameMatches(const LikePattern &pattern, const QByteArray &storedName)
{
    return pattern.Matches(DecodeBytes(storedName).toLower());
}
