#pragma once

#include <QList>
#include <QRegularExpression>
#include <QSyntaxHighlighter>
#include <QTextCharFormat>

class QTextDocument;

// Colours Lua source one line at a time. The only state carried between lines
// is whether a line ends inside a long comment (block state 1), so editing a
// line re-highlights following lines only while that state keeps changing.
class LuaSyntaxHighlighter final : public QSyntaxHighlighter {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LuaSyntaxHighlighter)

public:
    struct Rule {
        QRegularExpression pattern;
        QTextCharFormat format;
    };

    explicit LuaSyntaxHighlighter(QTextDocument* parent);

protected:
    void highlightBlock(const QString& text) override;

private:
    bool touchesComment(int start, int length) const;

    QList<Rule> rules;
    QTextCharFormat multiLineCommentFormat;
    QRegularExpression commentStartExpression;
    QRegularExpression commentEndExpression;
};
