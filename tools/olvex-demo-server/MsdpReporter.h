#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QPair>
#include <QString>

// Ordered name/value pairs; the order is the order they go on the wire, which
// lets a maximum arrive before its current value.
using MsdpVariables = QList<QPair<QString, QString>>;

// Builds MSDP (telnet option 69) sub-negotiations and remembers what a client
// was last told, so only variables that changed are pushed again.
class MsdpReporter final {
public:
    // IAC WILL MSDP.
    static QByteArray announcement();

    // One IAC SB MSDP (VAR name VAL value)... IAC SE for all pairs; empty for
    // an empty list. Bytes that would break the framing (IAC and the control
    // codes VAR, VAL and the table/array markers) are dropped from names and
    // values.
    static QByteArray encode(const MsdpVariables& variables);

    // Encodes the pairs whose value differs from what this reporter sent
    // before (all of them on the first call) and records them as sent.
    QByteArray changes(const MsdpVariables& current);

private:
    QHash<QString, QString> lastSent;
};
