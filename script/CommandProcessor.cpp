#include "script/CommandProcessor.h"

#include <QRegularExpression>

#include "script/MathExpression.h"

namespace {

const QString kVarPrefix = QStringLiteral("#var ");
const QString kMathPrefix = QStringLiteral("#math ");
const QString kIfPrefix = QStringLiteral("#if ");
const QString kNotePrefix = QStringLiteral("#note");
const QString kShowCommand = QStringLiteral("#showme");

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
// depend on that reading ("$hp <= 5" tests hp < 0), so the order is kept
// unless the player asked for client conveniences.
const QRegularExpression& conditionPattern(bool conveniences)
{
    static const QRegularExpression asAlways(QStringLiteral("^(\\$?\\w+)\\s*(==|!=|<|>|<=|>=)\\s*(.+)$"));
    static const QRegularExpression asWritten(QStringLiteral("^(\\$?\\w+)\\s*(==|!=|<=|>=|<|>)\\s*(.+)$"));
    return conveniences ? asWritten : asAlways;
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

// The same for 64 bits, the range "#math" computes in with conveniences.
qint64 toLongOrZero(const QString& text)
{
    bool ok = false;
    const qint64 value = text.toLongLong(&ok, 10);
    return ok ? value : 0;
}

// A note quotes at most this much of the text it is about: a hostile line
// may be 64 KiB long.
constexpr qsizetype kQuotedLength = 40;

QString quoted(const QString& text)
{
    return text.size() <= kQuotedLength ? text : text.left(kQuotedLength) + QStringLiteral("...");
}

} // namespace

// What one line has produced so far. With a limit, outputs beyond
// kMaxOutputs are dropped and one note says so.
class CommandProcessor::Expansion final {
public:
    Expansion(QStringList* shown, bool repeatAllowed, bool limited)
        : repeatAllowed(repeatAllowed)
        , m_shown(shown)
        , m_limited(limited)
    {
    }

    void send(const QString& command)
    {
        if (roomForOne())
            commands.append(command);
    }
    void show(const QString& text)
    {
        if (roomForOne() && m_shown)
            m_shown->append(text);
    }
    // Notes on what did not run are always shown and never counted.
    void note(const QString& text)
    {
        if (m_shown)
            m_shown->append(text);
    }
    bool full() const { return m_full; }

    QStringList commands;
    const bool repeatAllowed;

private:
    bool roomForOne()
    {
        if (m_full)
            return false;
        if (!m_limited || m_outputs < kMaxOutputs) {
            ++m_outputs;
            return true;
        }
        m_full = true;
        note(QStringLiteral("[one line makes at most %1 commands; the rest were dropped]").arg(kMaxOutputs));
        return false;
    }

    QStringList* m_shown;
    const bool m_limited;
    int m_outputs = 0;
    bool m_full = false;
};

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

QStringList CommandProcessor::processCommand(const QString& line, QStringList* shown, bool repeatAllowed)
{
    Expansion out(shown, repeatAllowed, m_conveniences);
    expand(line, 0, out);
    return out.commands;
}

void CommandProcessor::expand(const QString& line, int depth, Expansion& out)
{
    const QString command = line.trimmed();
    if (!command.startsWith(QLatin1Char('#'))) {
        out.send(substituteVariables(command));
        return;
    }
    const QRegularExpressionMatch repeat = repeatPattern().match(command);
    if (out.repeatAllowed && repeat.hasMatch()) {
        expandRepeat(toIntegerOrZero(repeat.captured(1)), repeat.captured(2), depth, out);
    } else if (command.startsWith(kVarPrefix)) {
        QString name;
        QString value;
        if (splitNameAndRest(command.mid(kVarPrefix.size()).trimmed(), &name, &value))
            setVariable(name, value);
    } else if (command.startsWith(kMathPrefix)) {
        runMath(command.mid(kMathPrefix.size()).trimmed(), out);
    } else if (command.startsWith(kIfPrefix)) {
        expandIf(command.mid(kIfPrefix.size()).trimmed(), depth, out);
    } else if (command.startsWith(kNotePrefix)) {
        // A comment.
    } else if (m_conveniences && (command == kShowCommand || command.startsWith(kShowCommand + u' '))) {
        out.show(substituteVariables(command.mid(kShowCommand.size() + 1)));
    } else {
        out.send(substituteVariables(command));
    }
}

void CommandProcessor::expandRepeat(int count, const QString& text, int depth, Expansion& out)
{
    if (count <= 0)
        return;
    if (!m_conveniences) {
        // The repeated text goes out exactly as written: it is not parsed
        // again, so "#3 #var x 1" sends "#var x 1" three times.
        out.commands.reserve(out.commands.size() + count);
        for (int i = 0; i < count; ++i)
            out.commands.append(text);
        return;
    }
    if (count > kMaxOutputs) {
        out.note(QStringLiteral("[#%1 %2: at most %3 repeats]")
                     .arg(QString::number(count), quoted(text), QString::number(kMaxOutputs)));
        return;
    }
    if (depth >= kMaxNesting) {
        out.note(QStringLiteral("[%1: nested too deeply]").arg(quoted(text)));
        return;
    }
    for (int i = 0; i < count && !out.full(); ++i)
        expand(text, depth + 1, out);
}

void CommandProcessor::expandIf(const QString& text, int depth, Expansion& out)
{
    const QRegularExpressionMatch parts = ifPattern().match(text);
    if (!parts.hasMatch())
        return;
    const QString branch = evaluateCondition(parts.captured(1)) ? parts.captured(2) : parts.captured(3);
    if (branch.isEmpty())
        return;
    if (!m_conveniences)
        out.send(branch); // as written, not parsed again
    else if (depth >= kMaxNesting)
        out.note(QStringLiteral("[%1: nested too deeply]").arg(quoted(branch)));
    else
        expand(branch, depth + 1, out);
}

void CommandProcessor::runMath(const QString& text, Expansion& out)
{
    QString name;
    QString expression;
    if (!splitNameAndRest(text, &name, &expression))
        return;
    if (!m_conveniences) {
        setVariable(name, QString::number(evaluateMath(expression)));
        return;
    }
    // A failed calculation leaves the variable as it was and says why, so a
    // script never goes on with a made-up 0.
    const QString substituted = substituteVariables(expression);
    QString error;
    if (const std::optional<qint64> value = MathExpression::evaluate(substituted, &error))
        setVariable(name, QString::number(*value));
    else
        out.note(QStringLiteral("[#math %1: %2 in \"%3\"]").arg(name, error, quoted(substituted)));
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
    const QRegularExpressionMatch parts = conditionPattern(m_conveniences).match(condition.trimmed());
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

    const qint64 leftValue = m_conveniences ? toLongOrZero(left) : toIntegerOrZero(left);
    const qint64 rightValue = m_conveniences ? toLongOrZero(right) : toIntegerOrZero(right);
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
