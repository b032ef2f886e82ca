// Colouring JASS and Lua scripts in the preview: a small scanner that splits
// a line into keywords, type names, numbers, strings and comments, and a
// syntax highlighter that applies a colour to each.
#pragma once

#include <QList>
#include <QStringView>
#include <QSyntaxHighlighter>
#include <QTextCharFormat>

#include <array>

#include "preview/text_preview.h"

enum class CodeTokenKind { Keyword, Type, Number, String, Comment };

struct CodeToken {
    int start = 0;
    int length = 0;
    CodeTokenKind kind = CodeTokenKind::Keyword;
};

// The tokens of one line, in order; what is not a token is plain. `state`
// is what the line before left open (0 for nothing, which a first line
// passes) and becomes what this line leaves open: only Lua's long comments
// and long strings ("--[==[", "[[") run on past the end of a line.
QList<CodeToken> ScanCodeLine(QStringView line, CodeLanguage language, int &state);

class CodeHighlighter : public QSyntaxHighlighter {
    Q_OBJECT

public:
    // The colours suit the application's palette, light or dark, as it is
    // when the highlighter is made.
    CodeHighlighter(QTextDocument *document, CodeLanguage language);

protected:
    void highlightBlock(const QString &text) override;

private:
    CodeLanguage language_;
    std::array<QTextCharFormat, 5> formats_;  // by CodeTokenKind
};
