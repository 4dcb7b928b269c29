#include "script/MathExpression.h"

#include <QStringView>
#include <QtNumeric>

#include <limits>

namespace {

bool isAsciiDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// A recursive-descent reader over one expression. The first error stops it;
// every rule returns 0 from then on and the caller looks at `failure`.
class Reader final {
public:
    explicit Reader(QStringView text)
        : m_text(text)
    {
    }

    std::optional<qint64> readAll()
    {
        const qint64 value = sum();
        if (m_failure.isEmpty() && peek() != QChar())
            fail(QStringLiteral("unexpected '%1'").arg(peek()));
        if (!m_failure.isEmpty())
            return std::nullopt;
        return value;
    }

    QString failure() const { return m_failure; }

private:
    qint64 sum()
    {
        qint64 value = product();
        while (m_failure.isEmpty() && (peek() == u'+' || peek() == u'-')) {
            const bool add = take() == u'+';
            const qint64 right = product();
            if (add ? qAddOverflow(value, right, &value) : qSubOverflow(value, right, &value))
                return outOfRange();
        }
        return value;
    }

    qint64 product()
    {
        qint64 value = signedFactor();
        while (m_failure.isEmpty() && (peek() == u'*' || peek() == u'/' || peek() == u'%')) {
            const QChar op = take();
            const qint64 right = signedFactor();
            if (!m_failure.isEmpty())
                return 0;
            if (op == u'*') {
                if (qMulOverflow(value, right, &value))
                    return outOfRange();
                continue;
            }
            if (right == 0)
                return fail(QStringLiteral("division by zero"));
            // The one quotient that does not fit; its remainder is 0, but
            // computing it traps on most machines.
            if (value == std::numeric_limits<qint64>::min() && right == -1) {
                if (op == u'/')
                    return outOfRange();
                value = 0;
                continue;
            }
            value = op == u'/' ? value / right : value % right;
        }
        return value;
    }

    // Signs are counted in a loop, not by recursion, so "- - - ... 1" costs
    // no stack.
    qint64 signedFactor()
    {
        bool negative = false;
        while (peek() == u'+' || peek() == u'-')
            negative ^= take() == u'-';
        const qint64 value = factor();
        if (!negative)
            return value;
        if (value == std::numeric_limits<qint64>::min())
            return outOfRange();
        return -value;
    }

    qint64 factor()
    {
        if (peek() == u'(') {
            take();
            if (++m_depth > MathExpression::kMaxNesting)
                return fail(QStringLiteral("brackets nested too deeply"));
            const qint64 value = sum();
            --m_depth;
            if (m_failure.isEmpty() && take() != u')')
                return fail(QStringLiteral("missing ')'"));
            return value;
        }
        if (!isAsciiDigit(peek()))
            return peek() == QChar() ? fail(QStringLiteral("expression ends too soon"))
                                     : fail(QStringLiteral("unexpected '%1'").arg(peek()));
        qint64 value = 0;
        // Digits are read without skipping blanks: "1 2" is two numbers.
        for (; m_position < m_text.size() && isAsciiDigit(m_text.at(m_position)); ++m_position) {
            const qint64 digit = m_text.at(m_position).unicode() - '0';
            if (qMulOverflow(value, qint64(10), &value) || qAddOverflow(value, digit, &value))
                return outOfRange();
        }
        return value;
    }

    QChar peek()
    {
        while (m_position < m_text.size() && m_text.at(m_position).isSpace())
            ++m_position;
        return m_position < m_text.size() ? m_text.at(m_position) : QChar();
    }

    QChar take()
    {
        const QChar c = peek();
        if (m_position < m_text.size())
            ++m_position;
        return c;
    }

    qint64 fail(const QString& reason)
    {
        if (m_failure.isEmpty())
            m_failure = reason;
        m_position = m_text.size(); // nothing more is read
        return 0;
    }

    qint64 outOfRange() { return fail(QStringLiteral("number out of range")); }

    QStringView m_text;
    qsizetype m_position = 0;
    int m_depth = 0;
    QString m_failure;
};

} // namespace

std::optional<qint64> MathExpression::evaluate(const QString& expression, QString* error)
{
    Reader reader(expression);
    const std::optional<qint64> value = reader.readAll();
    if (!value && error)
        *error = reader.failure();
    return value;
}
