#include <QtTest>

#include "session/CharacterStatus.h"
#include "support/TestEnvironment.h"

namespace {

using Status = CharacterStatus;

// One thing the panel shows, as text, so every rule fits one table.
QString shown(const Status& status, const QString& probe)
{
    static const QHash<QString, Status::Vital> vitals{
        {"pl", Status::Vital::PowerLevel}, {"ki", Status::Vital::Ki}, {"fatigue", Status::Vital::Fatigue}};
    if (vitals.contains(probe)) {
        const Status::VitalValue vital = status.vital(vitals.value(probe));
        return QStringLiteral("%1/%2").arg(vital.current).arg(vital.maximum);
    }
    if (probe.startsWith("stat:"))
        return status.statText(probe.mid(5).toInt());
    if (probe == "combo")
        return status.comboText() + (status.comboActive() ? " active" : "");
    if (probe == "opponent") {
        const char* states[] = {"none", "unknown", "fighting"};
        return QStringLiteral("%1 %2 %3/%4")
            .arg(states[int(status.opponentState())], status.opponentName(),
                 QString::number(status.opponentHealth()), QString::number(status.opponentMaximum()));
    }
    if (probe == "affects")
        return status.affects().join('|');
    if (probe == "occupants")
        return status.occupants().join('|');
    if (probe == "room")
        return status.roomNameText() + " / " + status.exitsText();
    return "unknown probe";
}

// updates: NAME=value pairs joined by '|', applied in order.
void row(const char* name, const QString& probe, const QString& updates, const QString& expected)
{
    QTest::newRow(name) << probe << updates.split('|') << expected;
}

} // namespace

class tst_CharacterStatus : public QObject {
    Q_OBJECT

private slots:
    void panelTexts_data();
    void panelTexts();
    void sectionsToRefresh_data();
    void sectionsToRefresh();
};

void tst_CharacterStatus::panelTexts_data()
{
    QTest::addColumn<QString>("probe");
    QTest::addColumn<QStringList>("updates");
    QTest::addColumn<QString>("expected");

    row("vital before any maximum", "pl", "CHARACTER_POWERLEVEL=499999", "499999/999999");
    row("maximum 0 is unknown", "ki", "CHARACTER_KI_MAX=0|CHARACTER_KI=80", "80/999999");
    row("bad maximum forgets the good one", "pl",
        "CHARACTER_POWERLEVEL=5|CHARACTER_POWERLEVEL_MAX=10|CHARACTER_POWERLEVEL_MAX=abc", "5/999999");
    row("bad current reads 0", "fatigue", "CHARACTER_FATIGUE=x|CHARACTER_FATIGUE_MAX=3", "0/3");
    row("vital stat row", "stat:5", "CHARACTER_FATIGUE=1|CHARACTER_FATIGUE_MAX=3", "1/3");
    row("race without class", "stat:1", "CHARACTER_RACE=Saiyan", "Saiyan/");
    row("placeholder in a value", "stat:1", "CHARACTER_RACE=%2|CHARACTER_CLASS=Warrior", "%2/Warrior");
    row("magical resistance only", "stat:6", "CHARACTER_RESISTANCE_MAGICAL=7", "Phys: , Mag: 7");
    row("name as sent", "stat:0", "CHARACTER_NAME=<b>Kyren</b>", "<b>Kyren</b>");
    row("level as sent", "stat:2", "CHARACTER_LEVEL=12", "12");
    row("combo running", "combo", "COMBO=3", "COMBO: 3 active");
    row("combo over", "combo", "COMBO=3|COMBO=0", "COMBO: 0");
    row("combo not a number", "combo", "COMBO=x", "COMBO: x");
    row("opponent None", "opponent", "OPPONENT_HEALTH_MAX=9|OPPONENT_NAME=None", "none None 0/9");
    row("opponent without name", "opponent", "OPPONENT_HEALTH_MAX=9", "none  0/9");
    row("opponent without maximum", "opponent", "OPPONENT_NAME=rat|OPPONENT_HEALTH=5", "unknown rat 5/0");
    row("opponent fighting", "opponent", "OPPONENT_HEALTH_MAX=200|OPPONENT_HEALTH=50|OPPONENT_NAME=Raditz",
        "fighting Raditz 50/200");
    row("affects split", "affects", "CHARACTER_AFFECTS=sanctuary:10 haste::  armor",
        "sanctuary|10|haste|armor");
    row("no affects", "affects", "CHARACTER_AFFECTS=a|CHARACTER_AFFECTS= : ", "");
    row("occupants split", "occupants", "ROOM_CHARACTERS=Bob, Ann;Zed \t Kim,", "Bob|Ann|Zed|Kim");
    row("room and no exits", "room", "ROOM_NAME=Plaza|ROOM_EXITS=", "Room: Plaza / Exits: none");
    row("exits", "room", "ROOM_EXITS=north, up", "Room:  / Exits: north, up");
}

void tst_CharacterStatus::panelTexts()
{
    QFETCH(QString, probe);
    QFETCH(QStringList, updates);
    QFETCH(QString, expected);
    CharacterStatus status;
    for (const QString& update : updates)
        status.apply(update.section('=', 0, 0), update.section('=', 1));
    QCOMPARE(shown(status, probe), expected);
}

void tst_CharacterStatus::sectionsToRefresh_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<unsigned>("sections");
    QTest::addColumn<QList<int>>("statRows");

    QTest::newRow("vital") << "CHARACTER_KI_MAX" << unsigned(Status::KiSection | Status::StatsSection)
                           << QList<int>{4};
    QTest::newRow("stat only") << "CHARACTER_CLASS" << unsigned(Status::StatsSection) << QList<int>{1};
    QTest::newRow("opponent") << "OPPONENT_HEALTH" << unsigned(Status::OpponentSection) << QList<int>{};
    QTest::newRow("occupants") << "ROOM_CHARACTERS" << unsigned(Status::OccupantsSection) << QList<int>{};
    QTest::newRow("not shown") << "CHARACTER_GOLD" << unsigned(Status::NoSection) << QList<int>{};
    QTest::newRow("case matters") << "combo" << unsigned(Status::NoSection) << QList<int>{};
}

void tst_CharacterStatus::sectionsToRefresh()
{
    QFETCH(QString, name);
    QFETCH(unsigned, sections);
    QFETCH(QList<int>, statRows);
    CharacterStatus status;
    QCOMPARE(status.apply(name, "1"), sections);
    QCOMPARE(CharacterStatus::statRowsUsing(name), statRows);
}

OLVEX_TEST_MAIN(tst_CharacterStatus, QCoreApplication)
#include "tst_CharacterStatus.moc"
