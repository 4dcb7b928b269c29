#include "session/CharacterStatus.h"

#include <QRegularExpression>

namespace {

struct VitalNames {
    QString current;
    QString maximum;
    CharacterStatus::Section section;
};

const VitalNames& vitalNames(CharacterStatus::Vital which)
{
    static const VitalNames names[] = {
        {QStringLiteral("CHARACTER_POWERLEVEL"), QStringLiteral("CHARACTER_POWERLEVEL_MAX"),
         CharacterStatus::PowerLevelSection},
        {QStringLiteral("CHARACTER_KI"), QStringLiteral("CHARACTER_KI_MAX"), CharacterStatus::KiSection},
        {QStringLiteral("CHARACTER_FATIGUE"), QStringLiteral("CHARACTER_FATIGUE_MAX"),
         CharacterStatus::FatigueSection},
    };
    return names[int(which)];
}

// Variables that feed a part of the panel other than the statistics rows.
const QHash<QString, unsigned>& sectionsByName()
{
    static const QHash<QString, unsigned> sections = [] {
        QHash<QString, unsigned> table = {
            {QStringLiteral("COMBO"), CharacterStatus::ComboSection},
            {QStringLiteral("OPPONENT_NAME"), CharacterStatus::OpponentSection},
            {QStringLiteral("OPPONENT_HEALTH"), CharacterStatus::OpponentSection},
            {QStringLiteral("OPPONENT_HEALTH_MAX"), CharacterStatus::OpponentSection},
            {QStringLiteral("CHARACTER_AFFECTS"), CharacterStatus::AffectsSection},
            {QStringLiteral("ROOM_NAME"), CharacterStatus::RoomNameSection},
            {QStringLiteral("ROOM_EXITS"), CharacterStatus::ExitsSection},
            {QStringLiteral("ROOM_CHARACTERS"), CharacterStatus::OccupantsSection},
        };
        for (auto which : {CharacterStatus::Vital::PowerLevel, CharacterStatus::Vital::Ki,
                           CharacterStatus::Vital::Fatigue}) {
            const VitalNames& names = vitalNames(which);
            table.insert(names.current, names.section);
            table.insert(names.maximum, names.section);
        }
        for (const CharacterStatus::StatRow& row : CharacterStatus::statRows()) {
            for (const QString& variable : row.variables)
                table[variable] |= CharacterStatus::StatsSection;
        }
        return table;
    }();
    return sections;
}

// A maximum of 0 or one that is not a number means "not known yet".
CharacterStatus::VitalValue readVital(const QString& current, const QString& maximum)
{
    const qint64 limit = CharacterStatus::readNumber(maximum);
    return {CharacterStatus::readNumber(current), limit > 0 ? limit : CharacterStatus::kUnknownMaximum};
}

// Fills %1..%9 in one pass, so a value that itself holds "%2" stays as sent.
QString fill(const QString& format, const QStringList& arguments)
{
    QString text;
    for (qsizetype i = 0; i < format.size(); ++i) {
        const QChar c = format.at(i);
        const int index = i + 1 < format.size() ? format.at(i + 1).digitValue() : -1;
        if (c == u'%' && index >= 1 && index <= arguments.size()) {
            text += arguments.at(index - 1);
            ++i;
        } else {
            text += c;
        }
    }
    return text;
}

} // namespace

