#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

// The client's own command language for one session: "#N cmd" repeat, "#var",
// "#math", "#if ... then ... [else ...]", "#note" comments and "$name"
// substitution. It is a pure function of the line and the variable table: it
// returns the commands to send and never sends anything itself.
class CommandProcessor final {
public:
    // With client conveniences one line makes at most this many commands and
    // shown lines, and "#N" repeats at most this often: a typo such as "#1000
    // kill" would otherwise flood the game, and most games cut off a player
    // who sends that much at once.
    static constexpr int kMaxOutputs = 100;
    // With client conveniences the text of "#N" and the branch of "#if" are
    // commands again, up to this depth; deeper text is dropped with a note.
    static constexpr int kMaxNesting = 8;

    void setVariable(const QString& name, const QString& value);
    QString getVariable(const QString& name) const;
    void clearVariables();
    const QMap<QString, QString>& variables() const { return m_variables; }

    // Off, the language is exactly what scripts written for the client rely
    // on (see evaluateMath and evaluateCondition). On: "#math" computes (see
    // MathExpression), "<=" and ">=" compare as written on 64-bit integers,
    // "#showme text" shows text locally, "#N" and "#if" run their text as
    // commands, and the bounds above hold.
    void setConveniencesEnabled(bool on) { m_conveniences = on; }
    bool conveniencesEnabled() const { return m_conveniences; }

    // Text to show locally ("#showme", and notes on what could not run) goes
    // to *shown when it is given. With repeatAllowed false, "#N text" is an
    // ordinary line and is sent as it stands.
    QStringList processCommand(const QString& line, QStringList* shown = nullptr, bool repeatAllowed = true);

    // "#math" does no arithmetic unless conveniences are on: the expression
    // is substituted and stripped of blanks, and the result is always 0.
    // Scripts written for the client rely on that, so it stays the default.
    int evaluateMath(const QString& expression) const;
    bool evaluateCondition(const QString& condition) const;
    QString substituteVariables(const QString& text) const;

private:
    class Expansion;

    void expand(const QString& line, int depth, Expansion& out);
    void expandRepeat(int count, const QString& text, int depth, Expansion& out);
    void expandIf(const QString& text, int depth, Expansion& out);
    void runMath(const QString& text, Expansion& out);
    // Splits "name value" at the first blank; false when there is no name.
    static bool splitNameAndRest(const QString& text, QString* name, QString* rest);

    QMap<QString, QString> m_variables;
    bool m_conveniences = false;
};
