#include "lua/LuaSyntaxHighlighter.h"

#include <QColor>
#include <QFont>

#include "lua/LuaSyntaxColors.h"

namespace {

constexpr int kOutsideComment = 0;
constexpr int kInsideComment = 1;

QTextCharFormat makeFormat(const QColor& foreground, bool bold = false, bool italic = false)
{
    QTextCharFormat format;
    format.setForeground(foreground);
    if (bold)
        format.setFontWeight(QFont::Bold);
    if (italic)
        format.setFontItalic(true);
    return format;
}

} // namespace

LuaSyntaxHighlighter::LuaSyntaxHighlighter(QTextDocument* parent)
    : QSyntaxHighlighter(parent)
    , multiLineCommentFormat(makeFormat(QColor(LuaSyntaxColors::kComment), false, true))
    , commentStartExpression(QStringLiteral("--\\[\\["))
    , commentEndExpression(QStringLiteral("\\]\\]"))
{
    // Order matters: comments first so that every later rule can tell a match
    // inside a comment by its grey italic, and keywords after strings so that
    // they stand out even inside a string.
    using namespace LuaSyntaxColors;
    rules = {
        {QRegularExpression(QStringLiteral("--[^\\n]*")), makeFormat(QColor(kComment), false, true)},
        {QRegularExpression(QStringLiteral("\\[\\[.*?\\]\\]")), makeFormat(QColor(kLongString))},
        {QRegularExpression(QStringLiteral("\"([^\"\\\\]|\\\\.)*\"")), makeFormat(QColor(kString))},
        {QRegularExpression(QStringLiteral("'([^'\\\\]|\\\\.)*'")), makeFormat(QColor(kString))},
        {QRegularExpression(
             QStringLiteral("\\b(and|break|do|else|elseif|end|false|for|function|goto|if|in|local|nil|not|or|"
                            "repeat|return|then|true|until|while)\\b")),
         makeFormat(QColor(kKeyword), true)},
        // The functions the Lua engine offers to modules.
        {QRegularExpression(QStringLiteral("\\b(send|echo|getMsdp|getVariable|setVariable|matches)\\b")),
         makeFormat(QColor(kClientApi))},
        {QRegularExpression(QStringLiteral("\\b(print|pairs|ipairs|type|tostring|tonumber|pcall|xpcall|error|"
                                           "assert|require|table|string|math|io|os|coroutine)\\b")),
         makeFormat(QColor(kStandardLibrary))},
        {QRegularExpression(QStringLiteral("\\b[0-9]+\\.?[0-9]*([eE][+-]?[0-9]+)?\\b|\\b0x[0-9a-fA-F]+\\b")),
         makeFormat(QColor(kNumber))},
    };
}

void LuaSyntaxHighlighter::highlightBlock(const QString& text)
{
    setCurrentBlockState(kOutsideComment);
    int start = 0;

    if (previousBlockState() == kInsideComment) {
        const QRegularExpressionMatch end = commentEndExpression.match(text);
        if (!end.hasMatch()) {
            setFormat(0, text.length(), multiLineCommentFormat);
            setCurrentBlockState(kInsideComment);
            return;
        }
        start = end.capturedStart() + 2;
        setFormat(0, start, multiLineCommentFormat);
    }

    while (start < text.length()) {
        const QRegularExpressionMatch open = commentStartExpression.match(text, start);
        if (!open.hasMatch())
            break;
        const int s = open.capturedStart();
        const QRegularExpressionMatch close = commentEndExpression.match(text, s + 2);
        if (!close.hasMatch()) {
            // A long comment that runs past this line: the rules stay off the
            // whole line, even for the code in front of the comment.
            setFormat(s, text.length() - s, multiLineCommentFormat);
            setCurrentBlockState(kInsideComment);
            return;
        }
        start = close.capturedStart() + 2;
        setFormat(s, start - s, multiLineCommentFormat);
    }

    for (const Rule& rule : std::as_const(rules)) {
        QRegularExpressionMatchIterator it = rule.pattern.globalMatch(text);
        while (it.hasNext()) {
            const QRegularExpressionMatch match = it.next();
            const int m = match.capturedStart();
            const int n = match.capturedLength();
            if (!touchesComment(m, n))
                setFormat(m, n, rule.format);
        }
    }
}

// A match that overlaps anything already coloured as a comment is left alone
// whole; comment colour is recognised by foreground and italic together, which
// single-line and long comments share.
bool LuaSyntaxHighlighter::touchesComment(int start, int length) const
{
    const QColor commentColor = multiLineCommentFormat.foreground().color();
    const bool commentItalic = multiLineCommentFormat.fontItalic();
    for (int i = start; i < start + length; ++i) {
        const QTextCharFormat current = format(i);
        if (current.foreground().color() == commentColor && current.fontItalic() == commentItalic)
            return true;
    }
    return false;
}