const QList<CharacterStatus::StatRow>& CharacterStatus::statRows()
{
    static const QList<StatRow> rows = {
        {QStringLiteral("Name:"),
         QStringLiteral("Name"),
         QStringLiteral("%1"),
         {QStringLiteral("CHARACTER_NAME")}},
        {QStringLiteral("Race/Class:"),
         QStringLiteral("Race and class"),
         QStringLiteral("%1/%2"),
         {QStringLiteral("CHARACTER_RACE"), QStringLiteral("CHARACTER_CLASS")}},
        {QStringLiteral("Level:"),
         QStringLiteral("Level"),
         QStringLiteral("%1"),
         {QStringLiteral("CHARACTER_LEVEL")}},
        {QStringLiteral("Power Level:"),
         QStringLiteral("Power level"),
         QString(),
         {QStringLiteral("CHARACTER_POWERLEVEL"), QStringLiteral("CHARACTER_POWERLEVEL_MAX")},
         true},
        {QStringLiteral("Ki:"),
         QStringLiteral("Ki"),
         QString(),
         {QStringLiteral("CHARACTER_KI"), QStringLiteral("CHARACTER_KI_MAX")},
         true},
        {QStringLiteral("Fatigue:"),
         QStringLiteral("Fatigue"),
         QString(),
         {QStringLiteral("CHARACTER_FATIGUE"), QStringLiteral("CHARACTER_FATIGUE_MAX")},
         true},
        {QStringLiteral("Resistances:"),
         QStringLiteral("Resistances"),
         QStringLiteral("Phys: %1, Mag: %2"),
         {QStringLiteral("CHARACTER_RESISTANCE_PHYSICAL"), QStringLiteral("CHARACTER_RESISTANCE_MAGICAL")}},
        {QStringLiteral("Magic Power:"),
         QStringLiteral("Magic power"),
         QStringLiteral("%1"),
         {QStringLiteral("CHARACTER_MAGICPOWER")}},
    };
    return rows;
}

unsigned CharacterStatus::apply(const QString& name, const QString& value)
{
    const auto found = sectionsByName().constFind(name);
    if (found == sectionsByName().cend())
        return NoSection; // not kept: the session's own table has it
    values.insert(name, value);
    return *found;
}

CharacterStatus::VitalValue CharacterStatus::vital(Vital which) const
{
    const VitalNames& names = vitalNames(which);
    return readVital(value(names.current), value(names.maximum));
}

QString CharacterStatus::statText(int row) const
{
    const StatRow& stat = statRows().at(row);
    if (stat.vital) {
        const VitalValue vital = readVital(value(stat.variables.at(0)), value(stat.variables.at(1)));
        return QStringLiteral("%1/%2").arg(vital.current).arg(vital.maximum);
    }
    QStringList arguments;
    for (const QString& variable : stat.variables)
        arguments.append(value(variable));
    return fill(stat.format, arguments);
}

QList<int> CharacterStatus::statRowsUsing(const QString& name)
{
    QList<int> rows;
    for (int row = 0; row < statRows().size(); ++row) {
        if (statRows().at(row).variables.contains(name))
            rows.append(row);
    }
    return rows;
}

QString CharacterStatus::comboText() const
{
    return QStringLiteral("COMBO: %1").arg(value(QStringLiteral("COMBO")));
}

bool CharacterStatus::comboActive() const
{
    return readNumber(value(QStringLiteral("COMBO"))) >= 1;
}

CharacterStatus::OpponentState CharacterStatus::opponentState() const
{
    const QString name = opponentName();
    if (name.isEmpty() || name == QLatin1String("None"))
        return OpponentState::None;
    return opponentMaximum() < 1 ? OpponentState::Unknown : OpponentState::Fighting;
}

qint64 CharacterStatus::opponentHealth() const
{
    return readNumber(value(QStringLiteral("OPPONENT_HEALTH")));
}

qint64 CharacterStatus::opponentMaximum() const
{
    return readNumber(value(QStringLiteral("OPPONENT_HEALTH_MAX")));
}

QStringList CharacterStatus::affects() const
{
    static const QRegularExpression separators(QStringLiteral("[:\\s]+"));
    return value(QStringLiteral("CHARACTER_AFFECTS")).split(separators, Qt::SkipEmptyParts);
}

QString CharacterStatus::roomNameText() const
{
    return QStringLiteral("Room: ") + value(QStringLiteral("ROOM_NAME"));
}

QString CharacterStatus::exitsText() const
{
    const QString exits = value(QStringLiteral("ROOM_EXITS"));
    return QStringLiteral("Exits: ") + (exits.isEmpty() ? QStringLiteral("none") : exits);
}

QStringList CharacterStatus::occupants() const
{
    static const QRegularExpression separators(QStringLiteral("[,;\\s]+"));
    return value(QStringLiteral("ROOM_CHARACTERS")).split(separators, Qt::SkipEmptyParts);
}

qint64 CharacterStatus::readNumber(const QString& text)
{
    bool ok = false;
    const qint64 number = text.toLongLong(&ok, 10);
    return ok ? number : 0;
}
