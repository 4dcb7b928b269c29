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
    void setVariable(const QString& name, const QString& value);
    QString getVariable(const QString& name) const;
    void clearVariables();
    const QMap<QString, QString>& variables() const { return m_variables; }

    QStringList processCommand(const QString& line);

    // "#math" does no arithmetic: the expression is substituted and stripped
    // of blanks, and the result is always 0. Scripts written for the client
    // rely on that, so it stays.
    int evaluateMath(const QString& expression) const;
    bool evaluateCondition(const QString& condition) const;
    QString substituteVariables(const QString& text) const;

private:
    // Splits "name value" at the first blank; false when there is no name.
    static bool splitNameAndRest(const QString& text, QString* name, QString* rest);

    QMap<QString, QString> m_variables;
};
