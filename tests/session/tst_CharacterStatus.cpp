#include <QtTest>

#include "session/CharacterStatus.h"
#include "support/TestEnvironment.h"

namespace {

using Status = CharacterStatus;

QString vitalText(const Status& status, Status::Vital which)
{
    const Status::VitalValue vital = status.vital(which);
    return QStringLiteral("%1/%2").arg(vital.current).arg(vital.maximum);
}

// One thing the panel shows, as text, so every rule fits one table.
QString shown(const Status& status, const QString& probe)
{
    if (probe == "pl")
        return vitalText(status, Status::Vital::PowerLevel);
    if (probe == "ki")
        return vitalText(status, Status::Vital::Ki);
    if (probe == "fatigue")
        return vitalText(status, Status::Vital::Fatigue);
    if (probe.startsWith("stat:"))
        return status.statText(probe.mid(5).toInt());
    if (probe == "combo")
        return status.comboText() + (status.comboActive() ? " active" : "");
    if (probe == "opponent") {
        const char* states[] = {"none", "unknown", "fighting"};
        return QStringLiteral("%1 %2 %3/%4")
            .arg(states[int(status.opponentState())], status.opponentName())
            .arg(status.opponentHealth())
            .arg(status.opponentMaximum());
    }
    if (probe == "affects")
        return status.affects().join('|');
    if (probe == "occupants")
        return status.occupants().join('|');
    if (probe == "room")
        return status.roomNameText() + " / " + status.exitsText();
    return "unknown probe";
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
    QTest::addColumn<QStringList>("updates"); // NAME=value, applied in order
    QTest::addColumn<QString>("probe");
    QTest::addColumn<QString>("expected");

    QTest::newRow("vital before any maximum") << QStringList{"CHARACTER_POWERLEVEL=499999"} << "pl"
                                              << "499999/999999";
    QTest::newRow("maximum 0 is unknown") << QStringList{"CHARACTER_KI_MAX=0", "CHARACTER_KI=80"} << "ki"
                                          << "80/999999";
    QTest::newRow("bad maximum forgets the good one")
        << QStringList{"CHARACTER_POWERLEVEL=5", "CHARACTER_POWERLEVEL_MAX=10",
                       "CHARACTER_POWERLEVEL_MAX=abc"}
        << "pl"
        << "5/999999";
    QTest::newRow("bad current reads 0")
        << QStringList{"CHARACTER_FATIGUE=x", "CHARACTER_FATIGUE_MAX=3"} << "fatigue"
        << "0/3";
    QTest::newRow("vital stat row") << QStringList{"CHARACTER_FATIGUE=1", "CHARACTER_FATIGUE_MAX=3"}
                                    << "stat:5"
                                    << "1/3";
    QTest::newRow("race without class") << QStringList{"CHARACTER_RACE=Saiyan"} << "stat:1"
                                        << "Saiyan/";
    QTest::newRow("placeholder in a value")
        << QStringList{"CHARACTER_RACE=%2", "CHARACTER_CLASS=Warrior"} << "stat:1"
        << "%2/Warrior";
    QTest::newRow("magical resistance only") << QStringList{"CHARACTER_RESISTANCE_MAGICAL=7"} << "stat:6"
                                             << "Phys: , Mag: 7";
    QTest::newRow("name as sent") << QStringList{"CHARACTER_NAME=<b>Kyren</b>"} << "stat:0"
                                  << "<b>Kyren</b>";
    QTest::newRow("combo running") << QStringList{"COMBO=3"} << "combo"
                                   << "COMBO: 3 active";
    QTest::newRow("combo over") << QStringList{"COMBO=3", "COMBO=0"} << "combo"
                                << "COMBO: 0";
    QTest::newRow("combo not a number") << QStringList{"COMBO=x"} << "combo"
                                        << "COMBO: x";
    QTest::newRow("opponent None") << QStringList{"OPPONENT_HEALTH_MAX=9", "OPPONENT_NAME=None"} << "opponent"
                                   << "none None 0/9";
    QTest::newRow("opponent without name") << QStringList{"OPPONENT_HEALTH_MAX=9"} << "opponent"
                                           << "none  0/9";
    QTest::newRow("opponent without maximum")
        << QStringList{"OPPONENT_NAME=rat", "OPPONENT_HEALTH=5"} << "opponent"
        << "unknown rat 5/0";
    QTest::newRow("opponent fighting")
        << QStringList{"OPPONENT_HEALTH_MAX=200", "OPPONENT_HEALTH=50", "OPPONENT_NAME=Raditz"} << "opponent"
        << "fighting Raditz 50/200";
    QTest::newRow("affects split") << QStringList{"CHARACTER_AFFECTS=sanctuary:10 haste::  armor"}
                                   << "affects"
                                   << "sanctuary|10|haste|armor";
    QTest::newRow("no affects") << QStringList{"CHARACTER_AFFECTS=a", "CHARACTER_AFFECTS= : "} << "affects"
                                << "";
    QTest::newRow("occupants split") << QStringList{"ROOM_CHARACTERS=Bob, Ann;Zed \t Kim,"} << "occupants"
                                     << "Bob|Ann|Zed|Kim";
    QTest::newRow("room and no exits") << QStringList{"ROOM_NAME=Plaza", "ROOM_EXITS="} << "room"
                                       << "Room: Plaza / Exits: none";
    QTest::newRow("exits") << QStringList{"ROOM_EXITS=north, up"} << "room"
                           << "Room:  / Exits: north, up";
}

void tst_CharacterStatus::panelTexts()
{
    QFETCH(QStringList, updates);
    QFETCH(QString, probe);
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
